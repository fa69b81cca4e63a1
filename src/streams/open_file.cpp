#include "streams/open_file.h"

#include "common/file_calls.h"
#include "common/large_values.h"
#include "common/long_handles.h"
#include "common/platform_api.h"
#include "common/system_error.h"
#include "items/file_time.h"

namespace vofs {
namespace {

constexpr LONG kIoBufferSizeHint = 65536;

void CheckFileCall(bool succeeded) { CheckPlatformCall(succeeded, OpenFile::kClassName); }

}  // namespace

OpenFile::OpenFile(_IFolderItem* item, HANDLE handle, const Parameters& parameters)
    : item_(item), handle_(handle), parameters_{parameters.mode, parameters.access, 0, parameters.flags} {}

ComPtr<OpenFile> OpenFile::Open(_IFolderItem* item, const std::wstring& platformPath, const Parameters& parameters,
                                std::optional<DWORD> recordedFlags) {
    if (!item) Raise(RunTimeError::InvalidCall, kClassName);
    const HANDLE handle =
        fs::OpenHandle(platformPath, parameters.access, parameters.share, parameters.mode, parameters.flags);
    if (IsNoHandle(handle)) RaiseSystemError(0, kClassName);
    Parameters recorded = parameters;
    recorded.flags = recordedFlags.value_or(parameters.flags);
    return Make(item, handle, recorded);
}

HANDLE OpenFile::RequireHandle() const {
    if (!handle_) Raise(RunTimeError::InvalidCall, kClassName);
    return handle_.Get();
}

void OpenFile::Close() {
    if (handle_) lastCallOk_ = handle_.Close();
}

FILETIME OpenFile::ReadTime(Slot slot) {
    FILETIME time{};
    const HANDLE handle = RequireHandle();
    lastCallOk_ = api.GetFileTime(handle, slot == Slot::Creation ? &time : nullptr,
                                  slot == Slot::LastAccess ? &time : nullptr,
                                  slot == Slot::LastWrite ? &time : nullptr) != FALSE;
    CheckFileCall(lastCallOk_);
    return time;
}

void OpenFile::WriteTime(Slot slot, const VARIANT& value) {
    const HANDLE handle = RequireHandle();
    const FILETIME time = FileTimeFromValue(value);
    lastCallOk_ = api.SetFileTime(handle, slot == Slot::Creation ? &time : nullptr,
                                  slot == Slot::LastAccess ? &time : nullptr,
                                  slot == Slot::LastWrite ? &time : nullptr) != FALSE;
    CheckFileCall(lastCallOk_);
}

HRESULT OpenFile::get_FolderItem(_FolderItem** value) {
    return Get(value, [&] {
        ComPtr<_FolderItem> local;
        if (item_) item_.As(&local);
        return local;
    });
}

HRESULT OpenFile::get_FolderItem(_IFolderItem** value) {
    return Get(value, [&] { return item_; });
}

HRESULT OpenFile::get_Handle(LONG* value) {
    return Get(value, [&] { return HandleAsLong(handle_.Get()); });
}

HRESULT OpenFile::put_Attributes(FileAttributes value) {
    return Run([&] { CheckCall(item_->put_Attributes(value)); });
}

HRESULT OpenFile::get_Attributes(FileAttributes* value) {
    return Get(value, [&] {
        FileAttributes attributes{};
        CheckCall(item_->get_Attributes(&attributes));
        return static_cast<long>(attributes);
    });
}

HRESULT OpenFile::get_LastWriteTime(DATE* value) {
    return Get(value, [&] { return DateFromFileTime(ReadTime(Slot::LastWrite)); });
}

HRESULT OpenFile::get_LastAccessTime(DATE* value) {
    return Get(value, [&] { return DateFromFileTime(ReadTime(Slot::LastAccess)); });
}

HRESULT OpenFile::get_CreationTime(DATE* value) {
    return Get(value, [&] { return DateFromFileTime(ReadTime(Slot::Creation)); });
}

HRESULT OpenFile::get_PreciseLastWriteTime(VARIANT* value) {
    return Get(value, [&] { return PreciseTimeValue(ReadTime(Slot::LastWrite)); });
}

HRESULT OpenFile::get_PreciseLastAccessTime(VARIANT* value) {
    return Get(value, [&] { return PreciseTimeValue(ReadTime(Slot::LastAccess)); });
}

HRESULT OpenFile::get_PreciseCreationTime(VARIANT* value) {
    return Get(value, [&] { return PreciseTimeValue(ReadTime(Slot::Creation)); });
}

HRESULT OpenFile::SetLastWriteTime(VARIANT NewValue) {
    return Run([&] { WriteTime(Slot::LastWrite, NewValue); });
}

HRESULT OpenFile::SetLastAccessTime(VARIANT NewValue) {
    return Run([&] { WriteTime(Slot::LastAccess, NewValue); });
}

HRESULT OpenFile::SetCreationTime(VARIANT NewValue) {
    return Run([&] { WriteTime(Slot::Creation, NewValue); });
}

HRESULT OpenFile::get_Size(VARIANT* value) {
    return Get(value, [&] {
        const HANDLE handle = RequireHandle();
        DWORD high = 0;
        SetLastError(0);
        const DWORD low = api.GetFileSize(handle, &high);
        // A size whose low word is all ones fails too, with error code 0, as it always has.
        if (low == INVALID_FILE_SIZE) RaiseSystemError(static_cast<long>(GetLastError()), kClassName);
        return SizeValue(JoinWords(high, low));
    });
}

HRESULT OpenFile::get_Name(BSTR* value) {
    return Get(value, [&] {
        RequireHandle();
        Bstr name;
        CheckCall(item_->get_Name(name.Receive()));
        return name;
    });
}

HRESULT OpenFile::get_Access(FileAccess* value) {
    return Get(value, [&] { return static_cast<long>(parameters_.access); });
}

HRESULT OpenFile::get_Access(LONG* value) {
    return Get(value, [&] { return static_cast<LONG>(parameters_.access); });
}

HRESULT OpenFile::get_OpenFlags(OpenFileFlags* value) {
    return Get(value, [&] { return static_cast<long>(parameters_.flags); });
}

HRESULT OpenFile::get_Sharing(FileShare* value) {
    return Get(value, [&] { return static_cast<long>(parameters_.share); });
}

HRESULT OpenFile::get_Mode(FileMode* value) {
    return Get(value, [&] { return static_cast<long>(parameters_.mode); });
}

HRESULT OpenFile::CloseFile() {
    return Run([&] { Close(); });
}

HRESULT OpenFile::GetIoBufferSizeHint(LONG* value) {
    return Get(value, [] { return kIoBufferSizeHint; });
}

HRESULT OpenFile::get_Object(IDispatch** value) {
    return Get(value, [&] { return ComPtr<OpenFile>(this); });
}

HRESULT OpenFile::IsSupported(IOpenFileMembers, VARIANT_BOOL* value) {
    return Get(value, [] { return true; });
}

}  // namespace vofs
