#include "paths/path.h"

#include "common/ansi.h"
#include "common/platform_api.h"
#include "common/system_error.h"
#include "ftp/internet_url.h"

namespace vofs {
namespace {

constexpr wchar_t kInvalidPathChars[] = L"\\/:*?\"<>|";

// One element of a segments argument as text.
std::wstring SegmentText(const VARIANT& element) {
    const VARIANT& value = Deref(element);
    if (V_VT(&value) == VT_EMPTY) return {};
    return ToString(value);
}

// The segments argument of the Concat members: a one-dimensional array of Variant or
// String, passed by reference (a script variable) or by value (an expression). Nothing
// given means no segments; anything else is a type mismatch.
std::vector<std::wstring> SegmentsArgument(const VARIANT& argument) {
    const VARIANT& value = Deref(argument);
    if (IsMissing(value) || V_VT(&value) == VT_EMPTY) return {};
    if (!(V_VT(&value) & VT_ARRAY)) Raise(RunTimeError::TypeMismatch);
    SAFEARRAY* array = (V_VT(&value) & VT_BYREF) ? *V_ARRAYREF(&value) : V_ARRAY(&value);
    if (!array) return {};
    if (SafeArrayGetDim(array) != 1) Raise(RunTimeError::InvalidCall);
    LONG lower = 0, upper = -1;
    SafeArrayGetLBound(array, 1, &lower);
    SafeArrayGetUBound(array, 1, &upper);
    const VARTYPE type = V_VT(&value) & VT_TYPEMASK;
    std::vector<std::wstring> segments;
    for (LONG index = lower; index <= upper; ++index) {
        if (type == VT_VARIANT) {
            Variant element;
            CheckConversion(SafeArrayGetElement(array, &index, element.Get()));
            segments.push_back(SegmentText(*element.Get()));
        } else if (type == VT_BSTR) {
            Bstr element;
            CheckConversion(SafeArrayGetElement(array, &index, element.Receive()));
            segments.emplace_back(element.View());
        } else {
            Raise(RunTimeError::TypeMismatch);
        }
    }
    return segments;
}

// The remote name of a mapped drive ("Z:"), or nothing when the drive is not mapped.
std::optional<std::wstring> RemoteNameOf(const std::wstring& drive) {
    if (UseWideCalls()) {
        DWORD length = 0;
        const DWORD probe = api.WNetGetConnectionW(drive.c_str(), nullptr, &length);
        if (probe != ERROR_MORE_DATA) return std::nullopt;
        std::wstring buffer(length, L'\0');
        if (const DWORD result = api.WNetGetConnectionW(drive.c_str(), buffer.data(), &length); result != NO_ERROR) {
            RaiseSystemError(static_cast<long>(result), L"Path");
        }
        return std::wstring(TextBeforeNul(buffer));
    }
    const std::string ansiDrive = ToAnsi(drive);
    DWORD length = 0;
    const DWORD probe = api.WNetGetConnectionA(ansiDrive.c_str(), nullptr, &length);
    if (probe != ERROR_MORE_DATA) return std::nullopt;
    std::string buffer(length, '\0');
    if (const DWORD result = api.WNetGetConnectionA(ansiDrive.c_str(), buffer.data(), &length); result != NO_ERROR) {
        RaiseSystemError(static_cast<long>(result), L"Path");
    }
    return FromAnsi(TextBeforeNul(buffer));
}

}  // namespace

ComPtr<Path> Path::Parse(std::wstring_view text) {
    ComPtr<Path> path = Make();
    path->Initialize(text);
    return path;
}

ComPtr<Path> Path::From(IUnknown* object) {
    if (!object) Raise(RunTimeError::InvalidCall);
    if (Path* own = ImplementationOf<Path>(object)) return ComPtr<Path>(own);
    ComPtr<_IPath> foreign;
    if (FAILED(object->QueryInterface(IID_PPV_ARGS(&foreign)))) Raise(RunTimeError::TypeMismatch);
    Bstr text;
    CheckCall(foreign->get_FullPath(text.Receive()));
    return Parse(text.View());
}

void Path::Initialize(std::wstring_view text) {
    parsed_.reset();
    std::optional<path_text::ParsedPath> parsed = path_text::ParsePath(text);
    if (!parsed) Raise(RunTimeError::InvalidCall, kClassName);
    parsed_ = std::move(parsed);
}

const path_text::ParsedPath& Path::Valid() const {
    if (!parsed_) Raise(RunTimeError::InvalidCall, kClassName);
    return *parsed_;
}

const std::wstring& Path::FullPath() const { return Valid().fullPath; }
bool Path::IsUrl() const { return Valid().isUrl; }
bool Path::IsLogical() const { return Valid().isLogical; }
bool Path::IsNetShare() const { return Valid().isNetShare; }
const std::wstring& Path::Protocol() const { return Valid().protocol; }
wchar_t Path::Separator() const { return Valid().separator; }

size_t Path::SegmentCount() const {
    const path_text::ParsedPath& path = Valid();
    // A path with nothing after "://" has no segment array at all.
    if (path.SegmentCount() == 0) Raise(RunTimeError::TypeMismatch, kClassName);
    return path.SegmentCount();
}

std::wstring_view Path::Segment(size_t index) const {
    SegmentCount();
    return parsed_->Segment(index);
}

std::wstring_view Path::Name() const { return Segment(SegmentCount() - 1); }
std::wstring_view Path::RootPath() const { return path_text::RootPath(Valid()); }
std::wstring Path::RelativePath() const { return path_text::RelativePath(Valid()); }
bool Path::IsRoot() const { return path_text::IsRootRelative(RelativePath()); }

std::wstring Path::PlatformPath() const {
    const path_text::ParsedPath& path = Valid();
    std::wstring form = path_text::PlatformForm(path, UseWideCalls());
    return path.isUrl ? CanonicalizeUrl(form) : form;
}

ComPtr<Path> Path::ParentPath() const {
    const std::wstring parent = path_text::ParentFromPath(Valid().fullPath);
    return parent.empty() ? nullptr : Parse(parent);
}

std::wstring Path::Joined(bool platform, const std::vector<std::wstring>& segments) const {
    // Joining onto the path as written needs no valid path (an invalid one joins onto "").
    std::wstring base = platform ? PlatformPath() : (parsed_ ? parsed_->fullPath : std::wstring());
    const wchar_t separator = parsed_ ? parsed_->separator : L'\\';
    const wchar_t altSeparator = parsed_ ? parsed_->altSeparator : L'/';
    return path_text::JoinPath(std::move(base), separator, altSeparator, segments);
}

ComPtr<Path> Path::JoinedPath(const std::vector<std::wstring>& segments) const {
    return Parse(Joined(false, segments));
}

// ---- _Path and _IPath

HRESULT Path::get_FullPath(BSTR* value) {
    return Get(value, [&] { return parsed_ ? parsed_->fullPath : std::wstring(); });
}

HRESULT Path::get_Name(BSTR* value) { return Get(value, [&] { return Name(); }); }

HRESULT Path::get_Extension(BSTR* value) {
    return Get(value, [&] { return path_text::ExtensionOf(Name()); });
}

HRESULT Path::get_DirectorySeparator(BSTR* value) {
    return Get(value, [&] { return std::wstring(1, parsed_ ? parsed_->separator : L'\\'); });
}

HRESULT Path::get_AltDirectorySeparator(BSTR* value) {
    return Get(value, [&] { return std::wstring(1, parsed_ ? parsed_->altSeparator : L'/'); });
}

HRESULT Path::get_InvalidPathChars(BSTR* value) {
    return Get(value, [] { return std::wstring(kInvalidPathChars); });
}

HRESULT Path::get_VolumeSeparator(BSTR* value) {
    return Get(value, [] { return std::wstring(L":"); });
}

HRESULT Path::get_SegmentCount(LONG* value) {
    return Get(value, [&] { return static_cast<LONG>(SegmentCount()); });
}

HRESULT Path::get_Segments(LONG Index, BSTR* value) {
    return Get(value, [&] {
        if (Index < 0 || static_cast<size_t>(Index) >= SegmentCount()) {
            Raise(RunTimeError::SubscriptOutOfRange, kClassName);
        }
        return Segment(static_cast<size_t>(Index));
    });
}

HRESULT Path::get_PathIsUrl(VARIANT_BOOL* value) { return Get(value, [&] { return IsUrl(); }); }
HRESULT Path::get_PathIsLogical(VARIANT_BOOL* value) { return Get(value, [&] { return IsLogical(); }); }
HRESULT Path::get_PathIsNetShare(VARIANT_BOOL* value) { return Get(value, [&] { return IsNetShare(); }); }
HRESULT Path::get_PathIsRoot(VARIANT_BOOL* value) { return Get(value, [&] { return IsRoot(); }); }
HRESULT Path::get_Protocol(BSTR* value) { return Get(value, [&] { return Protocol(); }); }

HRESULT Path::get_Object(IDispatch** value) {
    return Get(value, [&] { return ComPtr<Path>(this); });
}

HRESULT Path::get_RootPath(BSTR* value) { return Get(value, [&] { return RootPath(); }); }

HRESULT Path::get_RootPathObject(_Path** value) {
    return Get(value, [&] { return Parse(RootPath()); });
}

HRESULT Path::get_Parent(_Path** value) { return Get(value, [&] { return ParentPath(); }); }

HRESULT Path::get_RelativePath(BSTR* value) { return Get(value, [&] { return RelativePath(); }); }

HRESULT Path::GetPlatformPath(BSTR* value) { return Get(value, [&] { return PlatformPath(); }); }

HRESULT Path::ConvertUrlToPath(BSTR* value) {
    return Get(value, [&] { return IsUrl() && Protocol() == L"file" ? PlatformPath() : FullPath(); });
}

HRESULT Path::LogicalPathToUnc(BSTR FullPath, BSTR* value) {
    return Get(value, [&] {
        Valid();
        // A text that is not a drive path (a share path or a URL) is not a mapped drive:
        // it comes back unchanged, as does a drive that is not mapped.
        const ComPtr<Path> given = Parse(Bstr::View(FullPath));
        if (!given->IsLogical() || given->IsUrl()) return given->FullPath();
        const std::optional<std::wstring> remote = RemoteNameOf(given->FullPath().substr(0, 2));
        if (!remote || remote->empty()) return given->FullPath();
        return *remote + L"\\" + given->RelativePath().substr(1);
    });
}

HRESULT Path::ConcatPath(VARIANT PathSegments, BSTR* value) {
    return Get(value, [&] { return Joined(false, SegmentsArgument(PathSegments)); });
}

HRESULT Path::ConcatPlatformPath(VARIANT PathSegments, BSTR* value) {
    return Get(value, [&] { return Joined(true, SegmentsArgument(PathSegments)); });
}

HRESULT Path::ConcatPathObject(VARIANT PathSegments, _Path** value) {
    return Get(value, [&] { return Parse(Joined(false, SegmentsArgument(PathSegments))); });
}

HRESULT Path::ConcatPlatformPathObject(VARIANT PathSegments, _Path** value) {
    return Get(value, [&] { return Parse(Joined(true, SegmentsArgument(PathSegments))); });
}

}  // namespace vofs
