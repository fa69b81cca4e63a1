#pragma once
// BackupStreamWriter: restores into a file what a BackupStreamReader delivers, passed the
// reader after each header and each content read: the platform's backup interface gets
// exactly what the reader's buffer holds, headers before their content. Where that
// interface is not available (outside the NT family, over a byte stream that is not a
// local FileStream, or on a platform that answers "not supported") only content is
// written, through the byte stream; headers are skipped. CloseStream releases the backup
// context and closes the file.

#include "frame/com_object.h"
#include "frame/contract.h"
#include "streams/async_forwarding.h"
#include "streams/backup_target.h"

#include <optional>
#include <span>

namespace vofs {

inline constexpr wchar_t kBackupStreamWriterName[] = L"BackupStreamWriter";

class BackupStreamWriter final
    : public ComObject<BackupStreamWriter, ForwardsAsyncIo<_BackupStreamWriter, kBackupStreamWriterName>> {
public:
    static constexpr const wchar_t* kClassName = kBackupStreamWriterName;

    // Failures are raised with source "BackupStreamWriter".
    static ComPtr<BackupStreamWriter> On(ComPtr<_IOpenFile> file, ComPtr<_IFileStream> stream);

    // ---- _BackupStreamWriter
    HRESULT STDMETHODCALLTYPE WriteStream(_BackupStreamReader* Stream, LONG* value) override;
    HRESULT STDMETHODCALLTYPE get_SupportsMultiStreams(VARIANT_BOOL* value) override;
    HRESULT STDMETHODCALLTYPE get_IsAsync(VARIANT_BOOL* value) override;
    HRESULT STDMETHODCALLTYPE get_OpenFile(_IOpenFile** value) override;
    HRESULT STDMETHODCALLTYPE get_StreamBytesWritten(VARIANT* value) override;
    HRESULT STDMETHODCALLTYPE CloseStream() override;

protected:
    _IFileStream* ForwardedStream() override { return target_->Stream(); }

private:
    friend class ComObject<BackupStreamWriter, ForwardsAsyncIo<_BackupStreamWriter, kBackupStreamWriterName>>;
    BackupStreamWriter() = default;
    ~BackupStreamWriter() override;

    LONG Write(_BackupStreamReader* source);
    // BackupWrite of `bytes` (none: opening the context); false when the platform refused.
    bool BackupWrite(std::span<uint8_t> bytes, bool processSecurity, DWORD& written);
    void Close();

    std::optional<BackupTarget> target_;
    void* context_ = nullptr;
    uint64_t bytesWritten_ = 0;
};

}  // namespace vofs
