#include "items/folder_enumerator.h"

#include "common/file_calls.h"
#include "common/long_handles.h"
#include "common/system_error.h"
#include "items/find_calls.h"
#include "items/find_record.h"
#include "items/folder_item.h"

namespace vofs {
namespace {

[[noreturn]] void RaiseFailure(DWORD code) { RaiseSystemError(static_cast<long>(code), FolderEnumerator::kClassName); }

// The search pattern below the folder: "" means every entry, and a filter gets a leading
// backslash unless it has one.
std::wstring PatternOf(std::wstring_view filter) {
    if (filter.empty()) return L"\\*.*";
    if (filter.front() == L'\\') return std::wstring(filter);
    return L"\\" + std::wstring(filter);
}

bool IsDotEntry(const std::wstring& name) { return name.empty() || name == L"." || name == L".."; }

}  // namespace

FolderEnumerator::FolderEnumerator() : record_(FindDataRecord::Make()) {
    record_->SetVersion(UseWideCalls() ? find_record::kWide : find_record::kAnsi);
}

bool FolderEnumerator::Open(std::wstring_view folder, std::wstring_view filter) {
    folder_ = Path::Parse(folder);
    const DWORD attributes = fs::Attributes(folder_->PlatformPath());
    if (attributes == INVALID_FILE_ATTRIBUTES) RaiseFailure(GetLastError());
    if (!fs::IsFolderAttributes(attributes)) Raise(RunTimeError::InvalidCall, kClassName);
    Close();

    search_ = FindFirst(folder_->Joined(true, {PatternOf(filter)}), record_->Version(), record_->Buffer());
    if (!search_) {
        const DWORD code = GetLastError();
        if (code == ERROR_NO_MORE_FILES) return false;
        RaiseFailure(code);
    }
    // The walk starts on the first real entry: a leading "." and ".." are passed over.
    while (IsDotEntry(record_->FileName())) {
        if (!MoveNext()) return false;
    }
    return true;
}

bool FolderEnumerator::MoveNext() {
    if (FindNext(search_.Get(), *record_.Get())) return true;
    const DWORD code = GetLastError();
    Close();
    if (code == ERROR_NO_MORE_FILES) return false;
    RaiseFailure(code);
}

void FolderEnumerator::Close() {
    search_.Close();
}

std::wstring FolderEnumerator::EntryPathText() const {
    if (!folder_) Raise(RunTimeError::InvalidObjectUse, kClassName);
    return folder_->Joined(false, {record_->FileName()});
}

HRESULT FolderEnumerator::EntryAttributes(FileAttributes* value) {
    return Get(value, [&] { return static_cast<long>(record_->Attributes()); });
}

// ---- _FolderEnumerator and _IFolderEnumerator

HRESULT FolderEnumerator::get_ItemPath(_Path** value) {
    return Get(value, [&] { return Path::Parse(EntryPathText()); });
}

HRESULT FolderEnumerator::get_Path(_Path** value) {
    return Get(value, [&] { return folder_; });
}

HRESULT FolderEnumerator::get_Handle(LONG* value) {
    return Get(value, [&] { return HandleAsLong(search_.Get()); });
}

HRESULT FolderEnumerator::GetFolderItem(_FolderItem** value) {
    return Get(value, [&] {
        if (!IsOpen()) Raise(RunTimeError::InvalidObjectUse, kClassName);
        return FolderItem::Open(EntryPathText());
    });
}

HRESULT FolderEnumerator::GetFolderItem(_IFolderItem** value) {
    return Get(value, [&] {
        if (!IsOpen()) Raise(RunTimeError::InvalidObjectUse, kClassName);
        return FolderItem::Open(EntryPathText());
    });
}

HRESULT FolderEnumerator::get_IsOpen(VARIANT_BOOL* value) {
    return Get(value, [&] { return IsOpen(); });
}

HRESULT FolderEnumerator::GetNextItem(VARIANT_BOOL* value) {
    return Get(value, [&] { return MoveNext(); });
}

// A local enumerator hands out no independent items and names no folder item.
HRESULT FolderEnumerator::CloneFolderItem(_FolderItem** value) {
    return Get(value, [] { return ComPtr<FolderItem>(); });
}

HRESULT FolderEnumerator::CloneFolderItem(_IFolderItem** value) {
    return Get(value, [] { return ComPtr<FolderItem>(); });
}

HRESULT FolderEnumerator::get_Folder(_IFolderItem** value) {
    return Get(value, [] { return ComPtr<FolderItem>(); });
}

HRESULT FolderEnumerator::CloseEnumerator() {
    return Run([&] { Close(); });
}

HRESULT FolderEnumerator::get_CreationTime(DATE* value) {
    return Get(value, [&] { return record_->CreationTime(); });
}

HRESULT FolderEnumerator::get_IsFolder(VARIANT_BOOL* value) {
    return Get(value, [&] { return record_->IsFolder(); });
}

HRESULT FolderEnumerator::get_LastAccessTime(DATE* value) {
    return Get(value, [&] { return record_->LastAccessTime(); });
}

HRESULT FolderEnumerator::get_LastWriteTime(DATE* value) {
    return Get(value, [&] { return record_->LastWriteTime(); });
}

HRESULT FolderEnumerator::get_Name(BSTR* value) {
    return Get(value, [&] { return record_->FileName(); });
}

HRESULT FolderEnumerator::get_PreciseCreationTime(VARIANT* value) {
    return Get(value, [&] { return record_->PreciseCreationTime(); });
}

HRESULT FolderEnumerator::get_PreciseLastAccessTime(VARIANT* value) {
    return Get(value, [&] { return record_->PreciseLastAccessTime(); });
}

HRESULT FolderEnumerator::get_PreciseLastWriteTime(VARIANT* value) {
    return Get(value, [&] { return record_->PreciseLastWriteTime(); });
}

HRESULT FolderEnumerator::get_Size(VARIANT* value) {
    return Get(value, [&] { return record_->FileSize(); });
}

}  // namespace vofs
