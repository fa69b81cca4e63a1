#include "streams/text_stream.h"

#include "common/ansi.h"
#include "common/byte_array.h"
#include "common/large_values.h"
#include "common/platform_api.h"
#include "common/system_error.h"
#include "streams/open_file.h"
#include "streams/stream_rules.h"

#include <algorithm>
#include <optional>
#include <span>

namespace vofs {
namespace {

constexpr LONG kChunkSize = 4096;
constexpr size_t kBlockBytes = 65536;
constexpr wchar_t kInterfaceSource[] = L"ITextStream";

// UTF-16 little-endian bytes as text; an odd last byte is no character.
Bstr FromUtf16(std::string_view bytes) {
    std::wstring text(bytes.size() / 2, L'\0');
    for (size_t i = 0; i < text.size(); ++i)
        text[i] = static_cast<wchar_t>(static_cast<uint8_t>(bytes[2 * i]) | static_cast<uint8_t>(bytes[2 * i + 1]) << 8);
    return Bstr(text);
}

}  // namespace

ComPtr<TextStream> TextStream::On(ComPtr<_IOpenFile> file, ComPtr<_IFileStream> stream) {
    LONG handle = 0;
    if (file) CheckCall(file->get_Handle(&handle));
    if (!file || handle == 0 || handle == -1) RaiseNumber(-1, kClassName);
    if (!stream) Raise(RunTimeError::InvalidCall, kClassName);
    ComPtr<TextStream> text = Make();
    text->file_ = std::move(file);
    text->stream_ = std::move(stream);
    text->work_ = ZeroByteArray(kChunkSize);
    return text;
}

// A fresh array of `count` bytes read through the byte stream, cut to what came back.
std::string TextStream::ReadBytes(LONG count) {
    position_.reset();
    if (count <= 0) return {};
    Variant buffer = ZeroByteArray(static_cast<size_t>(count));
    LONG got = 0;
    CheckCall(stream_->ReadStream(buffer.Get(), 0, count, &got));
    if (got <= 0 || V_VT(buffer.Get()) != (VT_ARRAY | VT_UI1)) return {};
    const ArrayData data(V_ARRAY(buffer.Get()));
    if (!data.Valid()) return {};
    return std::string(reinterpret_cast<const char*>(data.Data()), std::min<uint64_t>(data.Count(), static_cast<uint64_t>(got)));
}

int64_t TextStream::Position() {
    Variant position;
    CheckCall(stream_->get_Position(position.Get()));
    return LargeValueFrom(*position.Get());
}

int64_t TextStream::Length() {
    Variant length;
    CheckCall(stream_->get_Length(length.Get()));
    return LargeValueFrom(*length.Get());
}

void TextStream::Seek(int64_t offset, FilePointerOptions origin) {
    position_.reset();
    Variant target = SizeValue(static_cast<uint64_t>(offset));
    if (offset < 0) target = Variant::FromLong(static_cast<LONG>(offset));
    CheckCall(stream_->SeekPosition(*target.Get(), origin));
}

DWORD TextStream::Access() {
    LONG access = 0;
    CheckCall(file_->get_Access(&access));
    return static_cast<DWORD>(access);
}

void TextStream::WriteText(std::wstring_view text) {
    position_.reset();
    Variant buffer = Variant::FromString(text);
    LONG written = 0;
    CheckCall(stream_->WriteStream(buffer.Get(), -1, -1, &written));
}

// One chunk into the work array, made once: no allocation per chunk. The view holds
// while `lock` does.
std::span<const uint8_t> TextStream::ReadChunk(std::optional<ArrayData>& lock) {
    lock.reset();
    LONG got = 0;
    CheckCall(stream_->ReadStream(work_.Get(), 0, kChunkSize, &got));
    if (got <= 0 || V_VT(work_.Get()) != (VT_ARRAY | VT_UI1)) return {};
    lock.emplace(V_ARRAY(work_.Get()));
    if (!lock->Valid()) return {};
    return {lock->Data(), std::min<size_t>(static_cast<size_t>(got), lock->Count())};
}

Bstr TextStream::ReadLineNow() {
    // A line inside one chunk is converted from the chunk itself; only a line over several
    // chunks is gathered first.
    std::string gathered;
    std::string_view line;
    int64_t start = position_ ? *position_ : Position();
    position_.reset();
    bool fromFileStart = false;
    std::optional<ArrayData> lock;
    for (size_t got = 0;; start += static_cast<int64_t>(got)) {
        const std::span<const uint8_t> chunk = ReadChunk(lock);
        got = chunk.size();
        if (chunk.empty()) break;
        if (stream_rules::StartsWithUnicodeMark(chunk, static_cast<uint64_t>(start))) unicode_ = true;
        const stream_rules::LineEnd end = stream_rules::ScanLine(chunk, unicode_ ? 1 : 0);
        if (end.before != 0) {
            if (line.empty()) fromFileStart = start == 0;
            const std::string_view piece(reinterpret_cast<const char*>(chunk.data()), end.before);
            if (line.empty() && end.terminator != 0) {
                line = piece;
            } else {
                gathered.append(piece);
                line = gathered;
            }
        }
        if (end.terminator != 0) {
            // Back to just after the terminator. A terminator inside what was read lies
            // before the end of the file; one that reaches past it needs the length.
            const int64_t next = start + static_cast<int64_t>(end.before + end.terminator);
            const int64_t readTo = start + static_cast<int64_t>(got);
            if (next < readTo || (next > readTo && next < Length())) {
                Seek(next, BeginOfFile);
                position_ = next;
            } else {
                position_ = readTo;
            }
            break;
        }
    }
    if (!position_) position_ = start;  // at the end of the file
    if (line.empty()) return Bstr(std::wstring_view());
    if (!unicode_) return UserAnsiToBstr(line);
    const bool marked = fromFileStart && line.size() >= 2 && line.compare(0, 2, "\xFF\xFE") == 0;
    return FromUtf16(line.substr(marked ? 2 : 0));
}

HRESULT TextStream::get_OpenFile(_IOpenFile** value) {
    return Get(value, [&] {
        ComPtr<_IOpenFile> file;
        CheckCall(stream_->get_OpenFile(file.GetAddressOf()));
        return file;
    });
}

HRESULT TextStream::get_CanRead(VARIANT_BOOL* value) {
    return Get(value, [&] { return (Access() & GENERIC_READ) != 0; });
}

HRESULT TextStream::get_CanWrite(VARIANT_BOOL* value) {
    return Get(value, [&] { return (Access() & GENERIC_WRITE) != 0; });
}

HRESULT TextStream::get_NewLine(BSTR* value) {
    return Get(value, [&] { return std::wstring_view(newLine_); });
}

HRESULT TextStream::put_NewLine(BSTR value) {
    return Run([&] {
        if (Bstr::View(value).empty()) Raise(RunTimeError::InvalidPropertyValue, kClassName);
        newLine_ = Bstr::View(value);
    });
}

HRESULT TextStream::get_Length(VARIANT* value) {
    return Get(value, [&] {
        Variant length;
        CheckCall(stream_->get_Length(length.Get()));
        return length;
    });
}

HRESULT TextStream::get_AtEndOfLine(VARIANT_BOOL* value) {
    return Get(value, [&] {
        const std::string next = ReadBytes(1);
        // Back by one byte in every case, also at the end of the file, as it always has.
        Seek(-1, FileCurrentPosition);
        return next.size() == 1 && (next[0] == '\n' || next[0] == '\r');
    });
}

HRESULT TextStream::get_AtEndOfStream(VARIANT_BOOL* value) {
    return Get(value, [&] { return Position() >= Length(); });
}

HRESULT TextStream::get_Column(VARIANT* value) {
    return Get(value, [&] {
        Variant position;
        CheckCall(stream_->get_Position(position.Get()));
        return position;
    });
}

HRESULT TextStream::SeekColumn(VARIANT Column) {
    return Run([&] {
        const int64_t column = LargeValueFrom(Column);
        if (column > 0 && column <= Position() + 1) Seek(column - 1, BeginOfFile);
    });
}

HRESULT TextStream::ReadLine(BSTR* value) {
    return Get(value, [&] {
        try {
            return ReadLineNow();
        } catch (const AutomationError& error) {
            throw error.WithSource(kInterfaceSource);
        }
    });
}

HRESULT TextStream::ReadStream(LONG Count, BSTR* value) {
    return Get(value, [&] { return FromUserAnsi(ReadBytes(Count)); });
}

HRESULT TextStream::WriteLine(BSTR Value) {
    return Run([&] {
        std::wstring line(Bstr::View(Value));
        WriteText(line += newLine_);
    });
}

HRESULT TextStream::WriteStream(VARIANT* Buffer, LONG Offset, LONG Count, LONG* value) {
    return Get(value, [&] {
        position_.reset();
        LONG written = 0;
        CheckCall(stream_->WriteStream(Buffer, Offset, Count, &written));
        return written;
    });
}

HRESULT TextStream::ReadToEnd(BSTR* value) {
    return Get(value, [&] {
        const int64_t position = Position(), length = Length();
        if (position >= length) return std::wstring();
        const uint64_t remainder = static_cast<uint64_t>(length - position);
        if (HighWord(remainder) != 0) Raise(RunTimeError::InvalidCall, kClassName);
        return FromUserAnsi(ReadBytes(static_cast<LONG>(remainder)));
    });
}

HRESULT TextStream::WriteBlankLines(LONG Count) {
    return Run([&] {
        if (Count < 1) return;
        // The lines go out as whole lines in blocks of about 64 KB, converted to ANSI once:
        // the bytes one write of them all would give, at the disk's pace and in bounded
        // memory. The stream's first failure ends the work.
        const std::u16string blank = stream_rules::BlankLine(
            std::u16string_view(reinterpret_cast<const char16_t*>(newLine_.data()), newLine_.size()));
        const std::string line = ToUserAnsi(std::wstring_view(reinterpret_cast<const wchar_t*>(blank.data()), blank.size()));
        if (line.empty()) return;
        const LONG perBlock = static_cast<LONG>(std::max<size_t>(1, kBlockBytes / line.size()));
        std::string lines;
        lines.reserve(line.size() * static_cast<size_t>(std::min(Count, perBlock)));
        for (LONG i = 0; i < std::min(Count, perBlock); ++i) lines += line;
        Variant block = ByteArrayOf(std::span(reinterpret_cast<const uint8_t*>(lines.data()), lines.size()));
        position_.reset();
        for (LONG left = Count; left > 0; left -= perBlock) {
            LONG written = 0;
            const auto bytes = static_cast<LONG>(line.size() * static_cast<size_t>(std::min(left, perBlock)));
            CheckCall(stream_->WriteStream(block.Get(), 0, bytes, &written));
        }
    });
}

HRESULT TextStream::Flush() {
    return Run([&] {
        LONG handle = 0;
        CheckCall(file_->get_Handle(&handle));
        CheckPlatformCall(api.FlushFileBuffers(reinterpret_cast<HANDLE>(static_cast<intptr_t>(handle))) != FALSE,
                          kInterfaceSource);
    });
}

HRESULT TextStream::CloseStream() {
    return Run([&] {
        position_.reset();
        CheckCall(file_->CloseFile());
    });
}

}  // namespace vofs
