#pragma once
// The find record as the platform's FindFirstFile/FindNextFile (and the FTP find calls)
// fill it, read as plain bytes: no platform headers, so this builds natively too. Both
// layouts share the first 44 bytes (attributes, three file times, size words, two
// reserved words); the names follow as 8-bit text (the ANSI record, 320 bytes) or as
// UTF-16 (the wide record, 592 bytes, kept in a 596-byte buffer).

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>

namespace vofs::find_record {

enum Layout : long {
    kUnchosen = 0,  // a record whose layout has not been settled yet
    kAnsi = 1,
    kWide = 2,
};

inline constexpr size_t kBufferSize = 596;
inline constexpr size_t kAnsiRecordSize = 320;

inline constexpr size_t kAttributesOffset = 0;
inline constexpr size_t kCreationTimeOffset = 4;
inline constexpr size_t kLastAccessTimeOffset = 12;
inline constexpr size_t kLastWriteTimeOffset = 20;
inline constexpr size_t kSizeHighOffset = 28;
inline constexpr size_t kSizeLowOffset = 32;
inline constexpr size_t kFileNameOffset = 44;
inline constexpr size_t kFileNameUnits = 260;
inline constexpr size_t kAnsiAltNameOffset = 304;
inline constexpr size_t kWideAltNameOffset = 564;
// The short name is read two characters beyond its 14-character field: to the end of the
// ANSI record, and to the end of the wide buffer.
inline constexpr size_t kAltNameUnits = 16;

// The bytes a record of this version occupies: the ANSI record for 1, the whole buffer
// for anything else.
constexpr size_t RecordSize(long version) { return version == kAnsi ? kAnsiRecordSize : kBufferSize; }

// The Version rule. The decision looks at the current version, not at the requested one:
// an unchosen record settles on the platform's natural layout whatever was asked; a record
// of version 1 or 2 takes the requested value unchecked; any other current value refuses
// the change (nothing, and the caller raises error 5).
std::optional<long> NextVersion(long current, long requested, bool platformIsNt);

// Little-endian words of the record.
uint32_t ReadWord(std::span<const uint8_t> record, size_t offset);
void WriteWord(std::span<uint8_t> record, size_t offset, uint32_t value);
// A FILETIME (low word, then high word) as one 64-bit count.
uint64_t ReadFileTime(std::span<const uint8_t> record, size_t offset);
void WriteFileTime(std::span<uint8_t> record, size_t offset, uint64_t value);
uint64_t FileSize(std::span<const uint8_t> record);
void SetFileSize(std::span<uint8_t> record, uint64_t value);

// The name fields, cut before their first NUL (kept whole without one). The 8-bit forms
// are still in the system code page.
std::string AnsiFileName(std::span<const uint8_t> record);
std::string AnsiAltFileName(std::span<const uint8_t> record);
std::u16string WideFileName(std::span<const uint8_t> record);
std::u16string WideAltFileName(std::span<const uint8_t> record);

}  // namespace vofs::find_record
