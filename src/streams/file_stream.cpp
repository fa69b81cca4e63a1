#include "streams/file_stream.h"

#include "common/ansi.h"
#include "common/byte_array.h"
#include "common/large_values.h"
#include "common/long_handles.h"
#include "common/platform_api.h"
#include "common/system_error.h"
#include "streams/caller_buffer.h"
#include "streams/open_file.h"
#include "streams/stream_rules.h"

namespace vofs {
namespace {

using stream_rules::BufferKind;

constexpr DWORD kSeekFlags = FILE_FLAG_SEQUENTIAL_SCAN | FILE_FLAG_RANDOM_ACCESS;
constexpr wchar_t kModuleSource[] = L"MFileSystemLib";

void CheckStreamCall(bool succeeded) { CheckPlatformCall(succeeded, FileStream::kClassName); }

}  // namespace

FileStream::FileStream() : async_(new AsyncTransfer) {}

FileStream::~FileStream() { Close(); }

ComPtr<FileStream> FileStream::On(ComPtr<OpenFile> file) {
    ComPtr<FileStream> stream = Make();
    stream->AttachTo(std::move(file));
    return stream;
}

void FileStream::AttachTo(ComPtr<OpenFile> file) {
    if (!file) Raise(RunTimeError::InvalidCall, kClassName);
    if (IsNoHandle(file->NativeHandle())) RaiseNumber(-1, kClassName);
    file_ = std::move(file);
    // A new transfer record: the position of overlapped transfers starts at 0 again.
    async_ = AsyncTransferPtr(new AsyncTransfer);
}

OpenFile& FileStream::File() const {
    if (!file_) Raise(RunTimeError::InvalidCall, kClassName);
    return *file_.Get();
}

void FileStream::Seek(int64_t offset, DWORD origin) {
    LONG high = static_cast<LONG>(HighWord(static_cast<uint64_t>(offset)));
    const DWORD low = api.SetFilePointer(File().RequireHandle(), static_cast<LONG>(LowWord(offset)), &high, origin);
    // A target whose low word is all ones fails too, as it always has.
    if (low == INVALID_SET_FILE_POINTER) RaiseSystemError(static_cast<long>(GetLastError()), kClassName);
}

void FileStream::LockRange(bool locking, const VARIANT& position, const VARIANT& length) {
    const auto start = static_cast<uint64_t>(LargeValueFrom(position));
    const auto count = static_cast<uint64_t>(LargeValueFrom(length));
    const auto call = locking ? api.LockFile : api.UnlockFile;
    CheckStreamCall(call(File().RequireHandle(), LowWord(start), HighWord(start), LowWord(count), HighWord(count)) != FALSE);
}

void FileStream::Close() {
    if (!file_) return;
    if (async_->Pending()) async_->Cancel(file_->NativeHandle());
    file_->Close();
}

LONG FileStream::Transfer(bool reading, VARIANT* buffer, LONG offset, LONG count) {
    if (!buffer) Raise(RunTimeError::InvalidCall, kClassName);
    if (async_->Pending()) RaiseSystemError(ERROR_IO_PENDING, kClassName);
    if (File().Flags() & FILE_FLAG_OVERLAPPED) return StartAsync(reading, buffer, count);

    const auto direction = reading ? stream_rules::Direction::Read : stream_rules::Direction::Write;
    const PlannedTransfer transfer(buffer, direction, offset, count, kClassName);
    if (transfer.Count() == 0) return 0;
    uint8_t* const at = transfer.At();

    SetLastError(0);
    const stream_rules::LoopResult result = stream_rules::RunTransfer(direction, transfer.Count(), [&](uint32_t done, uint32_t request) {
        const HANDLE handle = File().RequireHandle();
        DWORD moved = 0;
        const BOOL ok = reading ? api.ReadFile(handle, at + done, request, &moved, nullptr)
                                : api.WriteFile(handle, at + done, request, &moved, nullptr);
        return stream_rules::StepResult{ok != FALSE, moved, ok ? 0 : GetLastError()};
    });
    if (result.error) RaiseSystemError(static_cast<long>(result.error), kClassName);
    return static_cast<LONG>(result.total);
}

// An overlapped transfer takes the whole buffer: Offset, and Count but for an address,
// play no part.
LONG FileStream::StartAsync(bool reading, VARIANT* buffer, LONG count) {
    const CallerBuffer caller(buffer, kClassName);
    const auto direction = reading ? AsyncTransfer::Direction::Read : AsyncTransfer::Direction::Write;
    const HANDLE handle = File().RequireHandle();
    switch (caller.Kind()) {
        case BufferKind::Address:
            async_->Start(handle, direction, caller.Address(), count < 0 ? 0 : static_cast<uint32_t>(count));
            break;
        case BufferKind::Text: {
            std::string ansi = ToUserAnsi(caller.Text());
            ansi.resize(caller.Length());
            async_->Start(handle, direction, ansi.data(), static_cast<uint32_t>(ansi.size()));
            break;
        }
        case BufferKind::Bytes:
            async_->Start(handle, direction, caller.Address(), static_cast<uint32_t>(caller.Length()));
            break;
        case BufferKind::Other: Raise(RunTimeError::InvalidCall, kClassName);
    }
    return 0;
}

HRESULT FileStream::Attach(_OpenFile* OpenFile) {
    return Run([&] { AttachTo(ComPtr<vofs::OpenFile>(ImplementationOf<vofs::OpenFile>(OpenFile))); });
}

HRESULT FileStream::get_CanRead(VARIANT_BOOL* value) {
    return Get(value, [&] { return (File().AccessMask() & GENERIC_READ) != 0; });
}

HRESULT FileStream::get_CanWrite(VARIANT_BOOL* value) {
    return Get(value, [&] { return (File().AccessMask() & GENERIC_WRITE) != 0; });
}

HRESULT FileStream::get_CanSeek(VARIANT_BOOL* value) {
    return Get(value, [&] { return (File().Flags() & kSeekFlags) != 0; });
}

HRESULT FileStream::get_IsAsync(VARIANT_BOOL* value) {
    return Get(value, [&] { return (File().Flags() & FILE_FLAG_OVERLAPPED) != 0; });
}

HRESULT FileStream::get_Length(VARIANT* value) {
    return Get(value, [&] {
        DWORD high = 0;
        SetLastError(0);
        const DWORD low = api.GetFileSize(File().RequireHandle(), &high);
        if (low == INVALID_FILE_SIZE && GetLastError() != NO_ERROR) RaiseSystemError(0, kClassName);
        return SizeValue(JoinWords(high, low));
    });
}

HRESULT FileStream::get_Position(VARIANT* value) {
    return Get(value, [&] {
        LONG high = 0;
        SetLastError(0);
        const DWORD low = api.SetFilePointer(File().RequireHandle(), 0, &high, FILE_CURRENT);
        if (low == INVALID_SET_FILE_POINTER) RaiseSystemError(static_cast<long>(GetLastError()), kModuleSource);
        return SizeValue(JoinWords(static_cast<DWORD>(high), low));
    });
}

HRESULT FileStream::get_Name(BSTR* value) {
    return Get(value, [&] {
        Bstr name;
        CheckCall(File().get_Name(name.Receive()));
        return name;
    });
}

HRESULT FileStream::Flush() {
    return Run([&] { CheckStreamCall(api.FlushFileBuffers(File().RequireHandle()) != FALSE); });
}

HRESULT FileStream::CloseStream() {
    return Run([&] { Close(); });
}

HRESULT FileStream::get_Handle(LONG* value) {
    return Get(value, [&] { return HandleAsLong(File().NativeHandle()); });
}

HRESULT FileStream::get_OpenFile(_OpenFile** value) {
    return Get(value, [&] { return file_; });
}

HRESULT FileStream::get_OpenFile(_IOpenFile** value) {
    return Get(value, [&] { return file_; });
}

HRESULT FileStream::SeekPosition(VARIANT Offset, FilePointerOptions Origin) {
    return Run([&] {
        if (Origin < 0 || Origin > 2) Raise(RunTimeError::InvalidPropertyValue, kClassName);
        Seek(LargeValueFrom(Offset), static_cast<DWORD>(Origin));
    });
}

HRESULT FileStream::SetLength(VARIANT NewValue) {
    return Run([&] {
        Seek(LargeValueFrom(NewValue), FILE_BEGIN);
        CheckStreamCall(api.SetEndOfFile(File().RequireHandle()) != FALSE);
    });
}

HRESULT FileStream::LockStream(VARIANT Position, VARIANT Length) {
    return Run([&] { LockRange(true, Position, Length); });
}

HRESULT FileStream::UnlockStream(VARIANT Position, VARIANT Length) {
    return Run([&] { LockRange(false, Position, Length); });
}

HRESULT FileStream::ReadStream(VARIANT* Buffer, LONG Offset, LONG Count, LONG* value) {
    return Get(value, [&] { return Transfer(true, Buffer, Offset, Count); });
}

HRESULT FileStream::WriteStream(VARIANT* Buffer, LONG Offset, LONG Count, LONG* value) {
    return Get(value, [&] { return Transfer(false, Buffer, Offset, Count); });
}

HRESULT FileStream::AsyncWaitOnIo(LONG, QueueStatus, VARIANT_BOOL* value) {
    return Get(value, [&] { return async_->Wait(); });
}

HRESULT FileStream::get_AsyncBytesTransfered(LONG* value) {
    return Get(value, [&] { return static_cast<LONG>(async_->BytesTransferred()); });
}

HRESULT FileStream::get_AsyncBytesToTransfer(LONG* value) {
    return Get(value, [&] { return static_cast<LONG>(async_->BytesToTransfer()); });
}

HRESULT FileStream::get_AsyncErrorNumber(LONG* value) {
    return Get(value, [&] { return static_cast<LONG>(async_->ErrorNumber()); });
}

HRESULT FileStream::get_AsyncErrorDescription(BSTR* value) {
    return Get(value, [&] { return SystemErrorText(static_cast<long>(async_->ErrorNumber())); });
}

HRESULT FileStream::get_AsyncIoPending(VARIANT_BOOL* value) {
    return Get(value, [&] { return async_->Pending(); });
}

HRESULT FileStream::AsyncCancelIo() {
    return Run([&] { async_->Cancel(File().NativeHandle()); });
}

HRESULT FileStream::GetAsyncIoBuffer(VARIANT* value) {
    return Get(value, [&] { return ByteArrayOf(async_->Buffer()); });
}

HRESULT FileStream::AsyncErrorRaise() {
    return Run([&] {
        if (async_->ErrorNumber() != 0) RaiseSystemError(static_cast<long>(async_->ErrorNumber()), kClassName);
    });
}

HRESULT FileStream::get_Object(IDispatch** value) {
    return Get(value, [&] { return ComPtr<FileStream>(this); });
}

}  // namespace vofs
