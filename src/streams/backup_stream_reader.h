#pragma once
// BackupStreamReader: walks the streams that the platform's backup interface delivers for
// one file (data, alternate data, security, ...), header by header, and reads each one's
// content into a buffer of its own whose address it hands out. Where that interface is
// not available (outside the NT family, over a byte stream that is not a local
// FileStream, or on a platform that answers "not supported") it presents the file's
// content as one data stream read through the byte stream.
//
// The buffer holds what was read last: a header (the 20 fixed bytes and the name, with
// BufferedHeader true) or content (BufferedHeader false). A writer passed the reader
// after each read writes exactly that.

#include "common/low_memory.h"
#include "frame/com_object.h"
#include "frame/contract.h"
#include "streams/async_forwarding.h"
#include "streams/backup_format.h"
#include "streams/backup_target.h"

#include <optional>
#include <vector>

namespace vofs {

inline constexpr wchar_t kBackupStreamReaderName[] = L"BackupStreamReader";

class BackupStreamReader final
    : public ComObject<BackupStreamReader, ForwardsAsyncIo<_BackupStreamReader, kBackupStreamReaderName>> {
public:
    static constexpr const wchar_t* kClassName = kBackupStreamReaderName;

    // Positioned on the first stream (emulated: with the first buffer already read).
    // Failures are raised with source "BackupStreamReader".
    static ComPtr<BackupStreamReader> On(ComPtr<_IOpenFile> file, ComPtr<_IFileStream> stream, LONG bufferSize,
                                         bool includeSecurity);

    // What a writer takes from the reader.
    std::span<uint8_t> Content() { return {buffer_.get(), contentLength_}; }
    bool HoldsHeader() const { return bufferedHeader_; }
    uint32_t StreamId() const { return header_.id; }
    bool ContainsSecurity() const { return (header_.attributes & 2) != 0; }

    // ---- _BackupStreamReader
    HRESULT STDMETHODCALLTYPE get_BufferSize(LONG* value) override;
    HRESULT STDMETHODCALLTYPE get_StreamName(BSTR* value) override;
    HRESULT STDMETHODCALLTYPE get_StreamType(FileStreamTypes* value) override;
    HRESULT STDMETHODCALLTYPE get_StreamAttributes(FileStreamAttributes* value) override;
    HRESULT STDMETHODCALLTYPE get_ModifiedWhenRead(VARIANT_BOOL* value) override;
    HRESULT STDMETHODCALLTYPE get_ContainsSecurity(VARIANT_BOOL* value) override;
    HRESULT STDMETHODCALLTYPE get_ContainsProperties(VARIANT_BOOL* value) override;
    HRESULT STDMETHODCALLTYPE get_IsSparse(VARIANT_BOOL* value) override;
    HRESULT STDMETHODCALLTYPE get_StreamSize(VARIANT* value) override;
    HRESULT STDMETHODCALLTYPE get_lpBuffer(LONG* value) override;
    HRESULT STDMETHODCALLTYPE GetFirstStream(VARIANT_BOOL* value) override;
    HRESULT STDMETHODCALLTYPE GetNextStream(VARIANT_BOOL* value) override;
    HRESULT STDMETHODCALLTYPE get_SupportsMultiStreams(VARIANT_BOOL* value) override;
    HRESULT STDMETHODCALLTYPE get_IsAsync(VARIANT_BOOL* value) override;
    HRESULT STDMETHODCALLTYPE ReadStream(LONG* value) override;
    HRESULT STDMETHODCALLTYPE get_BufferContentLength(LONG* value) override;
    HRESULT STDMETHODCALLTYPE get_BufferedHeader(VARIANT_BOOL* value) override;
    HRESULT STDMETHODCALLTYPE get_OpenFile(_IOpenFile** value) override;
    HRESULT STDMETHODCALLTYPE get_StreamBytesRead(VARIANT* value) override;
    HRESULT STDMETHODCALLTYPE CloseStream() override;

protected:
    _IFileStream* ForwardedStream() override { return target_->Stream(); }

private:
    friend class ComObject<BackupStreamReader, ForwardsAsyncIo<_BackupStreamReader, kBackupStreamReaderName>>;
    BackupStreamReader() = default;
    ~BackupStreamReader() override;

    void SetBufferSize(LONG requested);
    // Makes the buffer hold at least `bytes`, keeping its content.
    void Reserve(uint32_t bytes);
    bool FirstStream();
    bool NextStream();
    bool ReadHeader();
    LONG ReadContent();
    // BackupRead of `count` bytes into the buffer after `at`; the bytes read. A failure
    // raises the system error, unless `tolerated` says the platform set no error code.
    DWORD BackupReadInto(uint32_t at, uint32_t count, bool tolerated = false);
    void ReleaseContext() noexcept;
    // The current stream's size: the header's, or the byte stream's length when emulated;
    // as a Long or Decimal, and as a count.
    Variant StreamSize() const;
    uint64_t StreamSizeCount() const;

    std::optional<BackupTarget> target_;
    bool includeSecurity_ = false;
    int32_t bufferSize_ = 0;
    LowBlock buffer_;
    uint32_t capacity_ = 0;  // at least the buffer size, and room for a header and name
    uint32_t contentLength_ = 0;
    bool bufferedHeader_ = false;
    backup_format::StreamHeader header_;
    std::vector<uint8_t> nameBytes_;
    uint64_t bytesRead_ = 0;
    void* context_ = nullptr;
    std::optional<bool> multiStreams_;
};

}  // namespace vofs
