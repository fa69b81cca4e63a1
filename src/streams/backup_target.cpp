#include "streams/backup_target.h"

#include "common/error.h"
#include "common/handles.h"
#include "common/long_handles.h"
#include "common/lower_case.h"
#include "common/system_error.h"
#include "common/thread_state.h"
#include "streams/file_stream.h"
#include "streams/open_file.h"
#include "system/volumes.h"

#include <utility>

namespace vofs {
namespace {

constexpr DWORD kPersistentAclsBit = 0x8;

// A buffer address as the byte stream takes it: an integer of pointer width, so that no
// address is cut to a Long on the 64-bit build.
Variant AddressValue(uint8_t* address) {
    Variant value;
    if constexpr (sizeof(void*) == 8) {
        V_VT(value.Get()) = VT_I8;
        V_I8(value.Get()) = reinterpret_cast<intptr_t>(address);
    } else {
        V_VT(value.Get()) = VT_I4;
        V_I4(value.Get()) = static_cast<LONG>(reinterpret_cast<intptr_t>(address));
    }
    return value;
}

}  // namespace

BackupTarget::BackupTarget(ComPtr<_IOpenFile> file, ComPtr<_IFileStream> stream)
    : file_(std::move(file)), stream_(std::move(stream)) {
    if (!file_) Raise(RunTimeError::InvalidCall);
    const OpenFile* local = ImplementationOf<OpenFile>(file_.Get());
    if (IsNoHandle(local ? local->NativeHandle() : Handle())) RaiseNumber(-1);
    if (local && (local->Flags() & FILE_FLAG_NO_BUFFERING)) Raise(RunTimeError::InvalidCall);
    emulated_ = !IsPlatformNT() || (stream_ && !ImplementationOf<FileStream>(stream_.Get()));
}

void BackupTarget::Emulate(DWORD error, const wchar_t* source) {
    if (!stream_) {
        OpenFile* local = ImplementationOf<OpenFile>(file_.Get());
        if (!local) RaiseSystemError(static_cast<long>(error), source);
        stream_ = FileStream::On(ComPtr<OpenFile>(local));
    }
    emulated_ = true;
}

HANDLE BackupTarget::Handle() const {
    if (const OpenFile* local = ImplementationOf<OpenFile>(file_.Get())) return local->RequireHandle();
    LONG handle = 0;
    CheckCall(file_->get_Handle(&handle));
    return HandleFromLong(handle);
}

HANDLE BackupTarget::HandleOrNone() const noexcept {
    try {
        return Handle();
    } catch (...) {
        return nullptr;
    }
}

bool BackupTarget::IsAsync() const {
    VARIANT_BOOL async = VARIANT_FALSE;
    if (stream_) CheckCall(stream_->get_IsAsync(&async));
    return async != VARIANT_FALSE;
}

LONG BackupTarget::Transfer(bool reading, uint8_t* buffer, LONG count) const {
    if (!stream_) Raise(RunTimeError::ObjectNotSet);
    Variant address = AddressValue(buffer);
    LONG moved = 0;
    CheckCall(reading ? stream_->ReadStream(address.Get(), 0, count, &moved)
                      : stream_->WriteStream(address.Get(), 0, count, &moved));
    return moved;
}

bool BackupTarget::SupportsMultiStreams() const {
    ComPtr<_IFolderItem> item;
    ComPtr<_IPath> path;
    Bstr root;
    CheckCall(file_->get_FolderItem(&item));
    if (!item) Raise(RunTimeError::ObjectNotSet);
    CheckCall(item->get_Path(&path));
    CheckCall(path->get_RootPath(root.Receive()));
    const ComPtr<Volume> volume = SharedVolumes()->Lookup(std::wstring(root.View()));
    return LowerCase(volume->FileSystemName()) == L"ntfs" || volume->HasFlag(kPersistentAclsBit);
}

}  // namespace vofs
