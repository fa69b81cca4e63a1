// Walks arbitrary bytes as a backup-format sequence, as a reader with a small buffer
// would: every header encodes back to its bytes, a content read never asks past its
// buffer or its stream, and the walk ends inside the input.

#include "streams/backup_format.h"

#include <algorithm>
#include <array>
#include <cstring>

using namespace vofs::backup_format;

namespace {

void Require(bool condition) {
    if (!condition) __builtin_trap();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size < 1) return 0;
    const int32_t bufferSize = static_cast<int8_t>(data[0]);  // below 1 too: the default
    const std::span<const uint8_t> input(data + 1, size - 1);
    Require(BufferSizeFor(bufferSize) >= 1);

    size_t at = 0;
    while (at + kHeaderSize <= input.size()) {
        const StreamHeader header = DecodeHeader(input.subspan(at, kHeaderSize));
        std::array<uint8_t, kHeaderSize> again{};
        EncodeHeader(header, again);
        Require(std::memcmp(again.data(), input.data() + at, kHeaderSize) == 0);
        at += kHeaderSize;
        if (header.id == 0) break;
        const size_t nameBytes = std::min<size_t>(header.nameSize, input.size() - at);
        Require(NameText(input.subspan(at, nameBytes)).size() == nameBytes / 2);
        at += nameBytes;
        // Read some of the content, then skip the rest as BackupSeek would.
        uint64_t read = 0;
        for (int step = 0; step < 3; ++step) {
            const uint32_t request = ReadRequest(bufferSize, header.size, read);
            Require(request <= static_cast<uint32_t>(BufferSizeFor(bufferSize)) && request <= Unread(header.size, read));
            read += request;
        }
        const uint64_t skipped = std::min<uint64_t>(read + Unread(header.size, read), input.size() - at);
        at += static_cast<size_t>(skipped);
        Require(at <= input.size());
    }
    const bool buffered = size > 1 && (data[1] & 1);
    const WriteRoute route = RouteOf(size > 2 && (data[2] & 1), size > 3 && (data[3] & 1), size > 4 ? data[4] : 0, buffered);
    Require(route == WriteRoute::Backup || (route == WriteRoute::SkipHeader) == buffered);
    return 0;
}
