#pragma once
// The overlapped transfer of an asynchronous FileStream: one record per stream, started
// with ReadFileEx or WriteFileEx and completed by a routine that the platform runs on the
// issuing thread during an alertable wait. The record and its buffer stay where they are
// until that routine has run: a stream released while a transfer is pending hands its
// record over to the routine, which frees it.
//
// The file position of these transfers is their own: it starts at 0 and advances only by
// completed transfers, whatever the stream's seeks do.

#include "common/platform_headers.h"

#include <cstdint>
#include <memory>
#include <vector>

namespace vofs {

class AsyncTransfer {
public:
    enum class Direction { Read, Write };

    // Marks a record that belongs to a started transfer; the routine leaves any other
    // structure alone.
    static constexpr DWORD kSignature = 8675309;

    AsyncTransfer() = default;
    AsyncTransfer(const AsyncTransfer&) = delete;
    AsyncTransfer& operator=(const AsyncTransfer&) = delete;

    // Starts a transfer of `count` bytes (nothing below 1). A write takes its bytes from
    // `source` now, copied so that a bad address fails instead of crashing. A start the
    // platform refuses raises the system error with source "FileStream".
    void Start(HANDLE handle, Direction direction, const void* source, uint32_t count);

    // Waits alertably for up to 5 seconds; true when a completion ended the wait, or at
    // once when nothing is pending.
    bool Wait();
    void Cancel(HANDLE handle);

    bool Pending() const { return pending_; }
    DWORD ErrorNumber() const { return errorNumber_; }
    DWORD BytesTransferred() const { return bytesTransferred_; }
    DWORD BytesToTransfer() const { return bytesToTransfer_; }
    const std::vector<uint8_t>& Buffer() const { return buffer_; }

    // For the owner's release: frees the record now, or leaves it to the routine when a
    // transfer is pending.
    static void Release(AsyncTransfer* transfer);

private:
    static void CALLBACK Completed(DWORD error, DWORD bytes, OVERLAPPED* overlapped);

    OVERLAPPED overlapped_{};  // first: the routine receives its address
    DWORD signature_ = 0;
    DWORD errorNumber_ = 0;
    DWORD bytesTransferred_ = 0;
    DWORD bytesToTransfer_ = 0;
    uint64_t position_ = 0;
    bool pending_ = false;
    bool orphaned_ = false;  // the stream has gone; the routine frees the record
    std::vector<uint8_t> buffer_;
};

struct ReleaseAsyncTransfer {
    void operator()(AsyncTransfer* transfer) const { AsyncTransfer::Release(transfer); }
};
using AsyncTransferPtr = std::unique_ptr<AsyncTransfer, ReleaseAsyncTransfer>;

}  // namespace vofs
