#include "ftp/ftp_folder_item.h"

#include "common/system_error.h"
#include "ftp/ftp_connection.h"
#include "ftp/ftp_file_stream.h"
#include "ftp/ftp_folder_enumerator.h"
#include "ftp/ftp_open_file.h"
#include "ftp/internet_session.h"
#include "ftp/internet_url.h"
#include "items/cascade_delete.h"
#include "streams/backup_stream_reader.h"
#include "streams/backup_stream_writer.h"
#include "streams/text_stream.h"

namespace vofs {
namespace {

constexpr DWORD kLookupFlags = INTERNET_FLAG_RELOAD | INTERNET_FLAG_NO_CACHE_WRITE;  // &H84000000
constexpr DWORD kOpenAttempts = 4;

// Listings that find nothing are not failures: the item is simply not there. (This
// platform's WinInet reports an empty listing with no error code at all.)
bool IsNotThere(DWORD code) {
    return code == NO_ERROR || code == ERROR_FILE_NOT_FOUND || code == ERROR_PATH_NOT_FOUND ||
           code == ERROR_NO_MORE_FILES;
}

[[noreturn]] void RaiseLast() { RaiseSystemError(static_cast<long>(GetLastError()), FtpFolderItem::kClassName); }

bool RetriesOpen(long reply) { return reply == 150 || reply == 425 || reply == 426 || reply == 500; }

}  // namespace

FtpFolderItem::FtpFolderItem() : record_(FindDataRecord::Make()) {}

ComPtr<FtpFolderItem> FtpFolderItem::On(ComPtr<FtpConnection> connection, ComPtr<Path> path) {
    if (!connection || !path) Raise(RunTimeError::InvalidCall, kClassName);
    ComPtr<FtpFolderItem> item = Make();
    item->connection_ = std::move(connection);
    item->path_ = std::move(path);
    item->RefreshNow();
    return item;
}

ComPtr<FtpFolderItem> FtpFolderItem::FromEntry(ComPtr<FtpConnection> connection, ComPtr<Path> path,
                                               const FindDataRecord& entry) {
    ComPtr<FtpFolderItem> item = Make();
    item->connection_ = std::move(connection);
    item->path_ = std::move(path);
    item->record_->InitializeFrom(entry.Bytes().data(), entry.Version());
    item->setUp_ = item->exists_ = item->parentExists_ = true;
    return item;
}

// The set-up flag is set here and never cleared: an item whose refresh failed (the server
// gone, say) keeps answering, so the call after a reconnection works.
void FtpFolderItem::RefreshNow() {
    exists_ = parentExists_ = false;
    try {
        connection_->OnServer([&] {
            const HINTERNET connection = connection_->ConnectionHandle();
            const ComPtr<Path> parent = path_->ParentPath();
            const std::wstring folder = FtpConnection::ServerFolder(parent ? *parent.Get() : *path_.Get());
            parentExists_ = internet::SetCurrentFolder(connection, folder);
            if (!parentExists_) {
                if (!IsNotThere(GetLastError())) RaiseLast();
            } else if (path_->IsRoot()) {
                exists_ = true;
            } else {
                // Looked up into a record of its own: a failed lookup leaves the data as it was.
                const ComPtr<FindDataRecord> found = FindDataRecord::Make();
                exists_ = internet::FindItem(connection, folder, path_->Name(), *found.Get(), kLookupFlags, 0, false,
                                             kClassName);
                if (exists_) {
                    record_->InitializeFrom(found->Bytes().data(), found->Version());
                } else if (!IsNotThere(GetLastError())) {
                    RaiseLast();
                }
            }
        });
    } catch (const AutomationError& error) {
        setUp_ = true;
        throw error.WithSource(kClassName);
    }
    setUp_ = true;
}

std::optional<uint64_t> FtpFolderItem::ListedSize() const {
    if (!setUp_ || !exists_ || path_->IsRoot() || record_->IsFolder()) return std::nullopt;
    return record_->ByteSize();
}

bool FtpFolderItem::RefreshAside() {
    const ComPtr<FtpFolderItem> fresh = On(connection_->SynchronousClone(), path_);
    if (fresh->exists_) record_->InitializeFrom(fresh->record_->Bytes().data(), fresh->record_->Version());
    return fresh->exists_;
}

void FtpFolderItem::RequireSetUp() const {
    if (!setUp_) Raise(RunTimeError::InvalidCall, kClassName);
}

const FindDataRecord& FtpFolderItem::Data() {
    RequireSetUp();
    if (!cached_ || !exists_ || !parentExists_) RefreshNow();
    return *record_.Get();
}

template <class Command>
void FtpFolderItem::RunInParent(Command&& command) {
    RequireSetUp();
    const ComPtr<Path> parent = path_->ParentPath();
    if (!parent) Raise(RunTimeError::InvalidCall, kClassName);
    connection_->OnServer([&] {
        connection_->MakeCurrent(*parent.Get(), kClassName);
        if (!command(connection_->ConnectionHandle(), CanonicalizeUrl(path_->Name()))) RaiseLast();
    });
}

ComPtr<FtpFolderItem> FtpFolderItem::Parent() {
    RequireSetUp();
    ComPtr<Path> parent = path_->ParentPath();
    return parent ? On(connection_, std::move(parent)) : ComPtr<FtpFolderItem>();
}

ComPtr<FtpFolderEnumerator> FtpFolderItem::Enumerator(std::wstring_view filter) {
    RequireSetUp();
    return FtpFolderEnumerator::Open(connection_, connection_->SynchronousClone(), *path_.Get(), filter);
}

// The file is opened in its folder by its canonicalised name; listings refused for want of
// a data connection are tried again, four attempts in all.
ComPtr<FtpFileStream> FtpFolderItem::OpenStreamNow(DWORD access, bool ascii, bool async) {
    RequireSetUp();
    const ComPtr<Path> parent = path_->ParentPath();
    if (!parent) Raise(RunTimeError::InvalidCall, kClassName);
    if (access == 0) access = GENERIC_READ;
    const DWORD flags = (ascii ? FTP_TRANSFER_TYPE_ASCII : FTP_TRANSFER_TYPE_BINARY) | INTERNET_FLAG_RELOAD;
    ComPtr<FtpFileStream> stream = FtpFileStream::Make();
    HINTERNET file = nullptr;
    connection_->OnServer([&] {
        connection_->MakeCurrent(*parent.Get(), kClassName);
        const std::wstring name = CanonicalizeUrl(path_->Name());
        for (DWORD attempt = 1;; ++attempt) {
            file = internet::OpenFile(connection_->ConnectionHandle(), name, access, flags, stream->Context());
            if (internet::IsValid(file)) break;
            DWORD error = GetLastError();  // asking for the reply resets it
            const long reply = internet::LastReplyCode();
            // A failure whose last reply is a positive one never got the transfer's reply:
            // when NOOPs find the connection gone, it is reported as the reset it was.
            if (error == ERROR_INTERNET_EXTENDED_ERROR && reply / 100 == 2 &&
                internet::ConnectionLost(connection_->ConnectionHandle(), ERROR_FTP_TRANSFER_IN_PROGRESS)) {
                error = ERROR_INTERNET_CONNECTION_RESET;
            }
            if (attempt >= kOpenAttempts || !RetriesOpen(reply)) RaiseSystemError(static_cast<long>(error), kClassName);
        }
    });
    // A binary download is expected to end at the size the item was listed with.
    const std::optional<uint64_t> length = access & GENERIC_READ && !ascii ? ListedSize() : std::nullopt;
    stream->AttachTo(FtpOpenFile::Opened(file, this, access, length), async);
    return stream;
}

ComPtr<_ITextStream> FtpFolderItem::OpenTextStreamNow(TextStreamIoMode mode, bool async) {
    if (mode & ForAppending || (mode & ForReading && mode & ForWriting)) Raise(RunTimeError::InvalidCall, kClassName);
    const ComPtr<FtpFileStream> stream = OpenStreamNow(mode & ForWriting ? GENERIC_WRITE : GENERIC_READ, false, async);
    return TextStream::On(stream->AttachedFile(), stream);
}

ComPtr<_BackupStreamReader> FtpFolderItem::OpenBackupReaderNow(bool ascii, bool async, LONG bufferSize) {
    const ComPtr<FtpFileStream> stream = OpenStreamNow(GENERIC_READ, ascii, async);
    return BackupStreamReader::On(stream->AttachedFile(), stream, bufferSize, false);
}

HRESULT FtpFolderItem::OpenBackupWriter(VARIANT_BOOL ascii, VARIANT_BOOL async, _BackupStreamWriter** value) {
    return Get(value, [&] {
        const ComPtr<FtpFileStream> stream = OpenStreamNow(GENERIC_WRITE, ascii != VARIANT_FALSE, async != VARIANT_FALSE);
        return BackupStreamWriter::On(stream->AttachedFile(), stream);
    });
}

// ---- _FtpFolderItem and _IFolderItem

HRESULT FtpFolderItem::get_Path(_Path** value) {
    return Get(value, [&] { return path_; });
}

HRESULT FtpFolderItem::get_Path(_IPath** value) {
    return Get(value, [&] { return path_; });
}

HRESULT FtpFolderItem::get_Name(BSTR* value) {
    return Get(value, [&] {
        RequireSetUp();
        return exists_ && !path_->IsRoot() ? record_->FileName() : std::wstring(path_->Name());
    });
}

// Renames on the server, in the item's folder, and nothing more: as a local item does, the
// item keeps its path and record and afterwards names the old name.
HRESULT FtpFolderItem::put_Name(BSTR value) {
    return Run([&] {
        const std::wstring newName = CanonicalizeUrl(Bstr::View(value));
        RunInParent([&](HINTERNET connection, const std::wstring& oldName) {
            return internet::RenameFile(connection, oldName, newName);
        });
    });
}

HRESULT FtpFolderItem::get_Exists(VARIANT_BOOL* value) {
    return Get(value, [&] {
        RequireSetUp();
        RefreshNow();
        return exists_;
    });
}

HRESULT FtpFolderItem::CreateFolder() {
    return Run([&] {
        try {
            connection_->OnServer([&] { connection_->CreateFolderChain(*path_.Get()); });
        } catch (const AutomationError& error) {
            throw error.WithSource(kClassName);
        }
        RefreshNow();
    });
}

HRESULT FtpFolderItem::Delete() {
    return Run([&] {
        const bool folder = Data().IsFolder();
        RunInParent([&](HINTERNET connection, const std::wstring& name) {
            return folder ? internet::RemoveFolder(connection, name) : internet::DeleteFile(connection, name);
        });
        exists_ = false;
    });
}

HRESULT FtpFolderItem::CascadeDelete(BSTR Filter, VARIANT_BOOL IgnoreErrors, VARIANT_BOOL ContentsOnly,
                                     VARIANT_BOOL IncludeSubFolders, VARIANT_BOOL Recurse) {
    return Run([&] {
        RequireSetUp();
        const CascadeOptions options{ToWString(Filter), IgnoreErrors != VARIANT_FALSE, ContentsOnly != VARIANT_FALSE,
                                     IncludeSubFolders != VARIANT_FALSE, Recurse != VARIANT_FALSE};
        vofs::CascadeDelete(static_cast<_IFolderItem*>(this), options);
    });
}

HRESULT FtpFolderItem::get_Size(VARIANT* value) {
    return Get(value, [&] { return Data().FileSize(); });
}

HRESULT FtpFolderItem::get_Attributes(FileAttributes* value) {
    return Get(value, [&] { return static_cast<long>(Data().Attributes()); });
}

HRESULT FtpFolderItem::put_Attributes(FileAttributes value) {
    return Run([&] {
        RequireSetUp();
        if (value != 0 && value != Normal) Raise(RunTimeError::ActionNotSupported, kClassName);
    });
}

HRESULT FtpFolderItem::get_CreationTime(DATE* value) {
    return Get(value, [&] { return Data().CreationTime(); });
}

HRESULT FtpFolderItem::get_LastWriteTime(DATE* value) {
    return Get(value, [&] { return Data().LastWriteTime(); });
}

HRESULT FtpFolderItem::get_LastAccessTime(DATE* value) {
    return Get(value, [&] { return Data().LastAccessTime(); });
}

HRESULT FtpFolderItem::get_PreciseCreationTime(VARIANT* value) {
    return Get(value, [&] { return Data().PreciseCreationTime(); });
}

HRESULT FtpFolderItem::get_PreciseLastWriteTime(VARIANT* value) {
    return Get(value, [&] { return Data().PreciseLastWriteTime(); });
}

HRESULT FtpFolderItem::get_PreciseLastAccessTime(VARIANT* value) {
    return Get(value, [&] { return Data().PreciseLastAccessTime(); });
}

// A root answers from a record no lookup fills (false), as a local root does.
HRESULT FtpFolderItem::get_IsFolder(VARIANT_BOOL* value) {
    return Get(value, [&] { return Data().IsFolder(); });
}

HRESULT FtpFolderItem::get_PathIsRoot(VARIANT_BOOL* value) {
    return Get(value, [&] { return path_->IsRoot(); });
}

HRESULT FtpFolderItem::get_Parent(_FtpFolderItem** value) {
    return Get(value, [&] { return Parent(); });
}

HRESULT FtpFolderItem::get_Parent(_IFolderItem** value) {
    return Get(value, [&] { return Parent(); });
}

HRESULT FtpFolderItem::get_Cached(VARIANT_BOOL* value) {
    return Get(value, [&] { return cached_; });
}

HRESULT FtpFolderItem::put_Cached(VARIANT_BOOL value) {
    return Run([&] { cached_ = value != VARIANT_FALSE; });
}

HRESULT FtpFolderItem::OpenStream(FileAccess Access, VARIANT_BOOL AsciiTransfer, VARIANT_BOOL Asyncronous,
                                  _FtpFileStream** value) {
    return Get(value, [&] {
        return OpenStreamNow(static_cast<DWORD>(Access), AsciiTransfer != VARIANT_FALSE, Asyncronous != VARIANT_FALSE);
    });
}

HRESULT FtpFolderItem::OpenStreamReader(_IFileStream** value) {
    return Get(value, [&] { return OpenStreamNow(GENERIC_READ, false, false); });
}

HRESULT FtpFolderItem::OpenStreamWriter(_IFileStream** value) {
    return Get(value, [&] { return OpenStreamNow(GENERIC_WRITE, false, false); });
}

HRESULT FtpFolderItem::OpenTextStream(TextStreamIoMode IoMode, VARIANT_BOOL Async, _ITextStream** value) {
    return Get(value, [&] { return OpenTextStreamNow(IoMode, Async != VARIANT_FALSE); });
}

HRESULT FtpFolderItem::OpenTextStream(TextStreamIoMode Mode, _ITextStream** value) {
    return Get(value, [&] { return OpenTextStreamNow(Mode, false); });
}

HRESULT FtpFolderItem::OpenBackupStreamReader(VARIANT_BOOL AsciiTransfer, VARIANT_BOOL Asynchronous, LONG BufferSize,
                                              _BackupStreamReader** value) {
    return Get(value, [&] {
        return OpenBackupReaderNow(AsciiTransfer != VARIANT_FALSE, Asynchronous != VARIANT_FALSE, BufferSize);
    });
}

HRESULT FtpFolderItem::OpenBackupStreamReader(VARIANT_BOOL Asynchronous, LONG BufferSize, VARIANT_BOOL,
                                              _BackupStreamReader** value) {
    return Get(value, [&] { return OpenBackupReaderNow(false, Asynchronous != VARIANT_FALSE, BufferSize); });
}

HRESULT FtpFolderItem::EnumFolder(BSTR Filter, _FtpFolderEnumerator** value) {
    return Get(value, [&] { return Enumerator(Bstr::View(Filter)); });
}

HRESULT FtpFolderItem::EnumFolder(BSTR Filter, _IFolderEnumerator** value) {
    return Get(value, [&] { return Enumerator(Bstr::View(Filter)); });
}

HRESULT FtpFolderItem::Refresh() {
    return Run([&] { RefreshNow(); });
}

HRESULT FtpFolderItem::IsSupported(IFolderItemMembers MemberName, VARIANT_BOOL* value) {
    return Get(value, [&] { return MemberName != ifiAttributesLet; });
}

// Resolved as the connection resolves paths: against the server root.
HRESULT FtpFolderItem::GetFolderItem(BSTR Path, _FtpFolderItem** value) {
    return Get(value, [&] { return connection_->FolderItem(Bstr::View(Path)); });
}

HRESULT FtpFolderItem::GetFolderItem(BSTR Path, _IFolderItem** value) {
    return Get(value, [&] { return connection_->FolderItem(Bstr::View(Path)); });
}

}  // namespace vofs
