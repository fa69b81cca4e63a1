#include "items/find_record.h"

namespace vofs::find_record {
namespace {

std::string BytesBeforeNul(std::span<const uint8_t> record, size_t offset, size_t count) {
    std::string text;
    for (size_t at = offset; at < offset + count && at < record.size() && record[at] != 0; ++at) {
        text += static_cast<char>(record[at]);
    }
    return text;
}

std::u16string UnitsBeforeNul(std::span<const uint8_t> record, size_t offset, size_t units) {
    std::u16string text;
    for (size_t at = offset; at + 1 < record.size() && at < offset + 2 * units; at += 2) {
        const auto unit = static_cast<char16_t>(record[at] | (record[at + 1] << 8));
        if (unit == 0) break;
        text += unit;
    }
    return text;
}

}  // namespace

std::optional<long> NextVersion(long current, long requested, bool platformIsNt) {
    if (current == kUnchosen) return platformIsNt ? kWide : kAnsi;
    if (current == kAnsi || current == kWide) return requested;
    return std::nullopt;
}

uint32_t ReadWord(std::span<const uint8_t> record, size_t offset) {
    return static_cast<uint32_t>(record[offset]) | static_cast<uint32_t>(record[offset + 1]) << 8 |
           static_cast<uint32_t>(record[offset + 2]) << 16 | static_cast<uint32_t>(record[offset + 3]) << 24;
}

void WriteWord(std::span<uint8_t> record, size_t offset, uint32_t value) {
    for (size_t i = 0; i < 4; ++i) record[offset + i] = static_cast<uint8_t>(value >> (8 * i));
}

uint64_t ReadFileTime(std::span<const uint8_t> record, size_t offset) {
    return static_cast<uint64_t>(ReadWord(record, offset + 4)) << 32 | ReadWord(record, offset);
}

void WriteFileTime(std::span<uint8_t> record, size_t offset, uint64_t value) {
    WriteWord(record, offset, static_cast<uint32_t>(value));
    WriteWord(record, offset + 4, static_cast<uint32_t>(value >> 32));
}

uint64_t FileSize(std::span<const uint8_t> record) {
    return static_cast<uint64_t>(ReadWord(record, kSizeHighOffset)) << 32 | ReadWord(record, kSizeLowOffset);
}

void SetFileSize(std::span<uint8_t> record, uint64_t value) {
    WriteWord(record, kSizeHighOffset, static_cast<uint32_t>(value >> 32));
    WriteWord(record, kSizeLowOffset, static_cast<uint32_t>(value));
}

std::string AnsiFileName(std::span<const uint8_t> record) {
    return BytesBeforeNul(record, kFileNameOffset, kFileNameUnits);
}

std::string AnsiAltFileName(std::span<const uint8_t> record) {
    return BytesBeforeNul(record, kAnsiAltNameOffset, kAltNameUnits);
}

std::u16string WideFileName(std::span<const uint8_t> record) {
    return UnitsBeforeNul(record, kFileNameOffset, kFileNameUnits);
}

std::u16string WideAltFileName(std::span<const uint8_t> record) {
    return UnitsBeforeNul(record, kWideAltNameOffset, kAltNameUnits);
}

}  // namespace vofs::find_record
