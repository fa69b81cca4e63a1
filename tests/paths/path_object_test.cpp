// The Path object where a script cannot reach it (tests/scripts/paths.vbs is the script
// client): a path left unparsed, arrays of String, mapped drives through the seam, and
// dispatch through _IPath on its own.

#include "common/platform_api.h"
#include "paths/path.h"
#include "support/test_support.h"

#include <functional>

namespace vofs::testing {
namespace {

TEST(PathObject, CheckedMembersOfAPathThatDidNotParse) {
    ComPtr<Path> path = Path::Make();  // as a failed initialisation leaves it
    Bstr text;
    VARIANT_BOOL flag;
    const std::function<HRESULT()> checked[] = {
        [&] { return path->get_Name(text.Receive()); },
        [&] { return path->get_RootPath(text.Receive()); },
        [&] { return path->get_PathIsUrl(&flag); },
        [&] { return path->GetPlatformPath(text.Receive()); },
    };
    for (const auto& call : checked) {
        const ErrorRecord error = TakeError(call());
        EXPECT_EQ(error.number, RunTime(5));
        EXPECT_EQ(error.source, L"Path");
    }
    EXPECT_EQ(TextOf(path.Get(), &Path::get_FullPath), L"") << "FullPath is not checked";
    EXPECT_EQ(TextOf(path.Get(), &Path::get_DirectorySeparator), L"\\");
}

TEST(PathObject, ConcatTakesArraysOfStringAndNothing) {
    ComPtr<Path> path = Path::Parse(L"C:\\Data\\");
    SAFEARRAYBOUND bound{2, 1};  // as early-bound callers pass it: String, based at 1
    SAFEARRAY* strings = SafeArrayCreate(VT_BSTR, 1, &bound);
    for (LONG i = 1; i <= 2; ++i) {
        Bstr item(i == 1 ? L"x" : L"y/z");
        SafeArrayPutElement(strings, &i, item.Get());
    }
    VARIANT array;
    V_VT(&array) = VT_ARRAY | VT_BSTR;
    V_ARRAY(&array) = strings;
    EXPECT_EQ(TextOf(path.Get(), &Path::ConcatPath, array), L"C:\\Data\\x\\y\\z");
    SafeArrayDestroy(strings);
    EXPECT_EQ(TextOf(path.Get(), &Path::ConcatPath, *Missing().Get()), L"C:\\Data");
    Bstr text;
    EXPECT_EQ(TakeError(path->ConcatPath(*DoubleValue(1).Get(), text.Receive())).number, RunTime(13));
}

// Mapped drives through the seam: Z: is mapped to \\server\share, the rest are not.
DWORD WINAPI FakeConnection(LPCWSTR drive, LPWSTR remote, LPDWORD length) {
    if (_wcsicmp(drive, L"Z:") != 0) return ERROR_NOT_CONNECTED;
    static const wchar_t kRemote[] = L"\\\\server\\share";
    if (!remote || *length < std::size(kRemote)) {
        *length = std::size(kRemote);
        return ERROR_MORE_DATA;
    }
    wcscpy(remote, kRemote);
    return NO_ERROR;
}
DWORD WINAPI FailingConnection(LPCWSTR, LPWSTR remote, LPDWORD length) {
    *length = 10;
    return remote ? ERROR_EXTENDED_ERROR : ERROR_MORE_DATA;
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

    ApiOverride<&PlatformApi::WNetGetConnectionW> failing(&FailingConnection);
    const ErrorRecord error = TakeError(path->LogicalPathToUnc(Bstr(L"Y:\\x").Get(), text.Receive()));
    EXPECT_EQ(error.number, System(ERROR_EXTENDED_ERROR));
    EXPECT_EQ(error.source, L"Path");
}

TEST(PathObject, DispatchesThroughEachInterfaceOnItsOwn) {
    ComPtr<Path> path = Path::Parse(L"C:\\a\\b");
    ComPtr<_IPath> abstract;
    ASSERT_EQ(path.As(&abstract), S_OK);
    EXPECT_EQ(TypeNameOf(abstract.Get()), L"_IPath");

    // The default member (FullPath) through _IPath's own dispatch.
    DISPPARAMS none{};
    Variant result;
    ASSERT_EQ(abstract->Invoke(DISPID_VALUE, IID_NULL, 0, DISPATCH_PROPERTYGET, &none, result.Get(), nullptr, nullptr),
              S_OK);
    EXPECT_EQ(ToString(*result.Get()), L"C:\\a\\b");
    EXPECT_EQ(Path::From(abstract.Get()).Get(), path.Get()) << "the library finds its own object";
}

}  // namespace
}  // namespace vofs::testing
