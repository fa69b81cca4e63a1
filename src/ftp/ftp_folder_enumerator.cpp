#include "ftp/ftp_folder_enumerator.h"

#include "common/long_handles.h"
#include "common/system_error.h"
#include "ftp/ftp_connection.h"
#include "ftp/ftp_folder_item.h"

namespace vofs {
namespace {

constexpr DWORD kListingFlags = INTERNET_FLAG_RELOAD;

// The end of a listing. This platform's WinInet reports an empty one with no error code.
bool IsEndOfList(DWORD code) { return code == ERROR_NO_MORE_FILES || code == NO_ERROR; }

[[noreturn]] void RaiseCode(DWORD code) { RaiseSystemError(static_cast<long>(code), FtpFolderEnumerator::kClassName); }

// The server's pattern: no leading backslash, and "?" where the caller wrote a blank.
std::wstring ServerPattern(std::wstring_view filter) {
    if (filter.empty()) return L"*.*";
    if (filter.front() == L'\\') filter.remove_prefix(1);
    std::wstring pattern(filter);
    for (wchar_t& c : pattern) c = c == L' ' ? L'?' : c;
    return pattern;
}

bool IsDotsOrEmpty(const std::wstring& name) { return name.empty() || name == L"." || name == L".."; }

}  // namespace

FtpFolderEnumerator::FtpFolderEnumerator() : record_(FindDataRecord::Make()) {}

FtpFolderEnumerator::~FtpFolderEnumerator() { Close(); }

ComPtr<FtpFolderEnumerator> FtpFolderEnumerator::Open(ComPtr<FtpConnection> owner, ComPtr<FtpConnection> clone,
                                                      const Path& folder, std::wstring_view filter) {
    if (!owner || !clone || !owner->IsConnected() || !clone->IsConnected()) Raise(RunTimeError::InvalidCall, kClassName);
    ComPtr<FtpFolderEnumerator> entries = Make();
    entries->owner_ = std::move(owner);
    entries->clone_ = std::move(clone);
    entries->folder_ = Path::Parse(folder.FullPath());
    try {
        entries->OpenNow(filter);
    } catch (const AutomationError& error) {
        entries->Close();
        throw error.WithSource(kClassName);
    }
    return entries;
}

void FtpFolderEnumerator::OpenNow(std::wstring_view filter) {
    const HINTERNET connection = clone_->ConnectionHandle();
    workingFolderSet_ = internet::SetCurrentFolder(connection, FtpConnection::ServerFolder(*folder_.Get()));
    if (!workingFolderSet_) RaiseCode(GetLastError());
    find_ = internet::FindFirst(connection, ServerPattern(filter), *record_.Get(), kListingFlags, 0);
    if (!internet::IsValid(find_)) {
        const DWORD code = GetLastError();
        find_ = kClosed;
        if (IsEndOfList(code)) return EndListing();
        RaiseCode(code);
    }
    bool current = true;
    while (current && IsDotsOrEmpty(record_->FileName())) current = MoveNext();
}

// After the end the closed handle is asked all the same: WinInet's refusal is raised, as a
// local walk raises the platform's.
bool FtpFolderEnumerator::MoveNext() {
    if (internet::FindNext(find_, *record_.Get())) return true;
    const DWORD code = GetLastError();
    if (!IsEndOfList(code)) {
        Close();
        RaiseCode(code);
    }
    EndListing();
    return false;
}

// WinInet takes a data connection that closed early (the server gone in mid-listing) for
// the listing's end: the end is real only while the private connection still answers.
void FtpFolderEnumerator::EndListing() {
    internet::Close(std::exchange(find_, kClosed));
    const bool cut = clone_ && clone_->IsConnected() &&
                     internet::ConnectionLost(clone_->ConnectionHandle(), ERROR_FTP_TRANSFER_IN_PROGRESS);
    Close();
    if (cut) RaiseCode(ERROR_INTERNET_CONNECTION_RESET);
}

void FtpFolderEnumerator::Close() {
    internet::Close(std::exchange(find_, kClosed));
    if (clone_ && clone_->IsConnected()) clone_->Disconnect();
}

ComPtr<Path> FtpFolderEnumerator::EntryPath() const { return folder_->JoinedPath({record_->FileName()}); }

ComPtr<FtpFolderItem> FtpFolderEnumerator::EntryItem() const {
    if (!internet::IsValid(find_)) Raise(RunTimeError::InvalidCall, kClassName);
    return FtpFolderItem::FromEntry(owner_, EntryPath(), *record_.Get());
}

// ---- _FtpFolderEnumerator and _IFolderEnumerator

HRESULT FtpFolderEnumerator::get_ItemPath(_Path** value) {
    return Get(value, [&] { return EntryPath(); });
}

HRESULT FtpFolderEnumerator::get_Path(_Path** value) {
    return Get(value, [&] { return folder_; });
}

HRESULT FtpFolderEnumerator::get_Handle(LONG* value) {
    return Get(value, [&] { return HandleAsLong(find_); });
}

HRESULT FtpFolderEnumerator::get_Folder(_IFolderItem** value) {
    return Get(value, [&] { return FtpFolderItem::On(owner_, folder_); });
}

HRESULT FtpFolderEnumerator::GetFolderItem(_FtpFolderItem** value) {
    return Get(value, [&] { return EntryItem(); });
}

HRESULT FtpFolderEnumerator::GetFolderItem(_IFolderItem** value) {
    return Get(value, [&] { return EntryItem(); });
}

HRESULT FtpFolderEnumerator::get_IsOpen(VARIANT_BOOL* value) {
    return Get(value, [&] { return internet::IsValid(find_); });
}

HRESULT FtpFolderEnumerator::GetNextItem(VARIANT_BOOL* value) {
    return Get(value, [&] { return MoveNext(); });
}

HRESULT FtpFolderEnumerator::CloseEnumerator() {
    return Run([&] { Close(); });
}

HRESULT FtpFolderEnumerator::get_Attributes(FileAttributes* value) {
    return Get(value, [&] { return static_cast<long>(record_->Attributes()); });
}

HRESULT FtpFolderEnumerator::get_CreationTime(DATE* value) {
    return Get(value, [&] { return record_->CreationTime(); });
}

HRESULT FtpFolderEnumerator::get_IsFolder(VARIANT_BOOL* value) {
    return Get(value, [&] { return record_->IsFolder(); });
}

HRESULT FtpFolderEnumerator::get_LastAccessTime(DATE* value) {
    return Get(value, [&] { return record_->LastAccessTime(); });
}

HRESULT FtpFolderEnumerator::get_LastWriteTime(DATE* value) {
    return Get(value, [&] { return record_->LastWriteTime(); });
}

HRESULT FtpFolderEnumerator::get_Name(BSTR* value) {
    return Get(value, [&] { return record_->FileName(); });
}

HRESULT FtpFolderEnumerator::get_PreciseCreationTime(VARIANT* value) {
    return Get(value, [&] { return record_->PreciseCreationTime(); });
}

HRESULT FtpFolderEnumerator::get_PreciseLastAccessTime(VARIANT* value) {
    return Get(value, [&] { return record_->PreciseLastAccessTime(); });
}

HRESULT FtpFolderEnumerator::get_PreciseLastWriteTime(VARIANT* value) {
    return Get(value, [&] { return record_->PreciseLastWriteTime(); });
}

HRESULT FtpFolderEnumerator::get_Size(VARIANT* value) {
    return Get(value, [&] { return record_->FileSize(); });
}

HRESULT FtpFolderEnumerator::CloneFolderItem(_FtpFolderItem** value) {
    return Get(value, [&] { return EntryItem(); });
}

HRESULT FtpFolderEnumerator::CloneFolderItem(_IFolderItem** value) {
    return Get(value, [&] { return EntryItem(); });
}

}  // namespace vofs
