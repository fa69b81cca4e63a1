#pragma once
// Text rules for paths, as plain functions over std::wstring: no platform headers, so
// they build natively too (the fuzz target runs them). The Path class is a thin shell
// over these.

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace vofs::path_text {

// Where one segment stands in the path's text.
struct SegmentSpan {
    uint32_t start;
    uint32_t length;
};

// A path text taken apart once. The segments are spans of fullPath, so parsing copies
// the text once, whatever its depth.
struct ParsedPath {
    // The trimmed text less one leading long-path prefix; separators as written.
    std::wstring fullPath;
    bool isUrl = false;       // contains "://"
    bool isLogical = false;   // drive path, or a file URL naming a drive
    bool isNetShare = false;  // \\server\share path, or a file URL without a drive
    std::wstring protocol;    // lower-cased text before the first ":" of a URL
    wchar_t separator = L'\\';
    wchar_t altSeparator = L'/';
    // The segments; none for a URL with nothing after "://" (such a path has no name).
    std::vector<SegmentSpan> spans;

    size_t SegmentCount() const { return spans.size(); }
    std::wstring_view Segment(size_t index) const {
        return std::wstring_view(fullPath).substr(spans[index].start, spans[index].length);
    }
    // The segments as separate texts (for callers that keep them).
    std::vector<std::wstring> Segments() const;
};

// Parses a full path text: a drive path ("[A-z]:" first, the range taken in code order),
// a share path (\\server\...), or a URL (anything with "://"). Blanks around the text
// and one long-path prefix ("\\?\" or "\\?\UNC\") are removed first. Anything else
// (relative paths, a bare \\server, //srv/sh, "") gives nothing.
std::optional<ParsedPath> ParsePath(std::wstring_view text);

// The root: the drive with its separator (C:\), \\server\share, or scheme://host; a
// view of the path's own text.
std::wstring_view RootPath(const ParsedPath& path);

// The segments after the root (one segment, or two for a share), each after a separator;
// the separator alone when nothing is left.
std::wstring RelativePath(const ParsedPath& path);

// True when the relative part is "", "\" or "/".
bool IsRootRelative(std::wstring_view relative);

// The text of a name from its last "." on ("" when it has none).
std::wstring_view ExtensionOf(std::wstring_view name);

// The platform form of a local or share path, built from the segments: "\\?\" or
// "\\?\UNC\" in front when wide calls are in use ("\\" for a share otherwise), and a
// separator after a bare drive. For a URL: the segments joined with "/" ("/" when there
// are none), still to be canonicalised by the internet layer.
std::wstring PlatformForm(const ParsedPath& path, bool wideCalls);

// Appends segments to a base: one trailing separator of the base is dropped; each
// element is trimmed, its other separators unified, split at the separator, and every
// non-empty piece appended after one separator, so separators never double at a seam.
std::wstring JoinPath(std::wstring base, wchar_t separator, wchar_t altSeparator,
                      const std::vector<std::wstring>& elements);

// Leading and trailing blanks removed (blanks only, as the library has always trimmed).
std::wstring_view TrimBlanks(std::wstring_view text);

// True for an entry name of dots and blanks only ("", ".", "..", " ", "..."): the
// platform's path rules drop trailing dots and blanks, so a path ending in such a name
// names the folder itself (or its parent), never the entry. Walks pass over them.
bool NamesItsOwnFolder(std::wstring_view name);
bool IsSeparator(wchar_t c);

// The last name of a path text: everything after the last "/", "\" or ":" that is not
// the last character (C:\dir\ gives dir\).
std::wstring NameFromPath(std::wstring_view path);

// The parent of a path text: the text before the last "/", "\" or ":" that is not the
// last character; "" for a URL host (ftp://h); shorter texts and texts without a
// boundary unchanged. C:\dir gives C: and C:\ gives C.
std::wstring ParentFromPath(std::wstring_view path);

// The path with a trailing separator ("/" for a URL, "\" otherwise) unless it has one.
std::wstring NormalizePath(std::wstring_view path);

}  // namespace vofs::path_text
