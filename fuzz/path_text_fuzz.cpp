// Feeds arbitrary text to the path rules: parsing, root scan, relative part, platform
// form, joining and the parent/name/normalise rules must never crash, read out of bounds
// or break their invariants. The input is a path, optionally followed by join segments
// after byte 1 separators.

#include "paths/path_text.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

using namespace vofs::path_text;

namespace {

void Require(bool condition) {
    if (!condition) __builtin_trap();
}

// Bytes below 0x80 are taken as characters as they are, so separators, colons and the
// long-path prefixes come up often; higher bytes become characters outside ASCII.
std::vector<std::wstring> Pieces(const uint8_t* data, size_t size) {
    std::vector<std::wstring> pieces(1);
    for (size_t i = 0; i < size; ++i) {
        if (data[i] == 1) {
            pieces.emplace_back();
        } else {
            pieces.back() += data[i] < 0x80 ? static_cast<wchar_t>(data[i]) : static_cast<wchar_t>(0x100 + data[i]);
        }
    }
    return pieces;
}

bool StartsWith(std::wstring_view text, std::wstring_view prefix) { return text.substr(0, prefix.size()) == prefix; }

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    std::vector<std::wstring> pieces = Pieces(data, size);
    const std::wstring text = pieces.front();
    pieces.erase(pieces.begin());

    const std::wstring parent = ParentFromPath(text);
    Require(parent.size() <= text.size());
    Require(NameFromPath(text).size() <= text.size());
    Require(IsSeparator(NormalizePath(text).back()));

    const std::optional<ParsedPath> path = ParsePath(text);
    if (!path) return 0;
    Require(!(path->isLogical && path->isNetShare));
    Require(path->isUrl == (path->fullPath.find(L"://") != std::wstring::npos));
    Require(path->fullPath.size() <= text.size());

    const std::wstring_view root = RootPath(*path);
    Require(StartsWith(path->fullPath, root));
    const std::wstring relative = RelativePath(*path);
    Require(!relative.empty() && relative.front() == path->separator);

    const std::wstring wide = PlatformForm(*path, true);
    const std::wstring ansi = PlatformForm(*path, false);
    if (!path->isUrl) {
        Require(StartsWith(wide, L"\\\\?\\"));
        Require(ansi.find(L"\\\\?\\") != 0 || path->isNetShare);
    }
    if (path->SegmentCount() != 0) {
        const std::wstring_view name = path->Segment(path->SegmentCount() - 1);
        Require(ExtensionOf(name).size() <= name.size());
    }

    // Joining never doubles a separator at a seam and keeps the base in front.
    std::wstring base = path->fullPath;
    if (!base.empty() && (base.back() == path->separator || base.back() == path->altSeparator)) base.pop_back();
    const std::wstring joined = JoinPath(path->fullPath, path->separator, path->altSeparator, pieces);
    Require(StartsWith(joined, base));
    const std::wstring added = joined.substr(base.size());
    Require(added.find(std::wstring(2, path->separator)) == std::wstring::npos);
    Require(added.find(path->altSeparator) == std::wstring::npos);
    // Dropping the base's trailing separator may leave no path (ftp:// gives ftp:/), but
    // once something is appended the result is a path again, unless the stored path still
    // starts with a long-path prefix (only one is removed per parse, so the next parse
    // removes another).
    if (!added.empty() && !StartsWith(path->fullPath, L"\\\\?\\")) Require(ParsePath(joined).has_value());
    return 0;
}
