#include "streams/stream_rules.h"

namespace vofs::stream_rules {

TransferPlan PlanTransfer(Direction direction, BufferKind kind, uint64_t length, int32_t offset, int32_t count) {
    constexpr TransferPlan kRefused{true, 0, 0};
    const uint64_t start = offset < 0 ? 0 : static_cast<uint32_t>(offset);
    const bool reading = direction == Direction::Read;
    switch (kind) {
        case BufferKind::Address:
            if (count < 0) return kRefused;
            return {false, reading ? static_cast<uint32_t>(start) : 0, static_cast<uint32_t>(count)};
        case BufferKind::Text:
            if (reading) {
                if (length == 0) return {};
                // A negative count passes the length test (as it always has) but is no size:
                // it is refused rather than handed to the platform as a huge one.
                if (static_cast<int64_t>(start) + count > static_cast<int64_t>(length) || count < 0) return kRefused;
                return {false, static_cast<uint32_t>(start), static_cast<uint32_t>(count)};
            } else {
                const uint64_t wanted = count < 0 ? length : static_cast<uint64_t>(count);
                if (wanted == 0) return {};
                if (start + wanted > length) return kRefused;
                return {false, 0, static_cast<uint32_t>(wanted)};
            }
        case BufferKind::Bytes: {
            const uint64_t wanted = count < 0 ? length : static_cast<uint64_t>(count);
            if (start + wanted > length) return kRefused;
            return {false, static_cast<uint32_t>(start), static_cast<uint32_t>(wanted)};
        }
        case BufferKind::Other: break;
    }
    return kRefused;
}

LineEnd ScanLine(std::span<const uint8_t> chunk, size_t extra) {
    const size_t width = extra + 1;
    for (size_t i = 0; i < chunk.size(); ++i) {
        if (chunk[i] == 10) return {i, width};
        if (chunk[i] == 13) {
            const bool pairedFeed = i + width < chunk.size() && chunk[i + width] == 10;
            return {i, pairedFeed ? 2 * width : width};
        }
    }
    return {chunk.size(), 0};
}

bool StartsWithUnicodeMark(std::span<const uint8_t> chunk, uint64_t position) {
    return position == 0 && chunk.size() >= 3 && chunk[0] == 0xFF && chunk[1] == 0xFE;
}

std::u16string BlankLine(std::u16string_view newLine) {
    std::u16string line(newLine.size(), u'\0');
    if (!line.empty()) line.front() = newLine.back();
    return line;
}

}  // namespace vofs::stream_rules
