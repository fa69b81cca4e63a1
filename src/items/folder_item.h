#pragma once
// FolderItem: the library's handle on one local file or folder, named by a Path. It
// answers existence, size, attributes and times from one cached find record, runs the
// item operations (create the folder chain, delete, delete a tree, rename, set
// attributes) and enumerates the folder. It implements IFolderItem, the item interface the
// FTP item implements too.
//
// Cache: Exists answers from the cache while Cached is on and the item is known to exist;
// the data members refresh first when Cached is off or the item was not there. A failed
// search leaves the record as it was, so an item that disappeared still reports its old
// data until it is asked for existence.

#include "frame/com_object.h"
#include "frame/contract.h"
#include "items/find_data.h"
#include "paths/path.h"

#include <utility>

namespace vofs {

class BackupStreamReader;
class BackupStreamWriter;
class FolderEnumerator;
class FileStream;
class OpenFile;
class TextStream;

class FolderItem final : public ComObject<FolderItem, _FolderItem, _IFolderItem> {
public:
    static constexpr wchar_t kClassName[] = L"FolderItem";

    // A new item, refreshed, for a path text (error 5 when it is no path) or for a Path,
    // which the item shares (any IPath becomes one through Path::From).
    static ComPtr<FolderItem> Open(std::wstring_view path);
    static ComPtr<FolderItem> ForPath(ComPtr<Path> path);

    // ---- _FolderItem and _IFolderItem
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
    HRESULT STDMETHODCALLTYPE get_Parent(_IFolderItem** value) override;
    HRESULT STDMETHODCALLTYPE get_Cached(VARIANT_BOOL* value) override;
    HRESULT STDMETHODCALLTYPE put_Cached(VARIANT_BOOL value) override;
    HRESULT STDMETHODCALLTYPE OpenBackupStreamReader(FileMode Mode, FileAccess Access, FileShare Share,
                                                     VARIANT_BOOL Asynchronous, LONG BufferSize,
                                                     VARIANT_BOOL IncludeSecurity,
                                                     _BackupStreamReader** value) override;
    HRESULT STDMETHODCALLTYPE OpenBackupStreamReader(VARIANT_BOOL Asynchronous, LONG BufferSize,
                                                     VARIANT_BOOL IncludeSecurity,
                                                     _BackupStreamReader** value) override;
    HRESULT STDMETHODCALLTYPE OpenBackupStreamWriter(FileMode Mode, FileAccess Access, FileShare Share,
                                                     VARIANT_BOOL Asynchronous, VARIANT_BOOL IncludeSecurity,
                                                     _BackupStreamWriter** value) override;
    HRESULT STDMETHODCALLTYPE OpenBackupStreamWriter(VARIANT_BOOL Asynchronous, VARIANT_BOOL IncludeSecurity,
                                                     _BackupStreamWriter** value) override;
    HRESULT STDMETHODCALLTYPE OpenStream(FileMode Mode, FileAccess Access, FileShare Share, OpenFileFlags Flags,
                                         _FileStream** value) override;
    HRESULT STDMETHODCALLTYPE OpenStreamReader(_IFileStream** value) override;
    HRESULT STDMETHODCALLTYPE OpenStreamWriter(_IFileStream** value) override;
    HRESULT STDMETHODCALLTYPE OpenTextStream(TextStreamIoMode IoMode, FileShare Share, _TextStream** value) override;
    HRESULT STDMETHODCALLTYPE OpenTextStream(TextStreamIoMode Mode, _ITextStream** value) override;
    HRESULT STDMETHODCALLTYPE EnumFolder(BSTR Filter, _FolderEnumerator** value) override;
    HRESULT STDMETHODCALLTYPE EnumFolder(BSTR Filter, _IFolderEnumerator** value) override;
    HRESULT STDMETHODCALLTYPE Refresh() override;
    HRESULT STDMETHODCALLTYPE IsSupported(IFolderItemMembers MemberName, VARIANT_BOOL* value) override;
    HRESULT STDMETHODCALLTYPE GetFolderItem(BSTR Path, _FolderItem** value) override;
    HRESULT STDMETHODCALLTYPE GetFolderItem(BSTR Path, _IFolderItem** value) override;

private:
    friend class ComObject<FolderItem, _FolderItem, _IFolderItem>;
    FolderItem();

    // The search for the item itself (or, for a root, its volume).
    void RefreshNow();
    // Guard: an item whose last refresh failed answers nothing but error 5.
    void RequireInitialized() const;
    // Data refresh: the record, fresh unless the cache may answer; error 5 when the item
    // is not there.
    const FindDataRecord& Data();
    bool IsFolderNow();
    void CreateFolderChain();
    void DeleteNow();
    ComPtr<FolderEnumerator> OpenEnumerator(BSTR filter);
    ComPtr<FileStream> OpenStreamNow(FileMode mode, FileAccess access, FileShare share, OpenFileFlags flags);
    ComPtr<TextStream> OpenTextStreamNow(TextStreamIoMode mode, FileShare share);
    ComPtr<BackupStreamReader> OpenBackupReaderNow(FileMode mode, FileAccess access, FileShare share, bool async,
                                                   LONG bufferSize, bool includeSecurity);
    ComPtr<BackupStreamWriter> OpenBackupWriterNow(FileMode mode, FileAccess access, FileShare share, bool async,
                                                   bool includeSecurity);
    // The open file of a backup stream and, where one belongs to it, its byte stream.
    std::pair<ComPtr<OpenFile>, ComPtr<FileStream>> OpenForBackup(bool writing, FileMode mode, FileAccess access,
                                                                  FileShare share, bool async, bool includeSecurity);

    ComPtr<Path> path_;
    ComPtr<FindDataRecord> record_;
    bool initialized_ = false;
    bool exists_ = false;
    bool cached_;
};

}  // namespace vofs
