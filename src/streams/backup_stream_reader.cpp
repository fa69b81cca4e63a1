#include "streams/backup_stream_reader.h"

#include "common/large_values.h"
#include "common/long_handles.h"
#include "common/platform_api.h"
#include "common/system_error.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace vofs {
namespace {

using namespace backup_format;

constexpr uint32_t kDataStream = 1;
// Room for a header and a stream name whatever the buffer size (names of NTFS streams
// take at most 255 characters and the ":$DATA" suffix); a longer name grows the buffer,
// up to a limit that no real name comes near.
constexpr uint32_t kHeaderRoom = kHeaderSize + 1024;
constexpr uint32_t kLongestName = 65536;
constexpr HRESULT kNotSupported = HRESULT_FROM_WIN32(ERROR_NOT_SUPPORTED);

}  // namespace

ComPtr<BackupStreamReader> BackupStreamReader::On(ComPtr<_IOpenFile> file, ComPtr<_IFileStream> stream,
                                                  LONG bufferSize, bool includeSecurity) {
    ComPtr<BackupStreamReader> reader = Make();
    try {
        reader->target_.emplace(std::move(file), std::move(stream));
        reader->SetBufferSize(bufferSize);
        reader->includeSecurity_ = includeSecurity;
        if (!reader->target_->Emulated()) {
            try {
                reader->FirstStream();
                return reader;
            } catch (const AutomationError& error) {
                // A platform without a backup interface answers its first call so.
                if (error.Number() != kNotSupported || reader->context_) throw;
                reader->target_->Emulate(ERROR_NOT_SUPPORTED, kClassName);
            }
        }
        reader->ReadContent();
        reader->header_.id = kDataStream;
    } catch (const AutomationError& error) {
        throw error.WithSource(kClassName);
    }
    return reader;
}

BackupStreamReader::~BackupStreamReader() { ReleaseContext(); }

void BackupStreamReader::SetBufferSize(LONG requested) {
    const int32_t size = BufferSizeFor(requested);
    if (buffer_ && size == bufferSize_) return;
    bufferSize_ = size;
    Reserve(std::max(static_cast<uint32_t>(size), kHeaderRoom));
    contentLength_ = 0;
}

void BackupStreamReader::Reserve(uint32_t bytes) {
    if (buffer_ && bytes <= capacity_) return;
    LowBlock larger = AllocateLowBlock(bytes);
    if (buffer_) std::memcpy(larger.get(), buffer_.get(), contentLength_);
    buffer_ = std::move(larger);
    capacity_ = bytes;
}

DWORD BackupStreamReader::BackupReadInto(uint32_t at, uint32_t count, bool tolerated) {
    DWORD read = 0;
    SetLastError(NO_ERROR);
    if (!api.BackupRead(target_->Handle(), buffer_.get() + at, count, &read, FALSE, includeSecurity_, &context_)) {
        const DWORD error = GetLastError();
        if (!tolerated || error != NO_ERROR) RaiseSystemError(static_cast<long>(error), kClassName);
    }
    return read;
}

bool BackupStreamReader::ReadHeader() {
    bytesRead_ = 0;
    const DWORD read = BackupReadInto(0, kHeaderSize);
    bufferedHeader_ = true;
    contentLength_ = read;
    header_ = DecodeHeader({buffer_.get(), read});
    if (read == 0) {
        header_ = {};
        return false;
    }
    if (header_.nameSize > 0) {
        // The name follows the header in the buffer.
        if (header_.nameSize > kLongestName) RaiseSystemError(ERROR_INVALID_DATA, kClassName);
        Reserve(contentLength_ + header_.nameSize);
        const DWORD nameRead = BackupReadInto(contentLength_, header_.nameSize);
        nameBytes_.assign(buffer_.get() + contentLength_, buffer_.get() + contentLength_ + nameRead);
        contentLength_ += nameRead;
    } else {
        nameBytes_.clear();
    }
    return true;
}

bool BackupStreamReader::FirstStream() {
    bytesRead_ = 0;
    if (target_->Emulated()) {
        Variant start = Variant::FromLong(0);
        CheckCall(target_->Stream()->SeekPosition(*start.Get(), BeginOfFile));
        return true;
    }
    if (api.SetFilePointer(target_->Handle(), 0, nullptr, FILE_BEGIN) == INVALID_SET_FILE_POINTER) {
        RaiseSystemError(static_cast<long>(GetLastError()), kClassName);
    }
    return ReadHeader();
}

bool BackupStreamReader::NextStream() {
    if (target_->Emulated()) return false;
    if (header_.id == kDataStream && target_->IsAsync() && !FirstStream()) return false;
    if (header_.id != 0) {
        const uint64_t remainder = Unread(StreamSizeCount(), bytesRead_);
        DWORD movedLow = 0, movedHigh = 0;
        SetLastError(NO_ERROR);
        const bool sought = context_ && api.BackupSeek(target_->Handle(), static_cast<DWORD>(remainder),
                                                       static_cast<DWORD>(remainder >> 32), &movedLow, &movedHigh, &context_);
        const DWORD error = GetLastError();
        if (remainder > 0 && !sought && movedLow == 0 && movedHigh == 0 && error != NO_ERROR) {
            RaiseSystemError(static_cast<long>(error), kClassName);
        }
    }
    return ReadHeader();
}

LONG BackupStreamReader::ReadContent() {
    LONG read = 0;
    const bool throughStream = target_->Emulated() || (header_.id == kDataStream && target_->IsAsync());
    if (throughStream) {
        read = target_->Transfer(true, buffer_.get(), bufferSize_);
    } else {
        if (!context_) Raise(RunTimeError::InvalidCall, kClassName);
        read = static_cast<LONG>(BackupReadInto(0, ReadRequest(bufferSize_, StreamSizeCount(), bytesRead_), true));
    }
    bufferedHeader_ = false;
    contentLength_ = static_cast<uint32_t>(read);
    bytesRead_ += static_cast<uint32_t>(read);
    return read;
}

Variant BackupStreamReader::StreamSize() const {
    if (!target_->Emulated()) return SizeValue(header_.size);
    Variant length;
    CheckCall(target_->Stream()->get_Length(length.Get()));
    return length;
}

uint64_t BackupStreamReader::StreamSizeCount() const {
    return target_->Emulated() ? static_cast<uint64_t>(LargeValueFrom(*StreamSize().Get())) : header_.size;
}

void BackupStreamReader::ReleaseContext() noexcept {
    if (context_ && target_) {
        DWORD ignored = 0;
        api.BackupRead(target_->HandleOrNone(), nullptr, 0, &ignored, TRUE, FALSE, &context_);
        context_ = nullptr;
    }
    header_ = {};
    nameBytes_.clear();
}

// ---- _BackupStreamReader

HRESULT BackupStreamReader::get_BufferSize(LONG* value) {
    return Get(value, [&] { return static_cast<LONG>(bufferSize_); });
}

HRESULT BackupStreamReader::get_StreamName(BSTR* value) {
    return Get(value, [&] {
        const std::u16string name = NameText(nameBytes_);
        return std::wstring(name.begin(), name.end());
    });
}

HRESULT BackupStreamReader::get_StreamType(FileStreamTypes* value) {
    return Get(value, [&] { return static_cast<long>(header_.id); });
}

HRESULT BackupStreamReader::get_StreamAttributes(FileStreamAttributes* value) {
    return Get(value, [&] { return static_cast<long>(header_.attributes); });
}

HRESULT BackupStreamReader::get_ModifiedWhenRead(VARIANT_BOOL* value) {
    return Get(value, [&] { return (header_.attributes & 1) != 0; });
}

HRESULT BackupStreamReader::get_ContainsSecurity(VARIANT_BOOL* value) {
    return Get(value, [&] { return ContainsSecurity(); });
}

HRESULT BackupStreamReader::get_ContainsProperties(VARIANT_BOOL* value) {
    return Get(value, [&] { return (header_.attributes & 4) != 0; });
}

HRESULT BackupStreamReader::get_IsSparse(VARIANT_BOOL* value) {
    return Get(value, [&] { return (header_.attributes & 8) != 0; });
}

HRESULT BackupStreamReader::get_StreamSize(VARIANT* value) {
    return Get(value, [&] { return StreamSize(); });
}

HRESULT BackupStreamReader::get_lpBuffer(LONG* value) {
    return Get(value, [&] { return AddressAsLong(buffer_.get()); });
}

HRESULT BackupStreamReader::GetFirstStream(VARIANT_BOOL* value) {
    return Get(value, [&] { return FirstStream(); });
}

HRESULT BackupStreamReader::GetNextStream(VARIANT_BOOL* value) {
    return Get(value, [&] { return NextStream(); });
}

HRESULT BackupStreamReader::get_SupportsMultiStreams(VARIANT_BOOL* value) {
    return Get(value, [&] {
        if (!multiStreams_) multiStreams_ = target_->SupportsMultiStreams();
        return *multiStreams_;
    });
}

HRESULT BackupStreamReader::get_IsAsync(VARIANT_BOOL* value) {
    return Get(value, [&] { return target_->IsAsync(); });
}

HRESULT BackupStreamReader::ReadStream(LONG* value) {
    return Get(value, [&] { return ReadContent(); });
}

HRESULT BackupStreamReader::get_BufferContentLength(LONG* value) {
    return Get(value, [&] { return static_cast<LONG>(contentLength_); });
}

HRESULT BackupStreamReader::get_BufferedHeader(VARIANT_BOOL* value) {
    return Get(value, [&] { return bufferedHeader_; });
}

HRESULT BackupStreamReader::get_OpenFile(_IOpenFile** value) {
    return Get(value, [&] { return ComPtr<_IOpenFile>(target_->File()); });
}

HRESULT BackupStreamReader::get_StreamBytesRead(VARIANT* value) {
    return Get(value, [&] { return PreciseValue(bytesRead_); });
}

HRESULT BackupStreamReader::CloseStream() {
    return Run([&] { ReleaseContext(); });
}

}  // namespace vofs
