#pragma once
// FtpFolderItem: one file or folder on an FTP server, bound to an FtpConnection and named
// by a Path ("ftp://server/..."). It answers existence, size and times from one find
// record, filled by the item lookup or handed over by the enumerator that listed it (so
// such an item answers without a round trip until it is refreshed), renames and deletes
// by canonicalised names, creates folder chains, deletes trees through the shared walk
// and opens byte, text and backup-format streams over FTP transfers. It implements
// IFolderItem, so the library's tree routines (copy, cascade delete) serve it as they
// serve local items.
//
// Where the FTP item and IFolderItem differ:
// - Delete removes a folder with the server's remove-directory command, a file with its
//   delete command.
// - CascadeDelete with ContentsOnly keeps the folder itself, as a local one does.
// - Cached off makes every data member ask the server first; on, they ask only while the
//   item is not known to exist.
// - Attributes cannot be set over FTP: IFolderItem's Attributes let accepts Normal (and 0)
//   as the state every remote file already has and refuses anything else with error 445;
//   IsSupported answers false for it alone.
// - Text streams read or write (ForAppending is refused with error 5: FTP uploads start
//   empty); backup-format streams run in the emulated mode (the content as one data
//   stream; security is never included).

#include "frame/com_object.h"
#include "frame/contract.h"
#include "ftp/ftp_connection.h"
#include "items/find_data.h"
#include "paths/path.h"

#include <optional>

namespace vofs {

class FtpFileStream;
class FtpFolderEnumerator;

// The two interfaces' OpenBackupStreamWriter share a signature but not a meaning
// (AsciiTransfer, Asynchronous here; Asynchronous, IncludeSecurity there).
class FtpItemWriterOpener : public InterfaceFace<_FtpFolderItem> {
public:
    HRESULT STDMETHODCALLTYPE OpenBackupStreamWriter(VARIANT_BOOL AsciiTransfer, VARIANT_BOOL Asynchronous,
                                                     _BackupStreamWriter** value) final {
        return OpenBackupWriter(AsciiTransfer, Asynchronous, value);
    }

protected:
    virtual HRESULT OpenBackupWriter(VARIANT_BOOL ascii, VARIANT_BOOL async, _BackupStreamWriter** value) = 0;
};

class FtpItemAsFolderItem : public InterfaceFace<_IFolderItem> {
public:
    HRESULT STDMETHODCALLTYPE OpenBackupStreamWriter(VARIANT_BOOL Asynchronous, VARIANT_BOOL,
                                                     _BackupStreamWriter** value) final {
        return OpenBackupWriter(VARIANT_FALSE, Asynchronous, value);
    }

protected:
    virtual HRESULT OpenBackupWriter(VARIANT_BOOL ascii, VARIANT_BOOL async, _BackupStreamWriter** value) = 0;
};

class FtpFolderItem final : public ComObject<FtpFolderItem, FtpItemWriterOpener, FtpItemAsFolderItem> {
public:
    static constexpr wchar_t kClassName[] = L"FtpFolderItem";

    // A new item, refreshed.
    static ComPtr<FtpFolderItem> On(ComPtr<FtpConnection> connection, ComPtr<Path> path);
    // A new item that answers from an entry an enumerator has just read.
    static ComPtr<FtpFolderItem> FromEntry(ComPtr<FtpConnection> connection, ComPtr<Path> path,
                                           const FindDataRecord& entry);

    const Path& ItemPath() const { return *path_.Get(); }
    FtpConnection& Connection() const { return *connection_.Get(); }
    ComPtr<FtpFolderEnumerator> Enumerator(std::wstring_view filter);
    // The data record, refreshed first when the cache may not answer. An item that is not
    // there answers from what the record last held (nothing, for one never found).
    const FindDataRecord& Data();
    bool Cached() const { return cached_; }
    void SetCached(bool cached) { cached_ = cached; }
    // The size the item's last lookup or listing gave, when it is a file known to be there.
    std::optional<uint64_t> ListedSize() const;
    // Looks the item up again on a connection of its own (the item's connection is busy
    // while one of its files is open) and keeps what it finds; false when it is gone.
    bool RefreshAside();

    // ---- _FtpFolderItem and _IFolderItem
    HRESULT STDMETHODCALLTYPE get_Path(_Path** value) override;
    HRESULT STDMETHODCALLTYPE get_Path(_IPath** value) override;
    HRESULT STDMETHODCALLTYPE get_Name(BSTR* value) override;
    HRESULT STDMETHODCALLTYPE put_Name(BSTR value) override;
    HRESULT STDMETHODCALLTYPE get_Exists(VARIANT_BOOL* value) override;
    HRESULT STDMETHODCALLTYPE CreateFolder() override;
    HRESULT STDMETHODCALLTYPE Delete() override;
    HRESULT STDMETHODCALLTYPE CascadeDelete(BSTR Filter, VARIANT_BOOL IgnoreErrors, VARIANT_BOOL ContentsOnly,
                                            VARIANT_BOOL IncludeSubFolders, VARIANT_BOOL Recurse) override;
    HRESULT STDMETHODCALLTYPE get_Size(VARIANT* value) override;
    HRESULT STDMETHODCALLTYPE get_Attributes(FileAttributes* value) override;
    HRESULT STDMETHODCALLTYPE put_Attributes(FileAttributes value) override;
    HRESULT STDMETHODCALLTYPE get_CreationTime(DATE* value) override;
    HRESULT STDMETHODCALLTYPE get_LastWriteTime(DATE* value) override;
    HRESULT STDMETHODCALLTYPE get_LastAccessTime(DATE* value) override;
    HRESULT STDMETHODCALLTYPE get_PreciseCreationTime(VARIANT* value) override;
    HRESULT STDMETHODCALLTYPE get_PreciseLastWriteTime(VARIANT* value) override;
    HRESULT STDMETHODCALLTYPE get_PreciseLastAccessTime(VARIANT* value) override;
    HRESULT STDMETHODCALLTYPE get_IsFolder(VARIANT_BOOL* value) override;
    HRESULT STDMETHODCALLTYPE get_PathIsRoot(VARIANT_BOOL* value) override;
    HRESULT STDMETHODCALLTYPE get_Parent(_FtpFolderItem** value) override;
    HRESULT STDMETHODCALLTYPE get_Parent(_IFolderItem** value) override;
    HRESULT STDMETHODCALLTYPE get_Cached(VARIANT_BOOL* value) override;
    HRESULT STDMETHODCALLTYPE put_Cached(VARIANT_BOOL value) override;
    HRESULT STDMETHODCALLTYPE OpenStream(FileAccess Access, VARIANT_BOOL AsciiTransfer, VARIANT_BOOL Asyncronous,
                                         _FtpFileStream** value) override;
    HRESULT STDMETHODCALLTYPE OpenStreamReader(_IFileStream** value) override;
    HRESULT STDMETHODCALLTYPE OpenStreamWriter(_IFileStream** value) override;
    HRESULT STDMETHODCALLTYPE OpenTextStream(TextStreamIoMode IoMode, VARIANT_BOOL Async, _ITextStream** value) override;
    HRESULT STDMETHODCALLTYPE OpenTextStream(TextStreamIoMode Mode, _ITextStream** value) override;
    HRESULT STDMETHODCALLTYPE OpenBackupStreamReader(VARIANT_BOOL AsciiTransfer, VARIANT_BOOL Asynchronous,
                                                     LONG BufferSize, _BackupStreamReader** value) override;
    HRESULT STDMETHODCALLTYPE OpenBackupStreamReader(VARIANT_BOOL Asynchronous, LONG BufferSize,
                                                     VARIANT_BOOL IncludeSecurity,
                                                     _BackupStreamReader** value) override;
    HRESULT STDMETHODCALLTYPE EnumFolder(BSTR Filter, _FtpFolderEnumerator** value) override;
    HRESULT STDMETHODCALLTYPE EnumFolder(BSTR Filter, _IFolderEnumerator** value) override;
    HRESULT STDMETHODCALLTYPE Refresh() override;
    HRESULT STDMETHODCALLTYPE IsSupported(IFolderItemMembers MemberName, VARIANT_BOOL* value) override;
    HRESULT STDMETHODCALLTYPE GetFolderItem(BSTR Path, _FtpFolderItem** value) override;
    HRESULT STDMETHODCALLTYPE GetFolderItem(BSTR Path, _IFolderItem** value) override;

private:
    friend class ComObject<FtpFolderItem, FtpItemWriterOpener, FtpItemAsFolderItem>;
    FtpFolderItem();

    HRESULT OpenBackupWriter(VARIANT_BOOL ascii, VARIANT_BOOL async, _BackupStreamWriter** value) override;

    void RefreshNow();
    void RequireSetUp() const;
    // Runs a command on the item's name in its parent folder (the name canonicalised).
    template <class Command>
    void RunInParent(Command&& command);
    ComPtr<FtpFolderItem> Parent();
    ComPtr<FtpFileStream> OpenStreamNow(DWORD access, bool ascii, bool async);
    ComPtr<_ITextStream> OpenTextStreamNow(TextStreamIoMode mode, bool async);
    ComPtr<_BackupStreamReader> OpenBackupReaderNow(bool ascii, bool async, LONG bufferSize);

    ComPtr<FtpConnection> connection_;
    ComPtr<Path> path_;
    ComPtr<FindDataRecord> record_;
    bool setUp_ = false;
    bool parentExists_ = false;
    bool exists_ = false;
    bool cached_ = true;
};

}  // namespace vofs
