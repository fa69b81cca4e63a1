// Decodes arbitrary find records in both layouts: names are read within their fields and
// stop at the first NUL, words and times read back what was written, and the Version rule
// never settles on anything but the platform's layout or the requested value.

#include "items/find_record.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>

using namespace vofs::find_record;

namespace {

void Require(bool condition) {
    if (!condition) __builtin_trap();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    std::array<uint8_t, kBufferSize> record{};
    std::memcpy(record.data(), data, size < record.size() ? size : record.size());
    const std::span<const uint8_t> bytes(record);

    Require(AnsiFileName(bytes).size() <= kFileNameUnits);
    Require(AnsiAltFileName(bytes).size() <= kAltNameUnits);
    Require(WideFileName(bytes).size() <= kFileNameUnits);
    Require(WideAltFileName(bytes).size() <= kAltNameUnits);
    Require(AnsiFileName(bytes).find('\0') == std::string::npos);
    Require(WideFileName(bytes).find(u'\0') == std::u16string::npos);
    Require(FileSize(bytes) == ((static_cast<uint64_t>(ReadWord(bytes, kSizeHighOffset)) << 32) |
                                ReadWord(bytes, kSizeLowOffset)));

    const uint64_t time = ReadFileTime(bytes, kLastWriteTimeOffset);
    std::array<uint8_t, kBufferSize> copy = record;
    SetFileSize(copy, time);
    Require(FileSize(copy) == time);
    WriteFileTime(copy, kCreationTimeOffset, ~time);
    Require(ReadFileTime(copy, kCreationTimeOffset) == ~time);
    Require(std::memcmp(copy.data() + kFileNameOffset, record.data() + kFileNameOffset, kBufferSize - kFileNameOffset) == 0);

    if (size >= 8) {
        long current = 0, requested = 0;
        std::memcpy(&current, data, sizeof(int32_t));
        std::memcpy(&requested, data + 4, sizeof(int32_t));
        current = static_cast<int32_t>(current);
        requested = static_cast<int32_t>(requested);
        for (bool nt : {false, true}) {
            const std::optional<long> next = NextVersion(current, requested, nt);
            if (current == kUnchosen) Require(next && *next == (nt ? kWide : kAnsi));
            else if (current == kAnsi || current == kWide) Require(next && *next == requested);
            else Require(!next);
        }
    }
    return 0;
}
