#pragma once
// FileStream: the byte stream over a local OpenFile. It reads and writes caller memory
// (an address given as a Long), Strings (through the user's ANSI code page) and Byte
// arrays at the file's current position, seeks, sets the length, locks ranges, flushes
// and closes. It asks its OpenFile for the handle on every operation. An open file opened
// with OverlappedIO makes it asynchronous: transfers then start and return at once, and
// complete during AsyncWaitOnIo (async_transfer.h). It implements IFileStream, the byte
// stream interface the FTP stream implements too.

#include "frame/com_object.h"
#include "frame/contract.h"
#include "streams/async_transfer.h"

namespace vofs {

class OpenFile;

class FileStream final : public ComObject<FileStream, _FileStream, _IFileStream> {
public:
    static constexpr wchar_t kClassName[] = L"FileStream";

    static ComPtr<FileStream> On(ComPtr<OpenFile> file);

    // ---- _FileStream and _IFileStream
    HRESULT STDMETHODCALLTYPE Attach(_OpenFile* OpenFile) override;
    HRESULT STDMETHODCALLTYPE get_CanRead(VARIANT_BOOL* value) override;
    HRESULT STDMETHODCALLTYPE get_CanWrite(VARIANT_BOOL* value) override;
    HRESULT STDMETHODCALLTYPE get_CanSeek(VARIANT_BOOL* value) override;
    HRESULT STDMETHODCALLTYPE get_IsAsync(VARIANT_BOOL* value) override;
    HRESULT STDMETHODCALLTYPE get_Length(VARIANT* value) override;
    HRESULT STDMETHODCALLTYPE get_Position(VARIANT* value) override;
    HRESULT STDMETHODCALLTYPE get_Name(BSTR* value) override;
    HRESULT STDMETHODCALLTYPE Flush() override;
    HRESULT STDMETHODCALLTYPE CloseStream() override;
    HRESULT STDMETHODCALLTYPE get_Handle(LONG* value) override;
    HRESULT STDMETHODCALLTYPE get_OpenFile(_OpenFile** value) override;
    HRESULT STDMETHODCALLTYPE get_OpenFile(_IOpenFile** value) override;
    HRESULT STDMETHODCALLTYPE SeekPosition(VARIANT Offset, FilePointerOptions Origin) override;
    HRESULT STDMETHODCALLTYPE SetLength(VARIANT NewValue) override;
    HRESULT STDMETHODCALLTYPE LockStream(VARIANT Position, VARIANT Length) override;
    HRESULT STDMETHODCALLTYPE UnlockStream(VARIANT Position, VARIANT Length) override;
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

private:
    friend class ComObject<FileStream, _FileStream, _IFileStream>;
    FileStream();
    ~FileStream() override;

    void AttachTo(ComPtr<OpenFile> file);
    OpenFile& File() const;
    void Seek(int64_t offset, DWORD origin);
    void Close();
    void LockRange(bool locking, const VARIANT& position, const VARIANT& length);
    LONG Transfer(bool reading, VARIANT* buffer, LONG offset, LONG count);
    LONG StartAsync(bool reading, VARIANT* buffer, LONG count);

    ComPtr<OpenFile> file_;
    AsyncTransferPtr async_;
};

}  // namespace vofs
