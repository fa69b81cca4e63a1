#pragma once
// Path: the library's immutable parsed path. It is made from one full path text (a drive
// path, a network share path or a URL), classifies it once, splits it into segments once
// and then answers questions about it. It implements IPath, the abstract path interface
// every item, enumerator and FTP object hands out; IPath's members are Path's own.
//
// Library code makes paths with Path::Parse(text), which raises error 5 for text that is
// no path, and reads them through the plain C++ accessors below.

#include "frame/com_object.h"
#include "frame/contract.h"
#include "paths/path_text.h"

#include <optional>
#include <string>
#include <vector>

namespace vofs {

class Path final : public ComObject<Path, _Path, _IPath> {
public:
    static constexpr wchar_t kClassName[] = L"Path";

    // A new path for the text; text that is neither a URL, a share path nor a drive path
    // raises error 5.
    static ComPtr<Path> Parse(std::wstring_view text);

    // The Path behind any IPath: the library's own object, or a new one parsed from a
    // foreign implementation's FullPath.
    static ComPtr<Path> From(IUnknown* path);

    // ---- for library code (all of these raise error 5 on a path that did not parse)
    const std::wstring& FullPath() const;
    bool IsUrl() const;
    bool IsLogical() const;
    bool IsNetShare() const;
    const std::wstring& Protocol() const;  // lower case; empty for a non-URL
    wchar_t Separator() const;             // "\" for local and share paths, "/" for URLs
    // The segments; a path such as ftp:// has none (its segment members then raise
    // type mismatch). Views of the path's own text, valid while the path lives.
    size_t SegmentCount() const;
    std::wstring_view Segment(size_t index) const;
    std::wstring_view Name() const;
    std::wstring_view RootPath() const;
    std::wstring RelativePath() const;
    bool IsRoot() const;
    // The form platform calls take: long-path prefixes when wide calls are in use, URLs
    // canonicalised.
    std::wstring PlatformPath() const;
    // The parent path, or null for a URL host (ftp://h has no parent). Raises error 5 when
    // the parent text is not a path (the parent of C:\ is C).
    ComPtr<Path> ParentPath() const;
    // The path (or its platform form) joined with more segments.
    std::wstring Joined(bool platform, const std::vector<std::wstring>& segments) const;
    ComPtr<Path> JoinedPath(const std::vector<std::wstring>& segments) const;

    // ---- _Path and _IPath
    HRESULT STDMETHODCALLTYPE get_FullPath(BSTR* value) override;
    HRESULT STDMETHODCALLTYPE get_Name(BSTR* value) override;
    HRESULT STDMETHODCALLTYPE get_Extension(BSTR* value) override;
    HRESULT STDMETHODCALLTYPE get_DirectorySeparator(BSTR* value) override;
    HRESULT STDMETHODCALLTYPE get_AltDirectorySeparator(BSTR* value) override;
    HRESULT STDMETHODCALLTYPE get_InvalidPathChars(BSTR* value) override;
    HRESULT STDMETHODCALLTYPE get_VolumeSeparator(BSTR* value) override;
    HRESULT STDMETHODCALLTYPE get_SegmentCount(LONG* value) override;
    HRESULT STDMETHODCALLTYPE get_Segments(LONG Index, BSTR* value) override;
    HRESULT STDMETHODCALLTYPE get_PathIsUrl(VARIANT_BOOL* value) override;
    HRESULT STDMETHODCALLTYPE get_PathIsLogical(VARIANT_BOOL* value) override;
    HRESULT STDMETHODCALLTYPE get_PathIsNetShare(VARIANT_BOOL* value) override;
    HRESULT STDMETHODCALLTYPE get_PathIsRoot(VARIANT_BOOL* value) override;
    HRESULT STDMETHODCALLTYPE get_Protocol(BSTR* value) override;
    HRESULT STDMETHODCALLTYPE get_Object(IDispatch** value) override;
    HRESULT STDMETHODCALLTYPE get_RootPath(BSTR* value) override;
    HRESULT STDMETHODCALLTYPE get_RootPathObject(_Path** value) override;
    HRESULT STDMETHODCALLTYPE get_Parent(_Path** value) override;
    HRESULT STDMETHODCALLTYPE get_RelativePath(BSTR* value) override;
    HRESULT STDMETHODCALLTYPE GetPlatformPath(BSTR* value) override;
    HRESULT STDMETHODCALLTYPE ConvertUrlToPath(BSTR* value) override;
    HRESULT STDMETHODCALLTYPE LogicalPathToUnc(BSTR FullPath, BSTR* value) override;
    HRESULT STDMETHODCALLTYPE ConcatPath(VARIANT PathSegments, BSTR* value) override;
    HRESULT STDMETHODCALLTYPE ConcatPlatformPath(VARIANT PathSegments, BSTR* value) override;
    HRESULT STDMETHODCALLTYPE ConcatPathObject(VARIANT PathSegments, _Path** value) override;
    HRESULT STDMETHODCALLTYPE ConcatPlatformPathObject(VARIANT PathSegments, _Path** value) override;

private:
    friend class ComObject<Path, _Path, _IPath>;
    Path() = default;

    // Parses the text; on failure the object stays invalid and error 5 is raised.
    void Initialize(std::wstring_view text);
    const path_text::ParsedPath& Valid() const;

    std::optional<path_text::ParsedPath> parsed_;
};

}  // namespace vofs
