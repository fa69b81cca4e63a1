#pragma once
// TextStream: lines of text over any byte stream (IFileStream) and its open file
// (IOpenFile), local or remote. It keeps no read buffer: every call works at the byte
// stream's position and leaves it just after what it consumed. Text is read as ANSI in
// the user's code page, or as UTF-16 once ReadLine has met the mark FF FE at the start of
// the file; it is always written as ANSI. Lines are found chunk by chunk (4096 bytes), so
// a CR that ends a chunk ends a line on its own (stream_rules.h). The byte stream is this
// object's own: it is not handed out, so only this object moves its position.

#include "common/byte_array.h"
#include "frame/com_object.h"
#include "frame/contract.h"

#include <optional>
#include <span>
#include <string>

namespace vofs {

class TextStream final : public ComObject<TextStream, _TextStream, _ITextStream> {
public:
    static constexpr wchar_t kClassName[] = L"TextStream";

    static ComPtr<TextStream> On(ComPtr<_IOpenFile> file, ComPtr<_IFileStream> stream);

    // ---- _TextStream and _ITextStream
    HRESULT STDMETHODCALLTYPE get_OpenFile(_IOpenFile** value) override;
    HRESULT STDMETHODCALLTYPE get_CanRead(VARIANT_BOOL* value) override;
    HRESULT STDMETHODCALLTYPE get_CanWrite(VARIANT_BOOL* value) override;
    HRESULT STDMETHODCALLTYPE get_NewLine(BSTR* value) override;
    HRESULT STDMETHODCALLTYPE put_NewLine(BSTR value) override;
    HRESULT STDMETHODCALLTYPE get_Length(VARIANT* value) override;
    HRESULT STDMETHODCALLTYPE get_AtEndOfLine(VARIANT_BOOL* value) override;
    HRESULT STDMETHODCALLTYPE get_AtEndOfStream(VARIANT_BOOL* value) override;
    HRESULT STDMETHODCALLTYPE get_Column(VARIANT* value) override;
    HRESULT STDMETHODCALLTYPE SeekColumn(VARIANT Column) override;
    HRESULT STDMETHODCALLTYPE ReadLine(BSTR* value) override;
    HRESULT STDMETHODCALLTYPE ReadStream(LONG Count, BSTR* value) override;
    HRESULT STDMETHODCALLTYPE WriteLine(BSTR Value) override;
    HRESULT STDMETHODCALLTYPE WriteStream(VARIANT* Buffer, LONG Offset, LONG Count, LONG* value) override;
    HRESULT STDMETHODCALLTYPE ReadToEnd(BSTR* value) override;
    HRESULT STDMETHODCALLTYPE WriteBlankLines(LONG Count) override;
    HRESULT STDMETHODCALLTYPE Flush() override;
    HRESULT STDMETHODCALLTYPE CloseStream() override;

private:
    friend class ComObject<TextStream, _TextStream, _ITextStream>;
    TextStream() = default;

    std::string ReadBytes(LONG count);
    std::span<const uint8_t> ReadChunk(std::optional<ArrayData>& lock);
    Bstr ReadLineNow();
    void WriteText(std::wstring_view text);
    int64_t Position();
    int64_t Length();
    void Seek(int64_t offset, FilePointerOptions origin);
    DWORD Access();

    ComPtr<_IOpenFile> file_;
    ComPtr<_IFileStream> stream_;
    Variant work_;  // the chunk array, made once
    // Where ReadLine left the byte stream, so that the next ReadLine needs no position
    // query (a platform call); forgotten by every other member that moves or reads.
    std::optional<int64_t> position_;
    std::wstring newLine_ = L"\r\n";
    bool unicode_ = false;
};

}  // namespace vofs
