#pragma once
// Win32FindData: one find record, filled in place by the platform's find calls and read
// by the items and enumerators that keep one. The record's bytes and their layouts live in
// find_record.h; this class adds the automation conversions.
//
// Version selects the layout: 1 the ANSI record, 2 the wide one. A new record settles on
// the platform's natural layout (2 on the NT family, else 1); a caller that uses the ANSI
// find calls on the NT family sets Version to 1 afterwards (or initialises from an ANSI
// record, which does the same).

#include "common/low_memory.h"
#include "common/variant.h"
#include "frame/com_object.h"
#include "frame/contract.h"
#include "items/find_record.h"

#include <array>
#include <cstdint>
#include <span>
#include <string>

namespace vofs {

// Its address is handed out (lpWIN_32_FIND_DATA), so it lives in low memory.
class FindDataRecord final : public ComObject<FindDataRecord, ::Win32FindData>, public LowMemoryObject {
public:
    static constexpr wchar_t kClassName[] = L"Win32FindData";

    // A new, zeroed record; Version is already settled (see above).
    static ComPtr<FindDataRecord> Make();

    long Version() const { return version_; }
    // The Version rule: an unchosen record settles on the platform's layout, a record of
    // version 1 or 2 takes the value unchecked, any other raises error 5 and keeps its own.
    void SetVersion(long version);
    // The buffer that FindFirstFileW/A and FindNextFileW/A fill: WIN32_FIND_DATAW when
    // Version is 2, WIN32_FIND_DATAA when it is 1 (596 bytes either way).
    void* Buffer() { return bytes_.data(); }
    std::span<const uint8_t> Bytes() const { return bytes_; }
    // Applies the Version rule with `version`, then copies a record of the resulting
    // version's size (320 or 596 bytes) from `record`.
    void InitializeFrom(const void* record, long version);

    DWORD Attributes() const;
    void SetAttributes(DWORD attributes);
    // True when the attributes have the directory bit.
    bool IsFolder() const { return (Attributes() & FILE_ATTRIBUTE_DIRECTORY) != 0; }
    std::wstring FileName() const;
    std::wstring AltFileName() const;
    // The size as a Decimal (high word * 2^32 + low word, unsigned).
    Variant FileSize() const;
    uint64_t ByteSize() const;
    // Integer, Long and Currency values become Decimals, a Decimal is taken as it is, any
    // other kind raises error 5; the size words come from the mantissa's middle and low
    // 32 bits.
    void SetFileSize(const VARIANT& value);

    FILETIME CreationFileTime() const;
    FILETIME LastAccessFileTime() const;
    FILETIME LastWriteFileTime() const;
    // The three dates all read the last-write time: a find record answers its creation and
    // access dates with the time it was last written. The precise values read their own
    // fields.
    DATE LastWriteTime() const;
    DATE LastAccessTime() const;
    DATE CreationTime() const;
    Variant PreciseCreationTime() const;
    Variant PreciseLastWriteTime() const;
    Variant PreciseLastAccessTime() const;
    // Times given by a client (a Win32FileTime, a Decimal or a date; see FileTimeFromValue).
    void SetCreationTime(const VARIANT& value);
    void SetLastAccessTime(const VARIANT& value);
    void SetLastWriteTime(const VARIANT& value);

    // ---- Win32FindData
    HRESULT STDMETHODCALLTYPE get_FileSize(VARIANT* value) override;
    HRESULT STDMETHODCALLTYPE get_LastWriteTime(DATE* value) override;
    HRESULT STDMETHODCALLTYPE get_LastAccessTime(DATE* value) override;
    HRESULT STDMETHODCALLTYPE get_CreationTime(DATE* value) override;
    HRESULT STDMETHODCALLTYPE get_PreciseLastWriteTime(VARIANT* value) override;
    HRESULT STDMETHODCALLTYPE get_PreciseLastAccessTime(VARIANT* value) override;
    HRESULT STDMETHODCALLTYPE get_PreciseCreationTime(VARIANT* value) override;
    HRESULT STDMETHODCALLTYPE get_FileAttributes(LONG* value) override;
    HRESULT STDMETHODCALLTYPE put_FileAttributes(LONG value) override;
    HRESULT STDMETHODCALLTYPE get_FileName(BSTR* value) override;
    HRESULT STDMETHODCALLTYPE put_FileName(BSTR value) override;
    HRESULT STDMETHODCALLTYPE get_AltFileName(BSTR* value) override;
    HRESULT STDMETHODCALLTYPE put_AltFileName(BSTR value) override;
    HRESULT STDMETHODCALLTYPE get_Version(LONG* value) override;
    HRESULT STDMETHODCALLTYPE put_Version(LONG value) override;
    HRESULT STDMETHODCALLTYPE get_lpWIN_32_FIND_DATA(LONG* value) override;

private:
    friend class ComObject<FindDataRecord, ::Win32FindData>;
    FindDataRecord() = default;

    void SetTimeField(size_t offset, const VARIANT& value);

    alignas(8) std::array<uint8_t, find_record::kBufferSize> bytes_{};
    long version_ = find_record::kUnchosen;
};

}  // namespace vofs
