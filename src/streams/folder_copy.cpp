#include "streams/folder_copy.h"

#include "common/bstr.h"
#include "common/byte_array.h"
#include "common/error.h"
#include "common/large_values.h"
#include "common/system_error.h"
#include "common/variant.h"
#include "paths/path_text.h"

#include <algorithm>
#include <cwctype>
#include <string>
#include <vector>

namespace vofs {
namespace {

constexpr LONG kChunkSize = 65536;

bool Flag(VARIANT_BOOL value) { return value != VARIANT_FALSE; }

// The child of `folder` named `name`, as the folder's own kind of item.
ComPtr<_IFolderItem> ChildOf(_IFolderItem* folder, BSTR name) {
    ComPtr<_IPath> path;
    CheckCall(folder->get_Path(path.GetAddressOf()));
    // The segments to join go as an array of Variants.
    Variant segments;
    SAFEARRAY* array = SafeArrayCreateVector(VT_VARIANT, 0, 1);
    if (!array) Raise(RunTimeError::OutOfMemory);
    V_VT(segments.Get()) = VT_ARRAY | VT_VARIANT;
    V_ARRAY(segments.Get()) = array;
    LONG first = 0;
    VARIANT segment{};
    V_VT(&segment) = VT_BSTR, V_BSTR(&segment) = name;
    CheckConversion(SafeArrayPutElement(array, &first, &segment));
    Bstr joined;
    CheckCall(path->ConcatPath(*segments.Get(), joined.Receive()));
    ComPtr<_IFolderItem> child;
    CheckCall(folder->GetFolderItem(joined.Get(), child.GetAddressOf()));
    return child;
}

// Closes a stream when the copy of its file ends, however it ends.
class StreamCloser {
public:
    explicit StreamCloser(_IFileStream* stream) : stream_(stream) {}
    ~StreamCloser() {
        if (stream_) stream_->CloseStream();
    }
    StreamCloser(const StreamCloser&) = delete;
    StreamCloser& operator=(const StreamCloser&) = delete;

private:
    _IFileStream* stream_;
};

// The path's segments, lower-cased, whatever separators (and how many) it was written with.
std::vector<std::wstring> SegmentsOf(_IFolderItem* item) {
    ComPtr<_IPath> path;
    CheckCall(item->get_Path(path.GetAddressOf()));
    Bstr text;
    CheckCall(path->get_FullPath(text.Receive()));
    std::vector<std::wstring> segments(1);
    for (const wchar_t c : text.View()) {
        if (c != L'\\' && c != L'/') {
            segments.back() += static_cast<wchar_t>(towlower(c));
        } else if (!segments.back().empty()) {
            segments.emplace_back();
        }
    }
    if (segments.back().empty()) segments.pop_back();
    return segments;
}

// A folder copied into itself or below itself would meet its own copies for ever.
void RefuseCopyIntoItself(_IFolderItem* source, _IFolderItem* destination) {
    const std::vector<std::wstring> from = SegmentsOf(source), to = SegmentsOf(destination);
    if (to.size() >= from.size() && std::equal(from.begin(), from.end(), to.begin())) Raise(RunTimeError::InvalidCall);
}

void CopyFile(_IFolderItem* source, _IFolderItem* destination, bool overwriteFiles) {
    ComPtr<_IFileStream> reader;
    CheckCall(source->OpenStreamReader(reader.GetAddressOf()));
    const StreamCloser closeReader(reader.Get());
    VARIANT_BOOL exists = VARIANT_FALSE;
    CheckCall(destination->get_Exists(&exists));
    if (Flag(exists)) {
        if (!overwriteFiles) return;
        CheckCall(destination->put_Attributes(Normal));
    }
    ComPtr<_IFileStream> writer;
    CheckCall(destination->OpenStreamWriter(writer.GetAddressOf()));
    const StreamCloser closeWriter(writer.Get());
    Variant length;
    CheckCall(reader->get_Length(length.Get()));
    CheckCall(writer->SetLength(*length.Get()));
    Variant start = Variant::FromLong(0);
    CheckCall(writer->SeekPosition(*start.Get(), BeginOfFile));

    Variant chunk = ZeroByteArray(kChunkSize);
    uint64_t copied = 0;
    for (LONG read = 1; read > 0;) {
        CheckCall(reader->ReadStream(chunk.Get(), -1, -1, &read));
        if (read <= 0) break;
        LONG written = 0;
        CheckCall(writer->WriteStream(chunk.Get(), -1, read, &written));
        VARIANT_BOOL done = VARIANT_FALSE;
        CheckCall(writer->AsyncWaitOnIo(0, QsAllInput, &done));
        copied += static_cast<uint64_t>(read);
    }
    // The writer ends where the copy ends, whatever the length read at the start said.
    Variant total = SizeValue(copied);
    CheckCall(writer->SetLength(*total.Get()));

    ComPtr<_IOpenFile> file;
    CheckCall(writer->get_OpenFile(file.GetAddressOf()));
    VARIANT_BOOL canSetTimes = VARIANT_FALSE;
    if (file) CheckCall(file->IsSupported(iofSetLastWriteTime, &canSetTimes));
    if (Flag(canSetTimes)) {
        Variant written, accessed;
        CheckCall(source->get_PreciseLastWriteTime(written.Get()));
        CheckCall(file->SetLastWriteTime(*written.Get()));
        CheckCall(source->get_PreciseLastAccessTime(accessed.Get()));
        CheckCall(file->SetLastAccessTime(*accessed.Get()));
    }
}

void CopyTree(_IFolderItem* source, _IFolderItem* destination, bool overwriteFiles) {
    VARIANT_BOOL exists = VARIANT_FALSE;
    CheckCall(destination->get_Exists(&exists));
    if (!Flag(exists)) CheckCall(destination->CreateFolder());

    ComPtr<_IFolderEnumerator> entries;
    Bstr noFilter(L"");
    CheckCall(source->EnumFolder(noFilter.Get(), entries.GetAddressOf()));
    for (VARIANT_BOOL open = VARIANT_FALSE; SUCCEEDED(entries->get_IsOpen(&open)) && Flag(open);) {
        ComPtr<_IFolderItem> entry;
        CheckCall(entries->GetFolderItem(entry.GetAddressOf()));
        Bstr name;
        // An entry named " " or "..." cannot be reached by its path (that path names the
        // source folder itself): the copy stops rather than copy the folder into itself.
        CheckCall(entries->get_Name(name.Receive()));
        if (path_text::NamesItsOwnFolder(name.View())) {
            throw AutomationError(HRESULT_FROM_WIN32(ERROR_INVALID_NAME), SystemErrorText(ERROR_INVALID_NAME));
        }
        CheckCall(entry->get_Name(name.Receive()));
        const ComPtr<_IFolderItem> target = ChildOf(destination, name.Get());
        VARIANT_BOOL isFolder = VARIANT_FALSE;
        CheckCall(entry->get_IsFolder(&isFolder));
        if (Flag(isFolder)) {
            CopyTree(entry.Get(), target.Get(), overwriteFiles);
        } else {
            CopyFile(entry.Get(), target.Get(), overwriteFiles);
        }
        VARIANT_BOOL more = VARIANT_FALSE;
        CheckCall(entries->GetNextItem(&more));
    }
}

}  // namespace

void CopyFolderTree(_IFolderItem* source, _IFolderItem* destination, bool overwriteFiles) {
    if (!source || !destination) Raise(RunTimeError::InvalidCall);
    RefuseCopyIntoItself(source, destination);
    CopyTree(source, destination, overwriteFiles);
}

}  // namespace vofs
