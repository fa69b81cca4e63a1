#pragma once
// FtpFolderEnumerator: walks the entries of one folder on an FTP server. WinInet runs one
// listing at a time per connection, so the walk runs on a private, synchronous clone of
// the item's connection, disconnected when the walk ends; the owner connection stays free
// for other work, and the items the walk hands out are bound to the owner.
//
// Opening stands on the first entry ("." and ".." at the start are passed over; later
// ones are returned as they are); the end of the list (error 18) closes the walk without
// an error. The entry members answer from the record of the current entry.

#include "frame/com_object.h"
#include "frame/contract.h"
#include "ftp/internet_session.h"
#include "items/find_data.h"
#include "paths/path.h"

namespace vofs {

class FtpConnection;
class FtpFolderItem;

class FtpFolderEnumerator final
    : public ComObject<FtpFolderEnumerator, _FtpFolderEnumerator, _IFolderEnumerator, _IInternetStatus> {
public:
    static constexpr wchar_t kClassName[] = L"FtpFolderEnumerator";

    // Opens on `folder` with `filter` ("" for every entry; a leading "\" is dropped and
    // blanks match any character). Errors are raised with source "FtpFolderEnumerator".
    static ComPtr<FtpFolderEnumerator> Open(ComPtr<FtpConnection> owner, ComPtr<FtpConnection> clone,
                                            const Path& folder, std::wstring_view filter);

    // ---- _FtpFolderEnumerator and _IFolderEnumerator
    HRESULT STDMETHODCALLTYPE get_ItemPath(_Path** value) override;
    HRESULT STDMETHODCALLTYPE get_Path(_Path** value) override;
    HRESULT STDMETHODCALLTYPE get_Handle(LONG* value) override;
    HRESULT STDMETHODCALLTYPE get_Folder(_IFolderItem** value) override;
    HRESULT STDMETHODCALLTYPE GetFolderItem(_FtpFolderItem** value) override;
    HRESULT STDMETHODCALLTYPE GetFolderItem(_IFolderItem** value) override;
    HRESULT STDMETHODCALLTYPE get_IsOpen(VARIANT_BOOL* value) override;
    HRESULT STDMETHODCALLTYPE GetNextItem(VARIANT_BOOL* value) override;
    HRESULT STDMETHODCALLTYPE CloseEnumerator() override;
    HRESULT STDMETHODCALLTYPE get_Attributes(FileAttributes* value) override;
    HRESULT STDMETHODCALLTYPE get_CreationTime(DATE* value) override;
    HRESULT STDMETHODCALLTYPE get_IsFolder(VARIANT_BOOL* value) override;
    HRESULT STDMETHODCALLTYPE get_LastAccessTime(DATE* value) override;
    HRESULT STDMETHODCALLTYPE get_LastWriteTime(DATE* value) override;
    HRESULT STDMETHODCALLTYPE get_Name(BSTR* value) override;
    HRESULT STDMETHODCALLTYPE get_PreciseCreationTime(VARIANT* value) override;
    HRESULT STDMETHODCALLTYPE get_PreciseLastAccessTime(VARIANT* value) override;
    HRESULT STDMETHODCALLTYPE get_PreciseLastWriteTime(VARIANT* value) override;
    HRESULT STDMETHODCALLTYPE get_Size(VARIANT* value) override;
    HRESULT STDMETHODCALLTYPE CloneFolderItem(_FtpFolderItem** value) override;
    HRESULT STDMETHODCALLTYPE CloneFolderItem(_IFolderItem** value) override;

    // ---- _IInternetStatus: listings need no notifications
    HRESULT STDMETHODCALLTYPE Callback(InternetStatus, LONG, LONG) override { return S_OK; }

private:
    friend class ComObject<FtpFolderEnumerator, _FtpFolderEnumerator, _IFolderEnumerator, _IInternetStatus>;
    FtpFolderEnumerator();
    ~FtpFolderEnumerator() override;

    void OpenNow(std::wstring_view filter);
    bool MoveNext();
    void EndListing();
    void Close();
    ComPtr<Path> EntryPath() const;
    ComPtr<FtpFolderItem> EntryItem() const;

    ComPtr<FtpConnection> owner_;
    ComPtr<FtpConnection> clone_;
    ComPtr<Path> folder_;
    HINTERNET find_ = kClosed;
    bool workingFolderSet_ = false;
    ComPtr<FindDataRecord> record_;

    static inline const HINTERNET kClosed = reinterpret_cast<HINTERNET>(static_cast<intptr_t>(-1));
};

}  // namespace vofs
