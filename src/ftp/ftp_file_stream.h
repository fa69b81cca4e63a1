#pragma once
// FtpFileStream: the byte stream over an open file on an FTP server (an FtpOpenFile), or,
// attached by a script to a local open file, the local byte stream on that file's handle.
// Over FTP it moves bytes with InternetReadFile and InternetWriteFile, with every buffer
// kind the local stream takes; it cannot seek (CanSeek is false), and a request to move
// to where it already stands is answered without asking the server.
//
// Asynchronous mode (a session opened with AsyncIo): a transfer goes through the stream's
// own buffer and returns at once; WinInet reports its progress and end through status
// notifications, which fill the request record. Kept as the library has always behaved:
// nothing signals the wait event, so AsyncWaitOnIo on a pending request returns false
// when its timeout runs out (pumping window messages meanwhile), and a request that went
// pending leaves AsyncIoPending set, so later transfers raise error 997.
//
// FTP has no lengths to set and no ranges to lock: SetLength is accepted on a writable
// stream without effect (a transfer's length is what it has moved), Flush has nothing to
// push, LockStream and UnlockStream raise error 445.

#include "common/handles.h"
#include "frame/com_object.h"
#include "frame/contract.h"
#include "ftp/internet_session.h"

#include <atomic>
#include <cstdint>
#include <vector>

namespace vofs {

class CallerBuffer;
class FileStream;
class FtpOpenFile;

class FtpFileStream final : public ComObject<FtpFileStream, _FtpFileStream, _IFileStream, _IInternetStatus>,
                            private internet::StatusReceiver {
public:
    static constexpr wchar_t kClassName[] = L"FtpFileStream";

    using internet::StatusReceiver::Context;
    // Attaches to an FTP open file (or a local OpenFile); error 5 without one, error 13
    // for an open file of another library.
    void AttachTo(ComPtr<_IOpenFile> file, bool async);
    ComPtr<_IOpenFile> AttachedFile() const { return file_; }

    // ---- _FtpFileStream and _IFileStream
    HRESULT STDMETHODCALLTYPE Attach(_IOpenFile* OpenFile, VARIANT_BOOL Asyncronous) override;
    HRESULT STDMETHODCALLTYPE get_CanRead(VARIANT_BOOL* value) override;
    HRESULT STDMETHODCALLTYPE get_CanWrite(VARIANT_BOOL* value) override;
    HRESULT STDMETHODCALLTYPE get_CanSeek(VARIANT_BOOL* value) override;
    HRESULT STDMETHODCALLTYPE get_IsAsync(VARIANT_BOOL* value) override;
    HRESULT STDMETHODCALLTYPE get_Length(VARIANT* value) override;
    HRESULT STDMETHODCALLTYPE get_Position(VARIANT* value) override;
    HRESULT STDMETHODCALLTYPE get_Name(BSTR* value) override;
    HRESULT STDMETHODCALLTYPE CloseStream() override;
    HRESULT STDMETHODCALLTYPE get_Handle(LONG* value) override;
    HRESULT STDMETHODCALLTYPE get_OpenFile(_FtpOpenFile** value) override;
    HRESULT STDMETHODCALLTYPE get_OpenFile(_IOpenFile** value) override;
    HRESULT STDMETHODCALLTYPE SeekPosition(VARIANT Offset, FilePointerOptions Origin) override;
    HRESULT STDMETHODCALLTYPE ReadStream(VARIANT* Buffer, LONG Offset, LONG Count, LONG* value) override;
    HRESULT STDMETHODCALLTYPE WriteStream(VARIANT* Buffer, LONG Offset, LONG Count, LONG* value) override;
    HRESULT STDMETHODCALLTYPE AsyncWaitOnIo(LONG TimeoutValue, QueueStatus WakeMask, VARIANT_BOOL* value) override;
    HRESULT STDMETHODCALLTYPE get_AsyncBytesTransfered(LONG* value) override;
    HRESULT STDMETHODCALLTYPE get_AsyncBytesToTransfer(LONG* value) override;
    HRESULT STDMETHODCALLTYPE get_AsyncErrorNumber(LONG* value) override;
    HRESULT STDMETHODCALLTYPE get_AsyncErrorDescription(BSTR* value) override;
    HRESULT STDMETHODCALLTYPE get_AsyncIoPending(VARIANT_BOOL* value) override;
    HRESULT STDMETHODCALLTYPE AsyncCancelIo() override;
    HRESULT STDMETHODCALLTYPE GetAsyncIoBuffer(VARIANT* value) override;
    HRESULT STDMETHODCALLTYPE AsyncErrorRaise() override;
    HRESULT STDMETHODCALLTYPE get_Object(IDispatch** value) override;
    HRESULT STDMETHODCALLTYPE Flush() override;
    HRESULT STDMETHODCALLTYPE SetLength(VARIANT NewValue) override;
    HRESULT STDMETHODCALLTYPE LockStream(VARIANT Position, VARIANT Length) override;
    HRESULT STDMETHODCALLTYPE UnlockStream(VARIANT Position, VARIANT Length) override;

    // ---- _IInternetStatus: a caller's notification carries no information the stream
    // may read (its pointer is not trusted), so only ConnectionClosed has an effect.
    HRESULT STDMETHODCALLTYPE Callback(InternetStatus dwInternetStatus, LONG lpvStatusInformation,
                                       LONG dwStatusInformationLength) override;

private:
    friend class ComObject<FtpFileStream, _FtpFileStream, _IFileStream, _IInternetStatus>;
    FtpFileStream();
    ~FtpFileStream() override;

    // The FTP open file, or error 5 when the stream is not attached to one.
    FtpOpenFile& Remote() const;
    HINTERNET RemoteHandle() const;
    void Close();
    LONG Transfer(bool reading, VARIANT* buffer, LONG offset, LONG count);
    LONG StartAsync(bool reading, const CallerBuffer& caller, uint8_t* at, uint32_t count);
    // At the end of a download's data: error 12031 when the file did not arrive whole.
    void RequireWholeDownload();
    [[noreturn]] void RaiseTransferFailure(DWORD code);
    void OnInternetStatus(DWORD status, void* information, DWORD length) noexcept override;
    // Runs `local` on the local stream when there is one, else `remote`.
    template <class LocalCall, class RemoteCall>
    HRESULT Either(LocalCall&& local, RemoteCall&& remote);

    ComPtr<_IOpenFile> file_;
    ComPtr<FtpOpenFile> remote_;  // the FTP open file, when file_ is one
    ComPtr<FileStream> local_;    // the local stream, when file_ is a local open file
    bool async_ = false;
    uint64_t position_ = 0;  // bytes moved since the file was opened
    KernelHandle event_;
    std::vector<uint8_t> buffer_;  // the asynchronous request's buffer
    // The asynchronous request record, written by WinInet's notifications.
    std::atomic<uint32_t> result_{0}, error_{0}, marker_{0}, transferred_{0}, toTransfer_{0};
    std::atomic<bool> pending_{false};
};

}  // namespace vofs
