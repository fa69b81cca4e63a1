#pragma once
// Volume: one volume of the machine (a drive, a network share, or the host of a URL),
// described by GetVolumeInformation and GetDriveTypeA. The data are read on first use
// and again on Refresh. A Volume made by a caller (the class is creatable) is bound to no
// path: its VolumeName is empty and its data members raise error 5.

#include "frame/com_object.h"
#include "frame/contract.h"

#include <string>

namespace vofs {

class Path;

class Volume final : public ComObject<Volume, _Volume> {
public:
    static constexpr wchar_t kClassName[] = L"Volume";

    // A volume for the root of `text`, nothing read yet. Text that is no path raises
    // error 5.
    static ComPtr<Volume> Bind(std::wstring_view text);

    // The root text: the path's root, for a drive path with a trailing separator.
    const std::wstring& VolumeName() const { return name_; }
    bool IsBound() const;
    bool IsDrive() const;

    // Reads the volume data (Refresh): for a URL only the file-system name (its protocol,
    // and the data stay unread); otherwise GetVolumeInformation, whose failure raises the
    // system error with source "Volume".
    void ReadData();
    std::wstring Label();
    DWORD SerialNumber();
    DWORD MaxComponentLength();
    std::wstring FileSystemName();
    DWORD Flags();
    bool HasFlag(DWORD mask) { return (Flags() & mask) != 0; }
    long VolumeType();

    // ---- _Volume
    HRESULT STDMETHODCALLTYPE get_VolumeName(BSTR* value) override;
    HRESULT STDMETHODCALLTYPE get_VolumeLabel(BSTR* value) override;
    HRESULT STDMETHODCALLTYPE get_SerialNumber(LONG* value) override;
    HRESULT STDMETHODCALLTYPE get_MaxComponentLength(LONG* value) override;
    HRESULT STDMETHODCALLTYPE get_FileSystemName(BSTR* value) override;
    HRESULT STDMETHODCALLTYPE get_CasePreservedNames(VARIANT_BOOL* value) override;
    HRESULT STDMETHODCALLTYPE get_UnicodeOnDisk(VARIANT_BOOL* value) override;
    HRESULT STDMETHODCALLTYPE get_PersistentAcls(VARIANT_BOOL* value) override;
    HRESULT STDMETHODCALLTYPE get_FileCompression(VARIANT_BOOL* value) override;
    HRESULT STDMETHODCALLTYPE get_VolumeQuotas(VARIANT_BOOL* value) override;
    HRESULT STDMETHODCALLTYPE get_SupportsSparseFiles(VARIANT_BOOL* value) override;
    HRESULT STDMETHODCALLTYPE get_SupportsReparsePoints(VARIANT_BOOL* value) override;
    HRESULT STDMETHODCALLTYPE get_SupportsRemoteStorage(VARIANT_BOOL* value) override;
    HRESULT STDMETHODCALLTYPE get_VolumeIsCompressed(VARIANT_BOOL* value) override;
    HRESULT STDMETHODCALLTYPE get_SupportsObjectIds(VARIANT_BOOL* value) override;
    HRESULT STDMETHODCALLTYPE get_SupportsEncryption(VARIANT_BOOL* value) override;
    HRESULT STDMETHODCALLTYPE Refresh() override;
    HRESULT STDMETHODCALLTYPE get_VolumeType(VolumeTypes* value) override;
    HRESULT STDMETHODCALLTYPE get_IsMounted(VARIANT_BOOL* value) override;

private:
    friend class ComObject<Volume, _Volume>;
    Volume();
    ~Volume() override;

    const Path& BoundPath() const;
    void EnsureLoaded();
    HRESULT Flag(VARIANT_BOOL* value, DWORD mask);

    ComPtr<Path> path_;
    std::wstring name_;
    bool loaded_ = false;
    std::wstring label_;
    DWORD serialNumber_ = 0;
    DWORD maxComponentLength_ = 0;
    DWORD flags_ = 0;
    std::wstring fileSystemName_ = L"0";
};

}  // namespace vofs
