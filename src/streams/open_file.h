#pragma once
// OpenFile: one platform file handle that an item opened, with the parameters it was
// opened with. It answers size, times, attributes and name through the handle or its
// item, sets the three file times through the handle, and closes the handle (on
// CloseFile, harmless any number of times, or when the last reference goes). Streams
// hold it and ask it for the handle on every operation. It implements IOpenFile, the
// open-file interface the FTP open file implements too.
//
// The share mode given at open is not recorded: Sharing answers 0 for every local open
// file, as it always has.

#include "common/handles.h"
#include "frame/com_object.h"
#include "frame/contract.h"

#include <optional>

namespace vofs {

class OpenFile final : public ComObject<OpenFile, _OpenFile, _IOpenFile> {
public:
    static constexpr wchar_t kClassName[] = L"OpenFile";

    // The platform's open parameters, passed through unchanged.
    struct Parameters {
        DWORD mode;    // the creation disposition (FileMode 1 to 5)
        DWORD access;
        DWORD share;
        DWORD flags;
    };

    // Opens `platformPath` for `item` (CreateFileW or CreateFileA by the wide-call rule);
    // a failed open raises the system error with source "OpenFile". `recordedFlags` is
    // what OpenFlags answers, when it differs from the flags of the open.
    static ComPtr<OpenFile> Open(_IFolderItem* item, const std::wstring& platformPath, const Parameters& parameters,
                                 std::optional<DWORD> recordedFlags = std::nullopt);

    // The handle, or error 5 once closed.
    HANDLE RequireHandle() const;
    HANDLE NativeHandle() const { return handle_.Get(); }
    DWORD AccessMask() const { return parameters_.access; }
    DWORD Flags() const { return parameters_.flags; }
    void Close();

    // ---- _OpenFile and _IOpenFile
    HRESULT STDMETHODCALLTYPE get_FolderItem(_FolderItem** value) override;
    HRESULT STDMETHODCALLTYPE get_FolderItem(_IFolderItem** value) override;
    HRESULT STDMETHODCALLTYPE get_Handle(LONG* value) override;
    HRESULT STDMETHODCALLTYPE put_Attributes(FileAttributes value) override;
    HRESULT STDMETHODCALLTYPE get_Attributes(FileAttributes* value) override;
    HRESULT STDMETHODCALLTYPE get_LastWriteTime(DATE* value) override;
    HRESULT STDMETHODCALLTYPE get_LastAccessTime(DATE* value) override;
    HRESULT STDMETHODCALLTYPE get_CreationTime(DATE* value) override;
    HRESULT STDMETHODCALLTYPE get_PreciseLastWriteTime(VARIANT* value) override;
    HRESULT STDMETHODCALLTYPE get_PreciseLastAccessTime(VARIANT* value) override;
    HRESULT STDMETHODCALLTYPE get_PreciseCreationTime(VARIANT* value) override;
    HRESULT STDMETHODCALLTYPE SetLastWriteTime(VARIANT NewValue) override;
    HRESULT STDMETHODCALLTYPE SetLastAccessTime(VARIANT NewValue) override;
    HRESULT STDMETHODCALLTYPE SetCreationTime(VARIANT NewValue) override;
    HRESULT STDMETHODCALLTYPE get_Size(VARIANT* value) override;
    HRESULT STDMETHODCALLTYPE get_Name(BSTR* value) override;
    HRESULT STDMETHODCALLTYPE get_Access(FileAccess* value) override;
    HRESULT STDMETHODCALLTYPE get_Access(LONG* value) override;
    HRESULT STDMETHODCALLTYPE get_OpenFlags(OpenFileFlags* value) override;
    HRESULT STDMETHODCALLTYPE get_Sharing(FileShare* value) override;
    HRESULT STDMETHODCALLTYPE get_Mode(FileMode* value) override;
    HRESULT STDMETHODCALLTYPE CloseFile() override;
    HRESULT STDMETHODCALLTYPE GetIoBufferSizeHint(LONG* value) override;
    HRESULT STDMETHODCALLTYPE get_Object(IDispatch** value) override;
    HRESULT STDMETHODCALLTYPE IsSupported(IOpenFileMembers MemberName, VARIANT_BOOL* value) override;

private:
    friend class ComObject<OpenFile, _OpenFile, _IOpenFile>;
    OpenFile(_IFolderItem* item, HANDLE handle, const Parameters& parameters);

    enum class Slot { Creation, LastAccess, LastWrite };
    FILETIME ReadTime(Slot slot);
    void WriteTime(Slot slot, const VARIANT& value);

    ComPtr<_IFolderItem> item_;
    KernelHandle handle_;
    Parameters parameters_;
    bool lastCallOk_ = true;
};

}  // namespace vofs
