#pragma once
// FtpOpenFile: one file opened on an FTP server: the WinInet file handle, the item it
// belongs to and the access it was opened with. Attributes, times and name are the
// item's; the size is asked of the server (FtpGetFileSize) or, with a WinInet older than
// 1.2, read from the item's listing. It implements IOpenFile: the members FTP cannot serve
// (setting attributes or times) answer false to IsSupported and raise error 445.

#include "frame/com_object.h"
#include "frame/contract.h"

#include <cstdint>
#include <optional>

namespace vofs {

class FtpFolderItem;

class FtpOpenFile final : public ComObject<FtpOpenFile, _FtpOpenFile, _IOpenFile> {
public:
    static constexpr wchar_t kClassName[] = L"FtpOpenFile";

    // `listedLength`: where a download is expected to end (see EndsAt), when known.
    static ComPtr<FtpOpenFile> Opened(HINTERNET handle, ComPtr<FtpFolderItem> item, DWORD access,
                                      std::optional<uint64_t> listedLength);

    HINTERNET NativeHandle() const { return handle_; }
    // The handle, or error 5 once closed.
    HINTERNET RequireHandle() const;
    DWORD AccessMask() const { return access_; }
    FtpFolderItem& Item() const { return *item_.Get(); }
    void Close();
    // Whether a download whose data ended after `moved` bytes is the whole file. WinInet
    // reports a data connection that closed early (the server gone in mid-transfer) as
    // the file's end: an end short of the listed length is checked against a fresh lookup
    // on a connection of its own, so that a file changed since it was listed still ends.
    bool EndsAt(uint64_t moved);

    // ---- _FtpOpenFile and _IOpenFile
    HRESULT STDMETHODCALLTYPE get_Handle(LONG* value) override;
    HRESULT STDMETHODCALLTYPE get_Attributes(FileAttributes* value) override;
    HRESULT STDMETHODCALLTYPE put_Attributes(FileAttributes value) override;
    HRESULT STDMETHODCALLTYPE get_FolderItem(_FtpFolderItem** value) override;
    HRESULT STDMETHODCALLTYPE get_FolderItem(_IFolderItem** value) override;
    HRESULT STDMETHODCALLTYPE get_LastWriteTime(DATE* value) override;
    HRESULT STDMETHODCALLTYPE get_LastAccessTime(DATE* value) override;
    HRESULT STDMETHODCALLTYPE get_CreationTime(DATE* value) override;
    HRESULT STDMETHODCALLTYPE get_PreciseLastWriteTime(VARIANT* value) override;
    HRESULT STDMETHODCALLTYPE get_PreciseLastAccessTime(VARIANT* value) override;
    HRESULT STDMETHODCALLTYPE get_PreciseCreationTime(VARIANT* value) override;
    HRESULT STDMETHODCALLTYPE get_Size(VARIANT* value) override;
    HRESULT STDMETHODCALLTYPE get_Name(BSTR* value) override;
    HRESULT STDMETHODCALLTYPE get_Access(FileAccess* value) override;
    HRESULT STDMETHODCALLTYPE get_Access(LONG* value) override;
    HRESULT STDMETHODCALLTYPE CloseFile() override;
    HRESULT STDMETHODCALLTYPE GetIoBufferSizeHint(LONG* value) override;
    HRESULT STDMETHODCALLTYPE SetLastWriteTime(VARIANT NewValue) override;
    HRESULT STDMETHODCALLTYPE SetLastAccessTime(VARIANT NewValue) override;
    HRESULT STDMETHODCALLTYPE SetCreationTime(VARIANT NewValue) override;
    HRESULT STDMETHODCALLTYPE get_Object(IDispatch** value) override;
    HRESULT STDMETHODCALLTYPE IsSupported(IOpenFileMembers MemberName, VARIANT_BOOL* value) override;

private:
    friend class ComObject<FtpOpenFile, _FtpOpenFile, _IOpenFile>;
    FtpOpenFile() = default;
    ~FtpOpenFile() override;

    template <class Getter>
    HRESULT FromItem(Getter&& getter);

    HINTERNET handle_ = nullptr;
    ComPtr<FtpFolderItem> item_;
    DWORD access_ = 0;
    std::optional<uint64_t> listedLength_;
    bool closedOk_ = false;
};

}  // namespace vofs
