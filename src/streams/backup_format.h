#pragma once
// The platform's backup stream format and the backup classes' bookkeeping, as plain
// functions over bytes and counts: no platform headers, so they build natively too (the
// fuzz target runs them). Before each stream the backup interface delivers a 20-byte
// header (little-endian: identifier, attributes, 64-bit size, name size in bytes) and
// then the UTF-16 name.

#include <cstdint>
#include <span>
#include <string>

namespace vofs::backup_format {

inline constexpr uint32_t kHeaderSize = 20;
inline constexpr int32_t kDefaultBufferSize = 131072;

struct StreamHeader {
    uint32_t id = 0;          // FileStreamTypes: 0 when there are no more streams
    uint32_t attributes = 0;  // FileStreamAttributes bits
    uint64_t size = 0;        // content bytes
    uint32_t nameSize = 0;    // bytes of the name that follows
};

// The header in the first 20 bytes (missing bytes read as 0).
StreamHeader DecodeHeader(std::span<const uint8_t> bytes);
void EncodeHeader(const StreamHeader& header, std::span<uint8_t, kHeaderSize> bytes);

// The name bytes as UTF-16 text; an odd last byte is no character.
std::u16string NameText(std::span<const uint8_t> bytes);

// The buffer size a request gives: below 1 means the default.
int32_t BufferSizeFor(int32_t requested);

// The content not yet read of a stream (0 once all is read, or more).
uint64_t Unread(uint64_t size, uint64_t read);

// The bytes one content read asks for: the buffer size, or the unread rest when smaller.
uint32_t ReadRequest(int32_t bufferSize, uint64_t size, uint64_t read);

// Where a writer sends what a reader's buffer holds: through the byte stream (content
// only: a buffered header is skipped), or to the backup interface.
enum class WriteRoute { ByteStream, SkipHeader, Backup };
WriteRoute RouteOf(bool emulated, bool asyncWriter, uint32_t readerStreamId, bool bufferedHeader);

}  // namespace vofs::backup_format
