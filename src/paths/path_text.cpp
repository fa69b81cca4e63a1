#include "paths/path_text.h"

namespace vofs::path_text {
namespace {

constexpr std::wstring_view kSchemeMark = L"://";
constexpr std::wstring_view kLongPrefix = L"\\\\?\\";
constexpr std::wstring_view kLongSharePrefix = L"\\\\?\\UNC\\";

wchar_t LowerAscii(wchar_t c) { return c >= L'A' && c <= L'Z' ? static_cast<wchar_t>(c + (L'a' - L'A')) : c; }

bool StartsWithIgnoringCase(std::wstring_view text, std::wstring_view prefix) {
    if (text.size() < prefix.size()) return false;
    for (size_t i = 0; i < prefix.size(); ++i) {
        if (LowerAscii(text[i]) != LowerAscii(prefix[i])) return false;
    }
    return true;
}

std::wstring Lowered(std::wstring_view text) {
    std::wstring result(text);
    for (wchar_t& c : result) c = LowerAscii(c);
    return result;
}

// "\\?*\*": two backslashes, at least one character, then a backslash somewhere.
bool IsShareText(std::wstring_view text) {
    return text.size() >= 4 && text[0] == L'\\' && text[1] == L'\\' && text.find(L'\\', 3) != std::wstring_view::npos;
}

// "[A-z]:" with the range in code order, which also admits [ \ ] ^ _ and `.
bool IsDriveText(std::wstring_view text) {
    return text.size() >= 2 && text[0] >= L'A' && text[0] <= L'z' && text[1] == L':';
}

std::vector<std::wstring> SplitAt(std::wstring_view text, wchar_t separator) {
    std::vector<std::wstring> pieces;
    size_t start = 0;
    for (;;) {
        const size_t end = text.find(separator, start);
        pieces.emplace_back(text.substr(start, end == std::wstring_view::npos ? std::wstring_view::npos : end - start));
        if (end == std::wstring_view::npos) return pieces;
        start = end + 1;
    }
}

// The spans between separators ("/" and "\" alike) of text[first, end).
std::vector<SegmentSpan> SpansOf(std::wstring_view text, size_t first, size_t end) {
    std::vector<SegmentSpan> spans;
    spans.reserve(8);
    size_t start = first;
    for (size_t at = first; at <= end; ++at) {
        if (at < end && !IsSeparator(text[at])) continue;
        spans.push_back({static_cast<uint32_t>(start), static_cast<uint32_t>(at - start)});
        start = at + 1;
    }
    return spans;
}

bool IsBoundary(wchar_t c) { return IsSeparator(c) || c == L':'; }

// Position of the last "/", "\" or ":" before the last character, or npos.
size_t LastBoundary(std::wstring_view text) {
    if (text.size() < 2) return std::wstring_view::npos;
    for (size_t at = text.size() - 1; at-- > 0;) {
        if (IsBoundary(text[at])) return at;
    }
    return std::wstring_view::npos;
}

}  // namespace

std::vector<std::wstring> ParsedPath::Segments() const {
    std::vector<std::wstring> segments;
    segments.reserve(spans.size());
    for (size_t index = 0; index < spans.size(); ++index) segments.emplace_back(Segment(index));
    return segments;
}

std::optional<ParsedPath> ParsePath(std::wstring_view input) {
    ParsedPath path;
    std::wstring_view text = TrimBlanks(input);
    if (StartsWithIgnoringCase(text, kLongSharePrefix)) {
        path.fullPath.reserve(text.size() - kLongSharePrefix.size() + 2);
        path.fullPath = L"\\\\";
        path.fullPath += text.substr(kLongSharePrefix.size());
    } else {
        if (StartsWithIgnoringCase(text, kLongPrefix)) text.remove_prefix(kLongPrefix.size());
        path.fullPath.assign(text);
    }
    text = path.fullPath;

    const size_t scheme = text.find(kSchemeMark);
    if (scheme == std::wstring_view::npos) {
        if (IsShareText(text)) {
            path.isNetShare = true;
        } else if (IsDriveText(text)) {
            path.isLogical = true;
        } else {
            return std::nullopt;
        }
    } else {
        path.isUrl = true;
        path.separator = L'/';
        path.altSeparator = L'\\';
        path.protocol = Lowered(text.substr(0, text.find(L':')));
        if (path.protocol == L"file") {
            // file:///C:/dir names a drive, file://server/share a share.
            const bool drive = text.find(L':', 7) != std::wstring_view::npos;
            path.isLogical = drive;
            path.isNetShare = !drive;
        }
    }

    // Both separators divide segments; one trailing separator ends the last one.
    const size_t end = !text.empty() && IsSeparator(text.back()) ? text.size() - 1 : text.size();
    const size_t scanStart = path.isUrl ? scheme + kSchemeMark.size() : 0;
    size_t first = scanStart;
    while (first < end && IsSeparator(text[first])) ++first;
    if (first < end) path.spans = SpansOf(text, first, end);
    return path;
}

std::wstring_view RootPath(const ParsedPath& path) {
    const std::wstring_view text = path.fullPath;
    // A URL's scan starts at the second character after "://".
    const size_t start = path.isUrl ? text.find(kSchemeMark) + kSchemeMark.size() + 1 : 0;
    bool firstRun = false;       // a name run after a separator has begun
    bool secondRun = false;      // a second one has begun
    bool afterSeparator = false;
    for (size_t at = start; at < text.size(); ++at) {
        if (!IsSeparator(text[at])) {
            if (!firstRun && afterSeparator) {
                firstRun = true;
            } else if (!secondRun && afterSeparator) {
                secondRun = true;
            }
            afterSeparator = false;
            continue;
        }
        if (firstRun && !path.isNetShare) return text.substr(0, at);
        if (secondRun && path.isNetShare) return text.substr(0, at);
        if (path.isUrl && !afterSeparator) return text.substr(0, at);
        if (path.isLogical) return text.substr(0, at + 1);
        afterSeparator = true;
    }
    return text;
}

std::wstring RelativePath(const ParsedPath& path) {
    const size_t rootSegments = path.isNetShare ? 2 : 1;
    std::wstring relative;
    relative.reserve(path.fullPath.size());
    for (size_t index = rootSegments; index < path.SegmentCount(); ++index) {
        relative += path.separator;
        relative += path.Segment(index);
    }
    if (relative.empty()) relative = path.separator;
    return relative;
}

bool IsRootRelative(std::wstring_view relative) { return relative.empty() || relative == L"\\" || relative == L"/"; }

std::wstring_view ExtensionOf(std::wstring_view name) {
    const size_t dot = name.rfind(L'.');
    return dot == std::wstring_view::npos ? std::wstring_view() : name.substr(dot);
}

std::wstring PlatformForm(const ParsedPath& path, bool wideCalls) {
    std::wstring form;
    form.reserve(path.fullPath.size() + kLongSharePrefix.size() + 1);
    for (size_t index = 0; index < path.SegmentCount(); ++index) {
        if (index) form += path.separator;
        form += path.Segment(index);
    }
    if (!path.isUrl) {
        if (path.isNetShare) {
            form.insert(0, wideCalls ? kLongSharePrefix : std::wstring_view(L"\\\\"));
        } else if (wideCalls) {
            form.insert(0, kLongPrefix);
        }
    }
    if (path.isLogical && !form.empty() && form.back() == L':') form += path.separator;
    if (path.isUrl && form.empty()) form = path.separator;
    return form;
}

std::wstring JoinPath(std::wstring base, wchar_t separator, wchar_t altSeparator,
                      const std::vector<std::wstring>& elements) {
    if (!base.empty() && (base.back() == separator || base.back() == altSeparator)) base.pop_back();
    for (const std::wstring& element : elements) {
        std::wstring text(TrimBlanks(element));
        for (wchar_t& c : text) {
            if (c == altSeparator) c = separator;
        }
        if (text.empty()) continue;
        for (const std::wstring& piece : SplitAt(text, separator)) {
            if (piece.empty()) continue;
            base += separator;
            base += piece;
        }
    }
    return base;
}

std::wstring_view TrimBlanks(std::wstring_view text) {
    const size_t first = text.find_first_not_of(L' ');
    if (first == std::wstring_view::npos) return {};
    return text.substr(first, text.find_last_not_of(L' ') - first + 1);
}

bool NamesItsOwnFolder(std::wstring_view name) { return name.find_first_not_of(L". ") == std::wstring_view::npos; }

bool IsSeparator(wchar_t c) { return c == L'\\' || c == L'/'; }

std::wstring NameFromPath(std::wstring_view path) {
    const std::wstring_view text = TrimBlanks(path);
    const size_t boundary = LastBoundary(text);
    return std::wstring(boundary == std::wstring_view::npos ? text : text.substr(boundary + 1));
}

std::wstring ParentFromPath(std::wstring_view path) {
    const std::wstring_view text = TrimBlanks(path);
    if (text.size() < 3) return std::wstring(text);
    const size_t boundary = LastBoundary(text);
    if (boundary == std::wstring_view::npos) return std::wstring(text);
    // The slash of "scheme://": a URL host has no parent.
    if (boundary >= 2 && text.substr(boundary - 2, 3) == kSchemeMark) return {};
    return std::wstring(text.substr(0, boundary));
}

std::wstring NormalizePath(std::wstring_view path) {
    const wchar_t separator = path.find(kSchemeMark) == std::wstring_view::npos ? L'\\' : L'/';
    std::wstring result(path);
    if (result.empty() || !IsSeparator(result.back())) result += separator;
    return result;
}

}  // namespace vofs::path_text
