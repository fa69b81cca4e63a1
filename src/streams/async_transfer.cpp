#include "streams/async_transfer.h"

#include "common/large_values.h"
#include "common/platform_api.h"
#include "common/system_error.h"

#include <cstddef>

namespace vofs {
namespace {

constexpr DWORD kWaitMilliseconds = 5000;
constexpr wchar_t kSource[] = L"FileStream";

}  // namespace

void AsyncTransfer::Start(HANDLE handle, Direction direction, const void* source, uint32_t count) {
    if (count < 1) return;
    std::vector<uint8_t> data(count);
    if (direction == Direction::Write) {
        SIZE_T copied = 0;
        if (!ReadProcessMemory(GetCurrentProcess(), source, data.data(), count, &copied) || copied != count) {
            RaiseSystemError(0, kSource);
        }
    }
    buffer_ = std::move(data);
    pending_ = false;
    errorNumber_ = 0;
    bytesTransferred_ = 0;
    bytesToTransfer_ = count;
    signature_ = kSignature;
    overlapped_ = OVERLAPPED{};
    overlapped_.Offset = LowWord(position_);
    overlapped_.OffsetHigh = HighWord(position_);

    // The call's own result is not looked at: its last error decides.
    SetLastError(0);
    if (direction == Direction::Read) {
        api.ReadFileEx(handle, buffer_.data(), count, &overlapped_, &Completed);
    } else {
        api.WriteFileEx(handle, buffer_.data(), count, &overlapped_, &Completed);
    }
    const DWORD code = GetLastError();
    if (code != 0 && code != ERROR_IO_PENDING) RaiseSystemError(static_cast<long>(code), kSource);
    pending_ = true;
}

void CALLBACK AsyncTransfer::Completed(DWORD error, DWORD bytes, OVERLAPPED* overlapped) {
    auto* transfer = reinterpret_cast<AsyncTransfer*>(reinterpret_cast<char*>(overlapped) - offsetof(AsyncTransfer, overlapped_));
    if (transfer->signature_ != kSignature) return;
    transfer->errorNumber_ = error;
    transfer->bytesTransferred_ = bytes;
    transfer->position_ += bytes;
    transfer->pending_ = false;
    if (transfer->orphaned_) delete transfer;
}

bool AsyncTransfer::Wait() {
    if (!pending_) return true;
    return api.SleepEx(kWaitMilliseconds, TRUE) != 0;
}

void AsyncTransfer::Cancel(HANDLE handle) {
    if (pending_) api.CancelIo(handle);
}

void AsyncTransfer::Release(AsyncTransfer* transfer) {
    if (!transfer) return;
    if (transfer->pending_) {
        transfer->orphaned_ = true;
    } else {
        delete transfer;
    }
}

}  // namespace vofs
