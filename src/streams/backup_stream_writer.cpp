#include "streams/backup_stream_writer.h"

#include "common/large_values.h"
#include "common/platform_api.h"
#include "common/system_error.h"
#include "streams/backup_format.h"
#include "streams/backup_stream_reader.h"

#include <utility>

namespace vofs {
namespace {

constexpr HRESULT kNotSupported = HRESULT_FROM_WIN32(ERROR_NOT_SUPPORTED);

}  // namespace

ComPtr<BackupStreamWriter> BackupStreamWriter::On(ComPtr<_IOpenFile> file, ComPtr<_IFileStream> stream) {
    ComPtr<BackupStreamWriter> writer = Make();
    try {
        writer->target_.emplace(std::move(file), std::move(stream));
    } catch (const AutomationError& error) {
        throw error.WithSource(kClassName);
    }
    return writer;
}

BackupStreamWriter::~BackupStreamWriter() {
    try {
        Close();
    } catch (...) {
        // Ending the object never fails.
    }
}

bool BackupStreamWriter::BackupWrite(std::span<uint8_t> bytes, bool processSecurity, DWORD& written) {
    written = 0;
    SetLastError(NO_ERROR);
    return api.BackupWrite(target_->Handle(), bytes.data(), static_cast<DWORD>(bytes.size()), &written, FALSE,
                           processSecurity, &context_) != FALSE;
}

LONG BackupStreamWriter::Write(_BackupStreamReader* source) {
    BackupStreamReader* reader = ImplementationOf<BackupStreamReader>(source);
    if (!reader) Raise(RunTimeError::InvalidCall);
    const std::span<uint8_t> content = reader->Content();
    if (content.empty()) Raise(RunTimeError::InvalidCall);

    using backup_format::WriteRoute;
    WriteRoute route = backup_format::RouteOf(target_->Emulated(), target_->IsAsync(), reader->StreamId(), reader->HoldsHeader());
    DWORD written = 0;
    if (route == WriteRoute::Backup && !context_ && !BackupWrite({}, true, written)) {
        const DWORD error = GetLastError();
        // A platform without a backup interface answers the first call so.
        if (error != ERROR_NOT_SUPPORTED) RaiseSystemError(static_cast<long>(error), kClassName);
        target_->Emulate(error, kClassName);
        route = backup_format::RouteOf(true, false, reader->StreamId(), reader->HoldsHeader());
    }
    switch (route) {
        case WriteRoute::SkipHeader: return 0;
        case WriteRoute::ByteStream:
            written = static_cast<DWORD>(target_->Transfer(false, content.data(), static_cast<LONG>(content.size())));
            break;
        case WriteRoute::Backup:
            if (reader->HoldsHeader()) bytesWritten_ = 0;
            if (!BackupWrite(content, reader->ContainsSecurity(), written)) {
                RaiseSystemError(static_cast<long>(GetLastError()), kClassName);
            }
            break;
    }
    bytesWritten_ += written;
    return static_cast<LONG>(written);
}

void BackupStreamWriter::Close() {
    if (!target_) return;
    if (context_) {
        DWORD ignored = 0;
        api.BackupWrite(target_->HandleOrNone(), nullptr, 0, &ignored, TRUE, FALSE, &context_);
        context_ = nullptr;
    }
    CheckCall(target_->File()->CloseFile());
}

// ---- _BackupStreamWriter

HRESULT BackupStreamWriter::WriteStream(_BackupStreamReader* Stream, LONG* value) {
    return Get(value, [&] { return Write(Stream); });
}

HRESULT BackupStreamWriter::get_SupportsMultiStreams(VARIANT_BOOL* value) {
    return Get(value, [&] { return target_->SupportsMultiStreams(); });
}

HRESULT BackupStreamWriter::get_IsAsync(VARIANT_BOOL* value) {
    return Get(value, [&] { return target_->IsAsync(); });
}

HRESULT BackupStreamWriter::get_OpenFile(_IOpenFile** value) {
    return Get(value, [&] { return ComPtr<_IOpenFile>(target_->File()); });
}

HRESULT BackupStreamWriter::get_StreamBytesWritten(VARIANT* value) {
    return Get(value, [&] { return PreciseValue(bytesWritten_); });
}

HRESULT BackupStreamWriter::CloseStream() {
    return Run([&] { Close(); });
}

}  // namespace vofs
