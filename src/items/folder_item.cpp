#include "items/folder_item.h"

#include "common/file_calls.h"
#include "common/system_error.h"
#include "items/cascade_delete.h"
#include "items/find_calls.h"
#include "items/find_record.h"
#include "items/folder_enumerator.h"
#include "streams/backup_stream_reader.h"
#include "streams/backup_stream_writer.h"
#include "streams/file_stream.h"
#include "streams/open_file.h"
#include "streams/text_stream.h"
#include "system/volumes.h"

#include <array>

namespace vofs {
namespace {

[[noreturn]] void RaiseFailure(DWORD code) { RaiseSystemError(static_cast<long>(code), FolderItem::kClassName); }

void CheckFileOperation(bool succeeded) { CheckPlatformCall(succeeded, FolderItem::kClassName); }

// Searches that find nothing are not failures: the item is simply not there.
bool IsNotThere(DWORD code) {
    return code == ERROR_FILE_NOT_FOUND || code == ERROR_PATH_NOT_FOUND || code == ERROR_NO_MORE_FILES;
}

}  // namespace

FolderItem::FolderItem() : record_(FindDataRecord::Make()), cached_(ThisThread().folderItemCachedDefault) {
    record_->SetVersion(UseWideCalls() ? find_record::kWide : find_record::kAnsi);
}

ComPtr<FolderItem> FolderItem::ForPath(ComPtr<Path> path) {
    if (!path) Raise(RunTimeError::InvalidCall, kClassName);
    ComPtr<FolderItem> item = Make();
    item->path_ = std::move(path);
    item->RefreshNow();
    return item;
}

ComPtr<FolderItem> FolderItem::Open(std::wstring_view path) { return ForPath(Path::Parse(path)); }

void FolderItem::RefreshNow() {
    initialized_ = false;
    exists_ = false;
    if (path_->IsRoot()) {
        // A root exists when its volume does; the record is not touched.
        try {
            exists_ = SharedVolumes()->Lookup(path_->FullPath()) != nullptr;
        } catch (const AutomationError&) {
            exists_ = false;
        }
    } else {
        // Searched into a separate buffer: a failed search leaves the record as it was.
        alignas(8) std::array<uint8_t, find_record::kBufferSize> found{};
        const FindHandle search = FindFirst(path_->PlatformPath(), record_->Version(), found.data());
        if (!search) {
            const DWORD code = GetLastError();
            if (!IsNotThere(code)) RaiseFailure(code);
        } else {
            record_->InitializeFrom(found.data(), record_->Version());
            exists_ = true;
        }
    }
    initialized_ = true;
}

void FolderItem::RequireInitialized() const {
    if (!initialized_) Raise(RunTimeError::InvalidCall, kClassName);
}

const FindDataRecord& FolderItem::Data() {
    RequireInitialized();
    if (!cached_ || !exists_) RefreshNow();
    if (!exists_) Raise(RunTimeError::InvalidCall, kClassName);
    return *record_.Get();
}

bool FolderItem::IsFolderNow() {
    RequireInitialized();
    if (!cached_ || !exists_) RefreshNow();
    return record_->IsFolder();
}

void FolderItem::CreateFolderChain() {
    RequireInitialized();
    if (!cached_) RefreshNow();
    // The folder text grows by one segment a step, in place (a root's platform form joined
    // with segments is the platform form of the longer path), so a deep chain costs what
    // its text is long. Server and share of a share path are never created.
    const wchar_t separator = path_->Separator();
    const wchar_t altSeparator = separator == L'\\' ? L'/' : L'\\';
    std::wstring folder = Path::Parse(path_->RootPath())->PlatformPath();
    for (size_t index = path_->IsNetShare() ? 2 : 1; index < path_->SegmentCount(); ++index) {
        folder = path_text::JoinPath(std::move(folder), separator, altSeparator, {std::wstring(path_->Segment(index))});
        if (fs::IsFolderAttributes(fs::Attributes(folder))) continue;
        CheckFileOperation(fs::CreateFolder(folder));
    }
    RefreshNow();
}

void FolderItem::DeleteNow() {
    RequireInitialized();
    const std::wstring path = path_->PlatformPath();
    CheckFileOperation(IsFolderNow() ? fs::RemoveFolder(path) : fs::RemoveFile(path));
}

ComPtr<FolderEnumerator> FolderItem::OpenEnumerator(BSTR filter) {
    RequireInitialized();
    if (!(cached_ && (path_->IsRoot() || exists_))) RefreshNow();
    if (!record_->IsFolder() && !path_->IsRoot()) Raise(RunTimeError::InvalidCall, kClassName);
    ComPtr<FolderEnumerator> entries = FolderEnumerator::Make();
    try {
        entries->Open(path_->FullPath(), Bstr::View(filter));
    } catch (const AutomationError& error) {
        throw error.WithSource(kClassName);
    }
    return entries;
}

// ---- _FolderItem and _IFolderItem

HRESULT FolderItem::get_Path(_Path** value) {
    return Get(value, [&] {
        RequireInitialized();
        return path_;
    });
}

HRESULT FolderItem::get_Path(_IPath** value) {
    return Get(value, [&] {
        RequireInitialized();
        return path_;
    });
}

HRESULT FolderItem::get_Name(BSTR* value) {
    return Get(value, [&] {
        RequireInitialized();
        return exists_ ? record_->FileName() : std::wstring(path_->Name());
    });
}

HRESULT FolderItem::put_Name(BSTR value) {
    return Run([&] {
        RequireInitialized();
        // The item keeps its path and record: afterwards it names the old name.
        const ComPtr<Path> parent = path_->ParentPath();
        if (!parent) Raise(RunTimeError::InvalidCall, kClassName);
        // The parent of an item at a drive's root comes as "C:\" already.
        std::wstring target = parent->PlatformPath();
        if (target.empty() || target.back() != L'\\') target += L'\\';
        target += Bstr::View(value);
        CheckFileOperation(fs::MoveItem(path_->PlatformPath(), target));
    });
}

HRESULT FolderItem::get_Exists(VARIANT_BOOL* value) {
    return Get(value, [&] {
        RequireInitialized();
        if (!(cached_ && exists_)) RefreshNow();
        return exists_;
    });
}

HRESULT FolderItem::CreateFolder() {
    return Run([&] { CreateFolderChain(); });
}

HRESULT FolderItem::Delete() {
    return Run([&] { DeleteNow(); });
}

HRESULT FolderItem::CascadeDelete(BSTR Filter, VARIANT_BOOL IgnoreErrors, VARIANT_BOOL ContentsOnly,
                                  VARIANT_BOOL IncludeSubFolders, VARIANT_BOOL Recurse) {
    return Run([&] {
        RequireInitialized();
        const CascadeOptions options{ToWString(Filter), IgnoreErrors != VARIANT_FALSE, ContentsOnly != VARIANT_FALSE,
                                     IncludeSubFolders != VARIANT_FALSE, Recurse != VARIANT_FALSE};
        vofs::CascadeDelete(static_cast<_IFolderItem*>(this), options);
    });
}

HRESULT FolderItem::get_Size(VARIANT* value) {
    return Get(value, [&] { return Data().FileSize(); });
}

HRESULT FolderItem::get_Attributes(FileAttributes* value) {
    return Get(value, [&] { return static_cast<long>(Data().Attributes()); });
}

HRESULT FolderItem::put_Attributes(FileAttributes value) {
    return Run([&] {
        RequireInitialized();
        CheckFileOperation(fs::SetAttributes(path_->PlatformPath(), static_cast<DWORD>(value)));
        record_->SetAttributes(static_cast<DWORD>(value));
    });
}

HRESULT FolderItem::get_CreationTime(DATE* value) {
    return Get(value, [&] { return Data().CreationTime(); });
}

HRESULT FolderItem::get_LastWriteTime(DATE* value) {
    return Get(value, [&] { return Data().LastWriteTime(); });
}

HRESULT FolderItem::get_LastAccessTime(DATE* value) {
    return Get(value, [&] { return Data().LastAccessTime(); });
}

HRESULT FolderItem::get_PreciseCreationTime(VARIANT* value) {
    return Get(value, [&] { return Data().PreciseCreationTime(); });
}

HRESULT FolderItem::get_PreciseLastWriteTime(VARIANT* value) {
    return Get(value, [&] { return Data().PreciseLastWriteTime(); });
}

HRESULT FolderItem::get_PreciseLastAccessTime(VARIANT* value) {
    return Get(value, [&] { return Data().PreciseLastAccessTime(); });
}

HRESULT FolderItem::get_IsFolder(VARIANT_BOOL* value) {
    return Get(value, [&] { return IsFolderNow(); });
}

HRESULT FolderItem::get_PathIsRoot(VARIANT_BOOL* value) {
    return Get(value, [&] {
        RequireInitialized();
        return path_->IsRoot();
    });
}

HRESULT FolderItem::get_Parent(_IFolderItem** value) {
    return Get(value, [&] {
        RequireInitialized();
        ComPtr<Path> parent = path_->ParentPath();
        return parent ? ForPath(std::move(parent)) : ComPtr<FolderItem>();
    });
}

HRESULT FolderItem::get_Cached(VARIANT_BOOL* value) {
    return Get(value, [&] { return cached_; });
}

HRESULT FolderItem::put_Cached(VARIANT_BOOL value) {
    return Run([&] { cached_ = value != VARIANT_FALSE; });
}

HRESULT FolderItem::OpenBackupStreamReader(FileMode Mode, FileAccess Access, FileShare Share, VARIANT_BOOL Asynchronous,
                                           LONG BufferSize, VARIANT_BOOL IncludeSecurity, _BackupStreamReader** value) {
    return Get(value, [&] {
        return OpenBackupReaderNow(Mode, Access, Share, Asynchronous != VARIANT_FALSE, BufferSize, IncludeSecurity != VARIANT_FALSE);
    });
}

HRESULT FolderItem::OpenBackupStreamReader(VARIANT_BOOL Asynchronous, LONG BufferSize, VARIANT_BOOL IncludeSecurity,
                                           _BackupStreamReader** value) {
    return OpenBackupStreamReader(FileMode{}, FileAccess{}, FileShare{}, Asynchronous, BufferSize, IncludeSecurity, value);
}

HRESULT FolderItem::OpenBackupStreamWriter(FileMode Mode, FileAccess Access, FileShare Share, VARIANT_BOOL Asynchronous,
                                           VARIANT_BOOL IncludeSecurity, _BackupStreamWriter** value) {
    return Get(value, [&] {
        return OpenBackupWriterNow(Mode, Access, Share, Asynchronous != VARIANT_FALSE, IncludeSecurity != VARIANT_FALSE);
    });
}

HRESULT FolderItem::OpenBackupStreamWriter(VARIANT_BOOL Asynchronous, VARIANT_BOOL IncludeSecurity,
                                           _BackupStreamWriter** value) {
    return OpenBackupStreamWriter(FileMode{}, FileAccess{}, FileShare{}, Asynchronous, IncludeSecurity, value);
}

std::pair<ComPtr<OpenFile>, ComPtr<FileStream>> FolderItem::OpenForBackup(bool writing, FileMode mode, FileAccess access,
                                                                          FileShare share, bool async,
                                                                          bool includeSecurity) {
    RequireInitialized();
    // Backup semantics with sequential and random access; overlapped (and without
    // recalling the file from remote storage) only on the NT family.
    constexpr DWORD kBackupFlags = FILE_FLAG_SEQUENTIAL_SCAN | FILE_FLAG_RANDOM_ACCESS | FILE_FLAG_BACKUP_SEMANTICS;
    constexpr DWORD kAsyncFlags = FILE_FLAG_OVERLAPPED | FILE_FLAG_OPEN_NO_RECALL;
    const bool nt = IsPlatformNT();
    includeSecurity = includeSecurity && nt;
    // A reader opens an existing file; a writer makes the file anew, so that a restored
    // file holds what was written and nothing of what was there.
    const DWORD defaultMode = writing ? CREATE_ALWAYS : OPEN_EXISTING;
    DWORD accessMask = static_cast<DWORD>(access) | GENERIC_READ | (writing ? GENERIC_WRITE : 0);
    if (includeSecurity) accessMask |= writing ? WRITE_DAC | WRITE_OWNER : READ_CONTROL;
    const OpenFile::Parameters parameters{mode == 0 ? defaultMode : static_cast<DWORD>(mode), accessMask,
                                          share == 0 ? DWORD{FILE_SHARE_READ} : static_cast<DWORD>(share),
                                          kBackupFlags | (async && nt ? kAsyncFlags : 0)};
    ComPtr<OpenFile> file;
    try {
        file = OpenFile::Open(this, path_->PlatformPath(), parameters);
    } catch (const AutomationError& error) {
        throw error.WithSource(kClassName);
    }
    ComPtr<FileStream> stream = !nt || async ? FileStream::On(file) : nullptr;
    return {std::move(file), std::move(stream)};
}

ComPtr<BackupStreamReader> FolderItem::OpenBackupReaderNow(FileMode mode, FileAccess access, FileShare share, bool async,
                                                           LONG bufferSize, bool includeSecurity) {
    auto [file, stream] = OpenForBackup(false, mode, access, share, async, includeSecurity);
    return BackupStreamReader::On(std::move(file), std::move(stream), bufferSize, includeSecurity && IsPlatformNT());
}

ComPtr<BackupStreamWriter> FolderItem::OpenBackupWriterNow(FileMode mode, FileAccess access, FileShare share, bool async,
                                                           bool includeSecurity) {
    auto [file, stream] = OpenForBackup(true, mode, access, share, async, includeSecurity);
    return BackupStreamWriter::On(std::move(file), std::move(stream));
}

ComPtr<FileStream> FolderItem::OpenStreamNow(FileMode mode, FileAccess access, FileShare share, OpenFileFlags flags) {
    RequireInitialized();
    const OpenFile::Parameters parameters{static_cast<DWORD>(mode), static_cast<DWORD>(access),
                                          static_cast<DWORD>(share), static_cast<DWORD>(flags)};
    return FileStream::On(OpenFile::Open(this, path_->PlatformPath(), parameters));
}

ComPtr<TextStream> FolderItem::OpenTextStreamNow(TextStreamIoMode mode, FileShare share) {
    RequireInitialized();
    constexpr long kReading = ForReading, kWriting = ForWriting | ForAppending;
    if ((mode & kReading) && (mode & kWriting)) Raise(RunTimeError::InvalidCall, kClassName);
    // No mode truncates or moves to the end: writing starts at 0 and overwrites in place.
    const bool writing = (mode & kWriting) != 0;
    const OpenFile::Parameters parameters{writing ? DWORD{OPEN_ALWAYS} : DWORD{OPEN_EXISTING},
                                          writing ? DWORD{GENERIC_READ | GENERIC_WRITE} : DWORD{GENERIC_READ},
                                          static_cast<DWORD>(share),
                                          FILE_FLAG_SEQUENTIAL_SCAN | FILE_FLAG_RANDOM_ACCESS};
    // The open file records 3 as its flags, as it always has.
    constexpr DWORD kRecordedFlags = 3;
    ComPtr<OpenFile> file = OpenFile::Open(this, path_->PlatformPath(), parameters, kRecordedFlags);
    ComPtr<FileStream> stream = FileStream::On(file);
    return TextStream::On(file, stream);
}

HRESULT FolderItem::OpenStream(FileMode Mode, FileAccess Access, FileShare Share, OpenFileFlags Flags,
                               _FileStream** value) {
    return Get(value, [&] { return OpenStreamNow(Mode, Access, Share, Flags); });
}

HRESULT FolderItem::OpenStreamReader(_IFileStream** value) {
    return Get(value, [&] { return OpenStreamNow(OpenExisting, AccessRead, ShareRead, OpenFileFlags{}); });
}

HRESULT FolderItem::OpenStreamWriter(_IFileStream** value) {
    return Get(value, [&] { return OpenStreamNow(OpenOrCreate, AccessReadWrite, ShareRead, OpenFileFlags{}); });
}

HRESULT FolderItem::OpenTextStream(TextStreamIoMode IoMode, FileShare Share, _TextStream** value) {
    return Get(value, [&] { return OpenTextStreamNow(IoMode, Share); });
}

HRESULT FolderItem::OpenTextStream(TextStreamIoMode Mode, _ITextStream** value) {
    return Get(value, [&] { return OpenTextStreamNow(Mode, FileShare{}); });
}

HRESULT FolderItem::EnumFolder(BSTR Filter, _FolderEnumerator** value) {
    return Get(value, [&] { return OpenEnumerator(Filter); });
}

HRESULT FolderItem::EnumFolder(BSTR Filter, _IFolderEnumerator** value) {
    return Get(value, [&] { return OpenEnumerator(Filter); });
}

HRESULT FolderItem::Refresh() {
    return Run([&] { RefreshNow(); });
}

HRESULT FolderItem::IsSupported(IFolderItemMembers, VARIANT_BOOL* value) {
    return Get(value, [] { return true; });
}

HRESULT FolderItem::GetFolderItem(BSTR Path, _FolderItem** value) {
    return Get(value, [&] { return Open(Bstr::View(Path)); });
}

HRESULT FolderItem::GetFolderItem(BSTR Path, _IFolderItem** value) {
    return Get(value, [&] { return Open(Bstr::View(Path)); });
}

}  // namespace vofs
