#include "paths/path_text.h"

namespace vofs::path_text {
namespace {

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

std::wstring_view TrimBlanks(std::wstring_view text) {
    const size_t first = text.find_first_not_of(L' ');
    if (first == std::wstring_view::npos) return {};
    return text.substr(first, text.find_last_not_of(L' ') - first + 1);
}

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
    if (boundary >= 2 && text.substr(boundary - 2, 3) == L"://") return {};
    return std::wstring(text.substr(0, boundary));
}

std::wstring NormalizePath(std::wstring_view path) {
    const wchar_t separator = path.find(L"://") == std::wstring_view::npos ? L'\\' : L'/';
    std::wstring result(path);
    if (result.empty() || !IsSeparator(result.back())) result += separator;
    return result;
}

}  // namespace vofs::path_text
