#include "ftp/ftp_file_stream.h"

#include "common/byte_array.h"
#include "common/large_values.h"
#include "common/long_handles.h"
#include "common/system_error.h"
#include "ftp/ftp_connection.h"
#include "ftp/ftp_folder_item.h"
#include "ftp/ftp_open_file.h"
#include "streams/caller_buffer.h"
#include "streams/file_stream.h"
#include "streams/open_file.h"

#include <cstring>
#include <string>

namespace vofs {
namespace {

using stream_rules::BufferKind;

constexpr uint32_t kRequestMarker = 8675309;

[[noreturn]] void RaiseCode(DWORD code) { RaiseSystemError(static_cast<long>(code), FtpFileStream::kClassName); }

}  // namespace

FtpFileStream::FtpFileStream() = default;

FtpFileStream::~FtpFileStream() {
    StopReceiving();  // no notification may reach the object while it goes
    Close();
}

void FtpFileStream::AttachTo(ComPtr<_IOpenFile> file, bool async) {
    if (!file) Raise(RunTimeError::InvalidCall, kClassName);
    ComPtr<FtpOpenFile> remote(ImplementationOf<FtpOpenFile>(file.Get()));
    ComPtr<FileStream> local;
    if (remote) {
        if (!internet::IsValid(remote->NativeHandle())) Raise(RunTimeError::InvalidCall, kClassName);
    } else {
        OpenFile* localFile = ImplementationOf<OpenFile>(file.Get());
        if (!localFile) Raise(RunTimeError::TypeMismatch, kClassName);
        local = FileStream::On(ComPtr<OpenFile>(localFile));
    }
    if (!event_) {
        event_.Reset(CreateEventA(nullptr, TRUE, FALSE, nullptr));
        if (!event_) RaiseCode(GetLastError());
    }
    if (remote && async) api.InternetSetStatusCallback(remote->NativeHandle(), &internet::DispatchStatus);
    file_ = std::move(file);
    remote_ = std::move(remote);
    local_ = std::move(local);
    async_ = async && remote_;
    position_ = 0;
    pending_ = false;
}

FtpOpenFile& FtpFileStream::Remote() const {
    if (!remote_) Raise(RunTimeError::InvalidCall, kClassName);
    return *remote_.Get();
}

HINTERNET FtpFileStream::RemoteHandle() const { return Remote().RequireHandle(); }

void FtpFileStream::Close() {
    if (local_) {
        local_->CloseStream();
        return;
    }
    // Closing the handle is WinInet's only way to end a request under way.
    if (remote_) remote_->Close();
    pending_ = false;
}

template <class LocalCall, class RemoteCall>
HRESULT FtpFileStream::Either(LocalCall&& local, RemoteCall&& remote) {
    if (local_) return local(*local_.Get());
    return remote();
}

LONG FtpFileStream::Transfer(bool reading, VARIANT* buffer, LONG offset, LONG count) {
    if (!buffer) Raise(RunTimeError::InvalidCall, kClassName);
    if (pending_) RaiseCode(ERROR_IO_PENDING);
    const HINTERNET handle = RemoteHandle();
    const auto direction = reading ? stream_rules::Direction::Read : stream_rules::Direction::Write;
    const PlannedTransfer transfer(buffer, direction, offset, count, kClassName);
    if (transfer.Count() == 0) return 0;
    uint8_t* const at = transfer.At();
    if (async_) return StartAsync(reading, transfer.Caller(), at, transfer.Count());

    // The last call's failure: the loop takes a read that fails having moved nothing for the
    // end of the file, and reports every other failure with this same code.
    DWORD lastFailure = 0;
    const stream_rules::LoopResult result =
        stream_rules::RunTransfer(direction, transfer.Count(), [&](uint32_t done, uint32_t request) {
            DWORD moved = 0;
            const bool ok = reading ? internet::ReadFile(handle, at + done, request, moved)
                                    : internet::WriteFile(handle, at + done, request, moved);
            lastFailure = ok ? 0 : GetLastError();
            return stream_rules::StepResult{ok, moved, lastFailure};
        });
    position_ += result.total;
    if (lastFailure) RaiseTransferFailure(lastFailure);
    if (reading && result.total < transfer.Count()) RequireWholeDownload();
    return static_cast<LONG>(result.total);
}

void FtpFileStream::RequireWholeDownload() {
    if (!Remote().EndsAt(position_)) RaiseTransferFailure(ERROR_INTERNET_CONNECTION_RESET);
}

// A transfer cut by a socket error ends the file (its data connection is gone, and with it
// perhaps the control connection its handle belongs to); the connection then asks whether
// it is still there and makes itself anew when it is not, before the error is raised.
void FtpFileStream::RaiseTransferFailure(DWORD code) {
    FtpOpenFile& file = Remote();
    if (internet::MayMeanConnectionLost(code)) {
        file.Close();
        file.Item().Connection().OnServer([&] { RaiseCode(code); });
    }
    RaiseCode(code);
}

// The request runs on the stream's own buffer: a write copies the caller's bytes in first,
// a read that completes at once copies them out (GetAsyncIoBuffer holds them either way).
LONG FtpFileStream::StartAsync(bool reading, const CallerBuffer& caller, uint8_t* at, uint32_t count) {
    const HINTERNET handle = RemoteHandle();
    buffer_.assign(count, 0);
    if (!reading) std::memcpy(buffer_.data(), at, count);
    marker_ = kRequestMarker;
    toTransfer_ = count;
    transferred_ = 0;
    pending_ = true;
    ResetEvent(event_.Get());
    DWORD moved = 0;
    const bool ok = reading ? internet::ReadFile(handle, buffer_.data(), count, moved)
                            : internet::WriteFile(handle, buffer_.data(), count, moved);
    if (!ok) {
        const DWORD code = GetLastError();
        if (code == ERROR_IO_PENDING) return 0;
        pending_ = false;
        RaiseTransferFailure(code);
    }
    pending_ = false;
    position_ += moved;
    if (reading && caller.Kind() != BufferKind::Text) std::memcpy(at, buffer_.data(), moved);
    if (reading && moved == 0) RequireWholeDownload();
    return static_cast<LONG>(moved);
}

void FtpFileStream::OnInternetStatus(DWORD status, void* information, DWORD length) noexcept {
    switch (status) {
        case INTERNET_STATUS_REQUEST_SENT:
        case INTERNET_STATUS_RESPONSE_RECEIVED:
            if (pending_ && information && length >= sizeof(DWORD)) transferred_ = *static_cast<const DWORD*>(information);
            break;
        case INTERNET_STATUS_CONNECTION_CLOSED: ResetEvent(event_.Get()); break;
        case INTERNET_STATUS_REQUEST_COMPLETE:
            if (pending_ && information) {
                const auto* outcome = static_cast<const INTERNET_ASYNC_RESULT*>(information);
                result_ = static_cast<uint32_t>(outcome->dwResult);
                error_ = outcome->dwError;
                ResetEvent(event_.Get());
            }
            break;
        default: break;
    }
}

// ---- _FtpFileStream and _IFileStream

HRESULT FtpFileStream::Attach(_IOpenFile* OpenFile, VARIANT_BOOL Asyncronous) {
    return Run([&] { AttachTo(ComPtr<_IOpenFile>(OpenFile), Asyncronous != VARIANT_FALSE); });
}

HRESULT FtpFileStream::get_CanRead(VARIANT_BOOL* value) {
    return Either([&](FileStream& local) { return local.get_CanRead(value); },
                  [&] { return Get(value, [&] { return (Remote().AccessMask() & GENERIC_READ) != 0; }); });
}

HRESULT FtpFileStream::get_CanWrite(VARIANT_BOOL* value) {
    return Either([&](FileStream& local) { return local.get_CanWrite(value); },
                  [&] { return Get(value, [&] { return (Remote().AccessMask() & GENERIC_WRITE) != 0; }); });
}

HRESULT FtpFileStream::get_CanSeek(VARIANT_BOOL* value) {
    return Either([&](FileStream& local) { return local.get_CanSeek(value); },
                  [&] { return Get(value, [] { return false; }); });
}

HRESULT FtpFileStream::get_IsAsync(VARIANT_BOOL* value) {
    return Either([&](FileStream& local) { return local.get_IsAsync(value); },
                  [&] { return Get(value, [&] { return async_; }); });
}

HRESULT FtpFileStream::get_Length(VARIANT* value) {
    return Either([&](FileStream& local) { return local.get_Length(value); },
                  [&] { return Run([&] { CheckCall(Remote().get_Size(value)); }); });
}

HRESULT FtpFileStream::get_Position(VARIANT* value) {
    return Either([&](FileStream& local) { return local.get_Position(value); }, [&] {
        return Get(value, [&] {
            const DWORD position = internet::SetFilePointer(RemoteHandle(), 0, FILE_CURRENT);
            if (position == INVALID_SET_FILE_POINTER) RaiseCode(GetLastError());
            return SizeValue(position);
        });
    });
}

HRESULT FtpFileStream::get_Name(BSTR* value) {
    return Either([&](FileStream& local) { return local.get_Name(value); },
                  [&] { return Run([&] { CheckCall(Remote().get_Name(value)); }); });
}

HRESULT FtpFileStream::CloseStream() {
    return Run([&] { Close(); });
}

HRESULT FtpFileStream::get_Handle(LONG* value) {
    return Either([&](FileStream& local) { return local.get_Handle(value); },
                  [&] { return Get(value, [&] { return HandleAsLong(Remote().NativeHandle()); }); });
}

HRESULT FtpFileStream::get_OpenFile(_FtpOpenFile** value) {
    return Get(value, [&] { return remote_; });
}

HRESULT FtpFileStream::get_OpenFile(_IOpenFile** value) {
    return Get(value, [&] { return file_; });
}

// A request that would not move is answered here: FTP transfers cannot seek, and the
// platform refuses even a move to where the transfer stands.
HRESULT FtpFileStream::SeekPosition(VARIANT Offset, FilePointerOptions Origin) {
    return Either([&](FileStream& local) { return local.SeekPosition(Offset, Origin); }, [&] {
        return Run([&] {
            if (Origin < 0 || Origin > 2) Raise(RunTimeError::InvalidPropertyValue, kClassName);
            const int64_t offset = LargeValueFrom(Offset);
            const HINTERNET handle = RemoteHandle();
            const bool stays = (Origin == FILE_BEGIN && static_cast<uint64_t>(offset) == position_) ||
                               (Origin == FILE_CURRENT && offset == 0);
            if (stays) return;
            const DWORD position = internet::SetFilePointer(handle, static_cast<LONG>(LowWord(offset)), Origin);
            if (position == INVALID_SET_FILE_POINTER) RaiseCode(GetLastError());
            position_ = position;
        });
    });
}

HRESULT FtpFileStream::ReadStream(VARIANT* Buffer, LONG Offset, LONG Count, LONG* value) {
    return Either([&](FileStream& local) { return local.ReadStream(Buffer, Offset, Count, value); },
                  [&] { return Get(value, [&] { return Transfer(true, Buffer, Offset, Count); }); });
}

HRESULT FtpFileStream::WriteStream(VARIANT* Buffer, LONG Offset, LONG Count, LONG* value) {
    return Either([&](FileStream& local) { return local.WriteStream(Buffer, Offset, Count, value); },
                  [&] { return Get(value, [&] { return Transfer(false, Buffer, Offset, Count); }); });
}

HRESULT FtpFileStream::AsyncWaitOnIo(LONG TimeoutValue, QueueStatus WakeMask, VARIANT_BOOL* value) {
    return Either([&](FileStream& local) { return local.AsyncWaitOnIo(TimeoutValue, WakeMask, value); }, [&] {
        return Get(value, [&] {
            if (!pending_) return true;
            const HANDLE event = event_.Get();
            DWORD raw = 0;
            const DWORD timeout = TimeoutValue > 0 ? static_cast<DWORD>(TimeoutValue) : 0;
            return internet::PumpingWait(&event, 1, timeout, static_cast<DWORD>(WakeMask), false, false, raw, nullptr,
                                         kClassName) >= 1;
        });
    });
}

HRESULT FtpFileStream::get_AsyncBytesTransfered(LONG* value) {
    return Either([&](FileStream& local) { return local.get_AsyncBytesTransfered(value); },
                  [&] { return Get(value, [&] { return static_cast<LONG>(transferred_.load()); }); });
}

HRESULT FtpFileStream::get_AsyncBytesToTransfer(LONG* value) {
    return Either([&](FileStream& local) { return local.get_AsyncBytesToTransfer(value); },
                  [&] { return Get(value, [&] { return static_cast<LONG>(toTransfer_.load()); }); });
}

HRESULT FtpFileStream::get_AsyncErrorNumber(LONG* value) {
    return Either([&](FileStream& local) { return local.get_AsyncErrorNumber(value); },
                  [&] { return Get(value, [&] { return static_cast<LONG>(error_.load()); }); });
}

HRESULT FtpFileStream::get_AsyncErrorDescription(BSTR* value) {
    return Either([&](FileStream& local) { return local.get_AsyncErrorDescription(value); },
                  [&] { return Get(value, [&] { return SystemErrorText(static_cast<long>(error_.load())); }); });
}

HRESULT FtpFileStream::get_AsyncIoPending(VARIANT_BOOL* value) {
    return Either([&](FileStream& local) { return local.get_AsyncIoPending(value); },
                  [&] { return Get(value, [&] { return pending_.load(); }); });
}

// WinInet ends a request only with its handle: cancelling closes the file.
HRESULT FtpFileStream::AsyncCancelIo() {
    return Either([&](FileStream& local) { return local.AsyncCancelIo(); }, [&] {
        return Run([&] {
            if (pending_) Close();
        });
    });
}

HRESULT FtpFileStream::GetAsyncIoBuffer(VARIANT* value) {
    return Either([&](FileStream& local) { return local.GetAsyncIoBuffer(value); },
                  [&] { return Get(value, [&] { return ByteArrayOf(buffer_); }); });
}

HRESULT FtpFileStream::AsyncErrorRaise() {
    return Either([&](FileStream& local) { return local.AsyncErrorRaise(); }, [&] {
        return Run([&] {
            if (error_ != 0) RaiseCode(error_);
        });
    });
}

HRESULT FtpFileStream::get_Object(IDispatch** value) {
    return Get(value, [&] { return ComPtr<FtpFileStream>(this); });
}

HRESULT FtpFileStream::Flush() {
    return Either([&](FileStream& local) { return local.Flush(); }, [&] { return Run([&] { RemoteHandle(); }); });
}

HRESULT FtpFileStream::SetLength(VARIANT NewValue) {
    return Either([&](FileStream& local) { return local.SetLength(NewValue); }, [&] {
        return Run([&] {
            RemoteHandle();
            if (!(Remote().AccessMask() & GENERIC_WRITE)) Raise(RunTimeError::InvalidCall, kClassName);
            LargeValueFrom(NewValue);  // a value that is no number is still refused
        });
    });
}

HRESULT FtpFileStream::LockStream(VARIANT Position, VARIANT Length) {
    return Either([&](FileStream& local) { return local.LockStream(Position, Length); },
                  [&] { return Run([] { Raise(RunTimeError::ActionNotSupported, kClassName); }); });
}

HRESULT FtpFileStream::UnlockStream(VARIANT Position, VARIANT Length) {
    return Either([&](FileStream& local) { return local.UnlockStream(Position, Length); },
                  [&] { return Run([] { Raise(RunTimeError::ActionNotSupported, kClassName); }); });
}

HRESULT FtpFileStream::Callback(InternetStatus dwInternetStatus, LONG, LONG) {
    return Run([&] { OnInternetStatus(static_cast<DWORD>(dwInternetStatus), nullptr, 0); });
}

}  // namespace vofs
