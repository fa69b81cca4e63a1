#include "items/find_data.h"

#include "common/ansi.h"
#include "common/decimal.h"
#include "common/large_values.h"
#include "common/long_handles.h"
#include "items/file_time.h"

#include <cstring>

namespace vofs {
namespace {

static_assert(sizeof(WIN32_FIND_DATAA) == find_record::kAnsiRecordSize, "the ANSI find record is 320 bytes");
static_assert(sizeof(WIN32_FIND_DATAW) + 4 == find_record::kBufferSize, "the wide find record is 592 bytes");
static_assert(offsetof(WIN32_FIND_DATAW, cFileName) == find_record::kFileNameOffset);
static_assert(offsetof(WIN32_FIND_DATAA, cAlternateFileName) == find_record::kAnsiAltNameOffset);
static_assert(offsetof(WIN32_FIND_DATAW, cAlternateFileName) == find_record::kWideAltNameOffset);

std::wstring FromUtf16(const std::u16string& text) { return std::wstring(text.begin(), text.end()); }

}  // namespace

ComPtr<FindDataRecord> FindDataRecord::Make() {
    ComPtr<FindDataRecord> record = ComObject::Make();
    record->SetVersion(ThisThread().wideCallSupport);
    return record;
}

void FindDataRecord::SetVersion(long version) {
    const std::optional<long> next = find_record::NextVersion(version_, version, IsPlatformNT());
    if (!next) Raise(RunTimeError::InvalidCall, kClassName);
    version_ = *next;
}

void FindDataRecord::InitializeFrom(const void* record, long version) {
    if (!record) Raise(RunTimeError::InvalidCall, kClassName);
    SetVersion(version);
    std::memcpy(bytes_.data(), record, find_record::RecordSize(version_));
}

DWORD FindDataRecord::Attributes() const { return find_record::ReadWord(bytes_, find_record::kAttributesOffset); }

void FindDataRecord::SetAttributes(DWORD attributes) {
    find_record::WriteWord(bytes_, find_record::kAttributesOffset, attributes);
}

std::wstring FindDataRecord::FileName() const {
    if (version_ == find_record::kAnsi) return FromAnsi(find_record::AnsiFileName(bytes_));
    return FromUtf16(find_record::WideFileName(bytes_));
}

std::wstring FindDataRecord::AltFileName() const {
    if (version_ == find_record::kAnsi) return FromAnsi(find_record::AnsiAltFileName(bytes_));
    return FromUtf16(find_record::WideAltFileName(bytes_));
}

Variant FindDataRecord::FileSize() const { return PreciseValue(ByteSize()); }

uint64_t FindDataRecord::ByteSize() const { return find_record::FileSize(bytes_); }

void FindDataRecord::SetFileSize(const VARIANT& value) {
    const Variant actual = Variant::CopyOf(value);
    switch (actual.Type()) {
        case VT_I2:
        case VT_I4:
        case VT_CY:
        case VT_DECIMAL: break;
        default: Raise(RunTimeError::InvalidCall, kClassName);
    }
    const DECIMAL number = ToDecimal(*actual.Get());
    find_record::SetFileSize(bytes_, JoinWords(number.Mid32, number.Lo32));
}

FILETIME FindDataRecord::CreationFileTime() const {
    return FileTimeOfCount(find_record::ReadFileTime(bytes_, find_record::kCreationTimeOffset));
}

FILETIME FindDataRecord::LastAccessFileTime() const {
    return FileTimeOfCount(find_record::ReadFileTime(bytes_, find_record::kLastAccessTimeOffset));
}

FILETIME FindDataRecord::LastWriteFileTime() const {
    return FileTimeOfCount(find_record::ReadFileTime(bytes_, find_record::kLastWriteTimeOffset));
}

DATE FindDataRecord::LastWriteTime() const { return DateFromFileTime(LastWriteFileTime()); }
DATE FindDataRecord::LastAccessTime() const { return LastWriteTime(); }
DATE FindDataRecord::CreationTime() const { return LastWriteTime(); }

Variant FindDataRecord::PreciseCreationTime() const { return PreciseTimeValue(CreationFileTime()); }
Variant FindDataRecord::PreciseLastWriteTime() const { return PreciseTimeValue(LastWriteFileTime()); }
Variant FindDataRecord::PreciseLastAccessTime() const { return PreciseTimeValue(LastAccessFileTime()); }

void FindDataRecord::SetTimeField(size_t offset, const VARIANT& value) {
    find_record::WriteFileTime(bytes_, offset, FileTimeCount(FileTimeFromValue(value)));
}

void FindDataRecord::SetCreationTime(const VARIANT& value) { SetTimeField(find_record::kCreationTimeOffset, value); }
void FindDataRecord::SetLastAccessTime(const VARIANT& value) {
    SetTimeField(find_record::kLastAccessTimeOffset, value);
}
void FindDataRecord::SetLastWriteTime(const VARIANT& value) {
    SetTimeField(find_record::kLastWriteTimeOffset, value);
}

// ---- Win32FindData

HRESULT FindDataRecord::get_FileSize(VARIANT* value) {
    return Get(value, [&] { return FileSize(); });
}

HRESULT FindDataRecord::get_LastWriteTime(DATE* value) {
    return Get(value, [&] { return LastWriteTime(); });
}

HRESULT FindDataRecord::get_LastAccessTime(DATE* value) {
    return Get(value, [&] { return LastAccessTime(); });
}

HRESULT FindDataRecord::get_CreationTime(DATE* value) {
    return Get(value, [&] { return CreationTime(); });
}

HRESULT FindDataRecord::get_PreciseLastWriteTime(VARIANT* value) {
    return Get(value, [&] { return PreciseLastWriteTime(); });
}

HRESULT FindDataRecord::get_PreciseLastAccessTime(VARIANT* value) {
    return Get(value, [&] { return PreciseLastAccessTime(); });
}

HRESULT FindDataRecord::get_PreciseCreationTime(VARIANT* value) {
    return Get(value, [&] { return PreciseCreationTime(); });
}

HRESULT FindDataRecord::get_FileAttributes(LONG* value) {
    return Get(value, [&] { return static_cast<LONG>(Attributes()); });
}

HRESULT FindDataRecord::put_FileAttributes(LONG value) {
    return Run([&] { SetAttributes(static_cast<DWORD>(value)); });
}

HRESULT FindDataRecord::get_FileName(BSTR* value) {
    return Get(value, [&] { return FileName(); });
}

// The names are the platform's answer; a client's new name is accepted and not stored.
HRESULT FindDataRecord::put_FileName(BSTR) { return S_OK; }

HRESULT FindDataRecord::get_AltFileName(BSTR* value) {
    return Get(value, [&] { return AltFileName(); });
}

HRESULT FindDataRecord::put_AltFileName(BSTR) { return S_OK; }

HRESULT FindDataRecord::get_Version(LONG* value) {
    return Get(value, [&] { return version_; });
}

HRESULT FindDataRecord::put_Version(LONG value) {
    return Run([&] { SetVersion(value); });
}

HRESULT FindDataRecord::get_lpWIN_32_FIND_DATA(LONG* value) {
    return Get(value, [&] { return AddressAsLong(bytes_.data()); });
}

}  // namespace vofs
