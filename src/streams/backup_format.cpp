#include "streams/backup_format.h"

#include <algorithm>

namespace vofs::backup_format {
namespace {

constexpr uint32_t kDataStream = 1;

uint32_t Word(std::span<const uint8_t> bytes, size_t at) {
    uint32_t value = 0;
    for (size_t i = 0; i < 4 && at + i < bytes.size(); ++i) value |= uint32_t{bytes[at + i]} << (8 * i);
    return value;
}

void PutWord(std::span<uint8_t> bytes, size_t at, uint32_t value) {
    for (size_t i = 0; i < 4; ++i) bytes[at + i] = static_cast<uint8_t>(value >> (8 * i));
}

}  // namespace

StreamHeader DecodeHeader(std::span<const uint8_t> bytes) {
    return {Word(bytes, 0), Word(bytes, 4), uint64_t{Word(bytes, 12)} << 32 | Word(bytes, 8), Word(bytes, 16)};
}

void EncodeHeader(const StreamHeader& header, std::span<uint8_t, kHeaderSize> bytes) {
    PutWord(bytes, 0, header.id);
    PutWord(bytes, 4, header.attributes);
    PutWord(bytes, 8, static_cast<uint32_t>(header.size));
    PutWord(bytes, 12, static_cast<uint32_t>(header.size >> 32));
    PutWord(bytes, 16, header.nameSize);
}

std::u16string NameText(std::span<const uint8_t> bytes) {
    std::u16string text(bytes.size() / 2, u'\0');
    for (size_t i = 0; i < text.size(); ++i) text[i] = static_cast<char16_t>(bytes[2 * i] | bytes[2 * i + 1] << 8);
    return text;
}

int32_t BufferSizeFor(int32_t requested) { return requested < 1 ? kDefaultBufferSize : requested; }

uint64_t Unread(uint64_t size, uint64_t read) { return size > read ? size - read : 0; }

uint32_t ReadRequest(int32_t bufferSize, uint64_t size, uint64_t read) {
    const uint64_t buffer = static_cast<uint64_t>(BufferSizeFor(bufferSize));
    return static_cast<uint32_t>(std::min(buffer, Unread(size, read)));
}

WriteRoute RouteOf(bool emulated, bool asyncWriter, uint32_t readerStreamId, bool bufferedHeader) {
    if (emulated || (readerStreamId == kDataStream && asyncWriter)) {
        return bufferedHeader ? WriteRoute::SkipHeader : WriteRoute::ByteStream;
    }
    return WriteRoute::Backup;
}

}  // namespace vofs::backup_format
