#include "ftp/ftp_open_file.h"

#include "common/large_values.h"
#include "common/long_handles.h"
#include "common/platform_api.h"
#include "common/system_error.h"
#include "ftp/ftp_folder_item.h"
#include "ftp/internet_session.h"

namespace vofs {
namespace {

constexpr LONG kIoBufferSizeHint = 8192;
// The local open file's name: FTP size failures are reported under it.
constexpr wchar_t kSizeSource[] = L"OpenFile";

}  // namespace

ComPtr<FtpOpenFile> FtpOpenFile::Opened(HINTERNET handle, ComPtr<FtpFolderItem> item, DWORD access,
                                        std::optional<uint64_t> listedLength) {
    ComPtr<FtpOpenFile> file = Make();
    file->handle_ = handle;
    file->item_ = std::move(item);
    file->access_ = access;
    file->listedLength_ = listedLength;
    return file;
}

bool FtpOpenFile::EndsAt(uint64_t moved) {
    if (!listedLength_ || moved >= *listedLength_) return true;
    try {
        listedLength_ = item_->RefreshAside() ? item_->ListedSize() : std::nullopt;
    } catch (const AutomationError&) {
        return false;  // the server cannot be reached again: the transfer was cut
    }
    return !listedLength_ || moved >= *listedLength_;
}

FtpOpenFile::~FtpOpenFile() { Close(); }

HINTERNET FtpOpenFile::RequireHandle() const {
    if (!internet::IsValid(handle_)) Raise(RunTimeError::InvalidCall, kClassName);
    return handle_;
}

void FtpOpenFile::Close() {
    if (!internet::IsValid(handle_)) return;
    closedOk_ = api.InternetCloseHandle(std::exchange(handle_, nullptr)) != FALSE;
}

template <class Getter>
HRESULT FtpOpenFile::FromItem(Getter&& getter) {
    return Run([&] { CheckCall(getter(*item_.Get())); });
}

HRESULT FtpOpenFile::get_Handle(LONG* value) {
    return Get(value, [&] { return HandleAsLong(handle_); });
}

HRESULT FtpOpenFile::get_Attributes(FileAttributes* value) {
    return FromItem([&](FtpFolderItem& item) { return item.get_Attributes(value); });
}

HRESULT FtpOpenFile::put_Attributes(FileAttributes) { return Run([] { Raise(RunTimeError::ActionNotSupported); }); }

HRESULT FtpOpenFile::get_FolderItem(_FtpFolderItem** value) {
    return Get(value, [&] { return item_; });
}

HRESULT FtpOpenFile::get_FolderItem(_IFolderItem** value) {
    return Get(value, [&] { return item_; });
}

HRESULT FtpOpenFile::get_LastWriteTime(DATE* value) {
    return FromItem([&](FtpFolderItem& item) { return item.get_LastWriteTime(value); });
}

HRESULT FtpOpenFile::get_LastAccessTime(DATE* value) {
    return FromItem([&](FtpFolderItem& item) { return item.get_LastAccessTime(value); });
}

HRESULT FtpOpenFile::get_CreationTime(DATE* value) {
    return FromItem([&](FtpFolderItem& item) { return item.get_CreationTime(value); });
}

HRESULT FtpOpenFile::get_PreciseLastWriteTime(VARIANT* value) {
    return FromItem([&](FtpFolderItem& item) { return item.get_PreciseLastWriteTime(value); });
}

HRESULT FtpOpenFile::get_PreciseLastAccessTime(VARIANT* value) {
    return FromItem([&](FtpFolderItem& item) { return item.get_PreciseLastAccessTime(value); });
}

HRESULT FtpOpenFile::get_PreciseCreationTime(VARIANT* value) {
    return FromItem([&](FtpFolderItem& item) { return item.get_PreciseCreationTime(value); });
}

// An older WinInet has no size call: the item's listing is read afresh.
HRESULT FtpOpenFile::get_Size(VARIANT* value) {
    return Get(value, [&] {
        const HINTERNET handle = RequireHandle();
        if (internet::VersionAtLeast12(handle)) {
            const std::optional<uint64_t> size = internet::FileSize(handle);
            if (!size) RaiseSystemError(static_cast<long>(GetLastError()), kSizeSource);
            return SizeValue(*size);
        }
        const bool cached = item_->Cached();
        item_->SetCached(false);
        struct Restore {
            FtpFolderItem& item;
            bool cached;
            ~Restore() { item.SetCached(cached); }
        } restore{*item_.Get(), cached};
        return item_->Data().FileSize();
    });
}

HRESULT FtpOpenFile::get_Name(BSTR* value) {
    return Get(value, [&] {
        RequireHandle();
        Bstr name;
        CheckCall(item_->get_Name(name.Receive()));
        return name;
    });
}

HRESULT FtpOpenFile::get_Access(FileAccess* value) {
    return Get(value, [&] { return static_cast<long>(access_); });
}

HRESULT FtpOpenFile::get_Access(LONG* value) {
    return Get(value, [&] { return static_cast<LONG>(access_); });
}

HRESULT FtpOpenFile::CloseFile() {
    return Run([&] { Close(); });
}

HRESULT FtpOpenFile::GetIoBufferSizeHint(LONG* value) {
    return Get(value, [] { return kIoBufferSizeHint; });
}

HRESULT FtpOpenFile::SetLastWriteTime(VARIANT) { return Run([] { Raise(RunTimeError::ActionNotSupported); }); }

HRESULT FtpOpenFile::SetLastAccessTime(VARIANT) { return Run([] { Raise(RunTimeError::ActionNotSupported); }); }

HRESULT FtpOpenFile::SetCreationTime(VARIANT) { return Run([] { Raise(RunTimeError::ActionNotSupported); }); }

HRESULT FtpOpenFile::get_Object(IDispatch** value) {
    return Get(value, [&] { return ComPtr<FtpOpenFile>(this); });
}

HRESULT FtpOpenFile::IsSupported(IOpenFileMembers MemberName, VARIANT_BOOL* value) {
    return Get(value, [&] {
        switch (MemberName) {
            case iofAttributesLet:
            case iofOpenFlags:
            case iofSharing:
            case iofMode:
            case iofSetLastWriteTime:
            case iofSetLastAccessTime:
            case iofSetCreationTime: return false;
            default: return true;
        }
    });
}

}  // namespace vofs
