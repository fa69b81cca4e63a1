// Paths: the text rules as tables (parsing, root scan, relative part, platform form, join,
// names and parents of path texts), and the Path object where a script cannot reach it
// (tests/scripts/paths.vbs is the script client): arrays of String and mapped drives
// through the seam.

#include "common/platform_api.h"
#include "paths/path.h"
#include "paths/path_text.h"
#include "support/test_support.h"

#include <tuple>
#include <vector>

namespace vofs::testing {
namespace {

using namespace path_text;

struct ParseCase {
    const wchar_t* input;
    const wchar_t* fullPath;  // null: the input itself
    char kind;  // 'L' drive, 'S' share, 'U' URL only, 'F' file URL drive, 'G' file URL share
    const wchar_t* protocol;
    const wchar_t* segments;  // joined with "|"
    const wchar_t* root;
    const wchar_t* relative;
    const wchar_t* platformWide;
    const wchar_t* platformAnsi;
};

const ParseCase kParseCases[] = {
    {L"  C:\\Dir\\File.Txt  ", L"C:\\Dir\\File.Txt", 'L', L"", L"C:|Dir|File.Txt", L"C:\\", L"\\Dir\\File.Txt",
     L"\\\\?\\C:\\Dir\\File.Txt", L"C:\\Dir\\File.Txt"},
    {L"C:\\", nullptr, 'L', L"", L"C:", L"C:\\", L"\\", L"\\\\?\\C:\\", L"C:\\"},
    {L"C:", nullptr, 'L', L"", L"C:", L"C:", L"\\", L"\\\\?\\C:\\", L"C:\\"},
    {L"C:/a/b", nullptr, 'L', L"", L"C:|a|b", L"C:/", L"\\a\\b", L"\\\\?\\C:\\a\\b", L"C:\\a\\b"},
    {L"C:\\a\\\\b", nullptr, 'L', L"", L"C:|a||b", L"C:\\", L"\\a\\\\b", L"\\\\?\\C:\\a\\\\b", L"C:\\a\\\\b"},
    {L"C:\\dir\\", nullptr, 'L', L"", L"C:|dir", L"C:\\", L"\\dir", L"\\\\?\\C:\\dir", L"C:\\dir"},
    {L"C:\\dir\\\\", nullptr, 'L', L"", L"C:|dir|", L"C:\\", L"\\dir\\", L"\\\\?\\C:\\dir\\", L"C:\\dir\\"},
    {L"C:dir\\x", nullptr, 'L', L"", L"C:dir|x", L"C:dir\\", L"\\x", L"\\\\?\\C:dir\\x", L"C:dir\\x"},
    {L"\\\\?\\c:\\x", L"c:\\x", 'L', L"", L"c:|x", L"c:\\", L"\\x", L"\\\\?\\c:\\x", L"c:\\x"},
    {L"\\\\?\\unc\\srv\\sh\\x", L"\\\\srv\\sh\\x", 'S', L"", L"srv|sh|x", L"\\\\srv\\sh", L"\\x",
     L"\\\\?\\UNC\\srv\\sh\\x", L"\\\\srv\\sh\\x"},
    {L"\\\\srv\\", nullptr, 'S', L"", L"srv", L"\\\\srv\\", L"\\", L"\\\\?\\UNC\\srv", L"\\\\srv"},
    {L"\\\\srv\\share", nullptr, 'S', L"", L"srv|share", L"\\\\srv\\share", L"\\", L"\\\\?\\UNC\\srv\\share",
     L"\\\\srv\\share"},
    {L"\\\\srv\\share\\dir/f", nullptr, 'S', L"", L"srv|share|dir|f", L"\\\\srv\\share", L"\\dir\\f",
     L"\\\\?\\UNC\\srv\\share\\dir\\f", L"\\\\srv\\share\\dir\\f"},
    {L"FTP://Host/x", nullptr, 'U', L"ftp", L"Host|x", L"FTP://Host", L"/x", L"Host/x", L"Host/x"},
    {L"http://h/a\\b", nullptr, 'U', L"http", L"h|a|b", L"http://h", L"/a/b", L"h/a/b", L"h/a/b"},
    {L"ftp://", nullptr, 'U', L"ftp", L"", L"ftp://", L"/", L"/", L"/"},
    {L"file:///C:/a", nullptr, 'F', L"file", L"C:|a", L"file:///C:", L"/a", L"C:/a", L"C:/a"},
    {L"file:///C:", nullptr, 'F', L"file", L"C:", L"file:///C:", L"/", L"C:/", L"C:/"},
    {L"file://srv/sh/a", nullptr, 'G', L"file", L"srv|sh|a", L"file://srv", L"/a", L"srv/sh/a", L"srv/sh/a"},
    // the drive letter range runs from "A" to "z" in code order
    {L"[:\\x", nullptr, 'L', L"", L"[:|x", L"[:\\", L"\\x", L"\\\\?\\[:\\x", L"[:\\x"},
    {L"z:", nullptr, 'L', L"", L"z:", L"z:", L"\\", L"\\\\?\\z:\\", L"z:\\"},
};

TEST(ParsePath, TableAndTextThatIsNoPath) {
    for (const ParseCase& c : kParseCases) {
        SCOPED_TRACE(Narrow(c.input));
        const std::optional<ParsedPath> parsed = ParsePath(c.input);
        ASSERT_TRUE(parsed.has_value());
        EXPECT_EQ(parsed->fullPath, c.fullPath ? c.fullPath : c.input);
        EXPECT_EQ(parsed->isLogical, c.kind == 'L' || c.kind == 'F');
        EXPECT_EQ(parsed->isNetShare, c.kind == 'S' || c.kind == 'G');
        EXPECT_EQ(parsed->isUrl, c.kind == 'U' || c.kind == 'F' || c.kind == 'G');
        EXPECT_EQ(parsed->protocol, c.protocol);
        EXPECT_EQ(parsed->separator, parsed->isUrl ? L'/' : L'\\');
        EXPECT_EQ(parsed->altSeparator, parsed->isUrl ? L'\\' : L'/');
        std::wstring segments;
        for (const std::wstring& segment : parsed->Segments()) segments += L"|" + segment;
        EXPECT_EQ(segments.erase(0, 1), c.segments);
        EXPECT_EQ(RootPath(*parsed), c.root);
        EXPECT_EQ(RelativePath(*parsed), c.relative);
        EXPECT_EQ(PlatformForm(*parsed, true), c.platformWide);
        EXPECT_EQ(PlatformForm(*parsed, false), c.platformAnsi);
    }
    for (const wchar_t* text : {L"", L"   ", L"dir\\file", L"\\\\srv", L"//srv/sh", L"\\dir", L"1:\\x",
                                L"{:\\x", L"@:", L"\\\\?\\", L"\\\\?\\UNC\\", L"C"}) {
        EXPECT_FALSE(ParsePath(text).has_value()) << Narrow(text);
    }
    // Only one long-path prefix is removed.
    EXPECT_EQ(ParsePath(L"\\\\?\\\\\\?\\UNC\\a\\b")->fullPath, L"\\\\?\\UNC\\a\\b");
}

TEST(PathText, RootTestAndExtension) {
    for (const wchar_t* relative : {L"", L"\\", L"/"}) EXPECT_TRUE(IsRootRelative(relative));
    for (const wchar_t* relative : {L"\\a", L"//", L"a"}) EXPECT_FALSE(IsRootRelative(relative));
    const std::pair<const wchar_t*, const wchar_t*> cases[] = {
        {L"File.Txt", L".Txt"}, {L"noext", L""}, {L"archive.tar.gz", L".gz"}, {L".profile", L".profile"},
        {L"trailing.", L"."},   {L"C:", L""},
    };
    for (const auto& [name, extension] : cases) EXPECT_EQ(ExtensionOf(name), extension) << Narrow(name);
}

TEST(PathText, JoinPath) {
    const std::tuple<const wchar_t*, wchar_t, std::vector<std::wstring>, const wchar_t*> cases[] = {
        {L"C:\\Data\\", L'\\', {L"a/b", L"", L"  c  "}, L"C:\\Data\\a\\b\\c"},
        {L"ftp://h/x", L'/', {L"y\\z"}, L"ftp://h/x/y/z"},
        {L"ftp://h/x/", L'/', {L"/y//z/"}, L"ftp://h/x/y/z"},
        {L"C:\\\\", L'\\', {L"a"}, L"C:\\\\a"},        // only one trailing separator is dropped
        {L"C:\\Data\\", L'\\', {}, L"C:\\Data"},
        {L"C:\\Data", L'\\', {L"\\\\x\\\\", L"   ", L"y z"}, L"C:\\Data\\x\\y z"},
        {L"C:\\Data/", L'\\', {L"e"}, L"C:\\Data\\e"},  // the other separator counts too
    };
    for (const auto& [base, separator, elements, expected] : cases) {
        EXPECT_EQ(JoinPath(base, separator, separator == L'\\' ? L'/' : L'\\', elements), expected) << Narrow(base);
    }
}

TEST(PathText, NamesParentsAndNormalForms) {
    const std::tuple<const wchar_t*, const wchar_t*, const wchar_t*, const wchar_t*> cases[] = {
        // path, name, parent, normalized
        {L"C:\\dir\\file.txt", L"file.txt", L"C:\\dir", L"C:\\dir\\file.txt\\"},
        {L"  C:\\a\\b\\  ", L"b\\", L"C:\\a", L"  C:\\a\\b\\  \\"},  // a last separator is no boundary
        {L"C:\\dir", L"dir", L"C:", L"C:\\dir\\"},
        {L"C:\\", L"\\", L"C", L"C:\\"},                      // a colon is a boundary
        {L"C:", L"C:", L"C:", L"C:\\"},                          // shorter than three characters
        {L"C:file", L"file", L"C", L"C:file\\"},
        {L"C:\\a/", L"a/", L"C:", L"C:\\a/"},
        {L"ftp://host/a/b", L"b", L"ftp://host/a", L"ftp://host/a/b/"},
        {L"FTP://Host", L"Host", L"", L"FTP://Host/"},           // a URL host has no parent
        {L"ftp://host/", L"host/", L"", L"ftp://host/"},
        {L"\\\\srv\\share\\x", L"x", L"\\\\srv\\share", L"\\\\srv\\share\\x\\"},
        {L"abc", L"abc", L"abc", L"abc\\"},                     // no boundary
        {L"a/b\\c", L"c", L"a/b", L"a/b\\c\\"},
        {L"", L"", L"", L"\\"},
    };
    for (const auto& [path, name, parent, normalized] : cases) {
        EXPECT_EQ(NameFromPath(path) + L"|" + ParentFromPath(path) + L"|" + NormalizePath(path),
                  std::wstring(name) + L"|" + parent + L"|" + normalized) << Narrow(path);
    }
}

TEST(PathObject, ConcatTakesArraysOfStringAndNothing) {
    ComPtr<Path> path = Path::Parse(L"C:\\Data\\");
    SAFEARRAY* strings = SafeArrayCreateVector(VT_BSTR, 1, 2);  // as early-bound callers pass it: String, based at 1
    for (LONG i : {1, 2}) SafeArrayPutElement(strings, &i, Bstr(i == 1 ? L"x" : L"y/z").Get());
    VARIANT array;
    V_VT(&array) = VT_ARRAY | VT_BSTR;
    V_ARRAY(&array) = strings;
    EXPECT_EQ(TextOf(path.Get(), &Path::ConcatPath, array), L"C:\\Data\\x\\y\\z");
    SafeArrayDestroy(strings);
    EXPECT_EQ(TextOf(path.Get(), &Path::ConcatPath, *Missing().Get()), L"C:\\Data");
    Bstr text;
    EXPECT_EQ(TakeError(path->ConcatPath(*DoubleValue(1).Get(), text.Receive())).number, RunTime(13));
}

// Mapped drives through the seam: Z: is mapped to \\server\share, Y:'s network fails once
// asked for the name, the rest are not mapped.
DWORD WINAPI FakeConnection(LPCWSTR drive, LPWSTR remote, LPDWORD length) {
    static const wchar_t kRemote[] = L"\\\\server\\share";
    const bool failing = _wcsicmp(drive, L"Y:") == 0;
    if (!failing && _wcsicmp(drive, L"Z:") != 0) return ERROR_NOT_CONNECTED;
    if (!remote || *length < std::size(kRemote)) {
        *length = std::size(kRemote);
        return ERROR_MORE_DATA;
    }
    if (failing) return ERROR_EXTENDED_ERROR;
    wcscpy(remote, kRemote);
    return NO_ERROR;
}

TEST(PathObject, LogicalPathToUnc) {
    ApiOverride<&PlatformApi::WNetGetConnectionW> fake(&FakeConnection);
    ComPtr<Path> path = Path::Parse(L"C:\\");
    const std::pair<const wchar_t*, const wchar_t*> cases[] = {
        {L"Z:\\dir\\f.txt", L"\\\\server\\share\\dir\\f.txt"},
        {L"z:", L"\\\\server\\share\\"},
        {L"C:\\dir", L"C:\\dir"},                  // not mapped: unchanged
        {L"\\\\other\\sh\\x", L"\\\\other\\sh\\x"},  // already a share path
        {L"ftp://h/x", L"ftp://h/x"},
    };
    for (const auto& [given, expected] : cases) {
        EXPECT_EQ(TextOf(path.Get(), &Path::LogicalPathToUnc, Bstr(given).Get()), expected);
    }
    Bstr text;
    EXPECT_EQ(TakeError(path->LogicalPathToUnc(Bstr(L"relative\\x").Get(), text.Receive())).number, RunTime(5));
    EXPECT_EQ(Raised(TakeError(path->LogicalPathToUnc(Bstr(L"Y:\\x").Get(), text.Receive()))),
              Raised(L"Path", System(ERROR_EXTENDED_ERROR)));
}

}  // namespace
}  // namespace vofs::testing
