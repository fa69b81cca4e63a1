#pragma once
// Text rules for paths, as plain functions over std::wstring: no platform headers, so
// they build natively too (the fuzz target runs them).

#include <string>
#include <string_view>

namespace vofs::path_text {

// Leading and trailing blanks removed (blanks only, as the library has always trimmed).
std::wstring_view TrimBlanks(std::wstring_view text);

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
