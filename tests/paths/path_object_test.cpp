// The Path object through _Path and _IPath: checked members, errors of paths without
// segments, parents, joins with script-style arrays, platform forms and mapped drives.

#include "common/platform_api.h"
#include "paths/path.h"
#include "support/test_support.h"

#include <gtest/gtest.h>

#include <functional>
#include <vector>

namespace vofs::testing {
namespace {

std::wstring Text(HRESULT result, Bstr& text) {
    EXPECT_EQ(result, S_OK);
    return std::wstring(text.View());
}

// A SAFEARRAY of VARIANT strings, as VBScript's Array() makes it.
class ScriptArray {
public:
    explicit ScriptArray(const std::vector<std::wstring>& items) {
        SAFEARRAYBOUND bound{static_cast<ULONG>(items.size()), 0};
        array_ = SafeArrayCreate(VT_VARIANT, 1, &bound);
        for (LONG i = 0; i < static_cast<LONG>(items.size()); ++i) {
            Variant item = Variant::FromString(items[static_cast<size_t>(i)]);
            SafeArrayPutElement(array_, &i, item.Get());
        }
    }
    ~ScriptArray() { SafeArrayDestroy(array_); }
    ScriptArray(const ScriptArray&) = delete;
    ScriptArray& operator=(const ScriptArray&) = delete;

    VARIANT ByValue() {
        VARIANT value;
        V_VT(&value) = VT_ARRAY | VT_VARIANT;
        V_ARRAY(&value) = array_;
        return value;
    }
    // A script variable: a reference to a Variant that holds the array.
    VARIANT ByReference() {
        holder_ = ByValue();
        VARIANT reference;
        V_VT(&reference) = VT_BYREF | VT_VARIANT;
        V_VARIANTREF(&reference) = &holder_;
        return reference;
    }

private:
    SAFEARRAY* array_ = nullptr;
    VARIANT holder_{};
};

TEST(PathObject, MembersOfAParsedPath) {
    ComPtr<Path> path = Path::Parse(L"  C:\\Dir\\File.Txt ");
    Bstr text;
    EXPECT_EQ(Text(path->get_FullPath(text.Receive()), text), L"C:\\Dir\\File.Txt");
    EXPECT_EQ(Text(path->get_Name(text.Receive()), text), L"File.Txt");
    EXPECT_EQ(Text(path->get_Extension(text.Receive()), text), L".Txt");
    EXPECT_EQ(Text(path->get_RootPath(text.Receive()), text), L"C:\\");
    EXPECT_EQ(Text(path->get_RelativePath(text.Receive()), text), L"\\Dir\\File.Txt");
    EXPECT_EQ(Text(path->get_InvalidPathChars(text.Receive()), text), L"\\/:*?\"<>|");
    EXPECT_EQ(Text(path->get_VolumeSeparator(text.Receive()), text), L":");
    EXPECT_EQ(Text(path->get_Segments(1, text.Receive()), text), L"Dir");
    LONG count = 0;
    path->get_SegmentCount(&count);
    EXPECT_EQ(count, 3);
    VARIANT_BOOL flag;
    path->get_PathIsRoot(&flag);
    EXPECT_EQ(flag, VARIANT_FALSE);
    path->get_PathIsLogical(&flag);
    EXPECT_EQ(flag, VARIANT_TRUE);

    ComPtr<IDispatch> self;
    ASSERT_EQ(path->get_Object(&self), S_OK);
    ComPtr<IUnknown> a, b;
    self.As(&a);
    path.As(&b);
    EXPECT_EQ(a.Get(), b.Get()) << "Object is the path itself";
}

TEST(PathObject, SegmentMembersOfAPathWithoutSegments) {
    ComPtr<Path> path = Path::Parse(L"ftp://");
    Bstr text;
    LONG count;
    EXPECT_EQ(TakeError(path->get_Name(text.Receive())).number, RunTime(13));
    EXPECT_EQ(TakeError(path->get_SegmentCount(&count)).number, RunTime(13));
    EXPECT_EQ(TakeError(path->get_Segments(0, text.Receive())).number, RunTime(13));
    EXPECT_EQ(Text(path->get_RootPath(text.Receive()), text), L"ftp://");

    ComPtr<Path> local = Path::Parse(L"C:\\a");
    for (LONG index : {-1L, 2L, 100L}) {
        const ErrorRecord error = TakeError(local->get_Segments(index, text.Receive()));
        EXPECT_EQ(error.number, RunTime(9)) << index;
        EXPECT_EQ(error.description, L"Subscript out of range");
    }
}

TEST(PathObject, CheckedMembersOfAPathThatDidNotParse) {
    ComPtr<Path> path = Path::Make();  // as left by a failed initialisation
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
    EXPECT_EQ(Text(path->get_FullPath(text.Receive()), text), L"") << "FullPath is not checked";
    EXPECT_EQ(Text(path->get_DirectorySeparator(text.Receive()), text), L"\\");
}

TEST(PathObject, ParentsAndRoots) {
    struct Case {
        const wchar_t* path;
        const wchar_t* parent;  // null: Nothing
    };
    const Case cases[] = {
        {L"C:\\dir\\f.txt", L"C:\\dir"}, {L"C:\\dir", L"C:"}, {L"ftp://h/a", L"ftp://h"}, {L"ftp://h", nullptr},
        {L"\\\\srv\\sh\\x", L"\\\\srv\\sh"},
    };
    for (const Case& c : cases) {
        ComPtr<_Path> parent;
        ASSERT_EQ(Path::Parse(c.path)->get_Parent(&parent), S_OK);
        if (!c.parent) {
            EXPECT_EQ(parent.Get(), nullptr);
            continue;
        }
        ASSERT_TRUE(parent);
        Bstr text;
        EXPECT_EQ(Text(parent->get_FullPath(text.Receive()), text), c.parent);
    }
    ComPtr<_Path> parent;
    const ErrorRecord error = TakeError(Path::Parse(L"C:\\")->get_Parent(&parent));
    EXPECT_EQ(error.number, RunTime(5)) << "the parent of C:\\ is C, which is no path";
    EXPECT_EQ(parent.Get(), nullptr);

    ComPtr<_Path> root;
    ASSERT_EQ(Path::Parse(L"\\\\srv\\sh\\a\\b")->get_RootPathObject(&root), S_OK);
    Bstr text;
    EXPECT_EQ(Text(root->get_FullPath(text.Receive()), text), L"\\\\srv\\sh");
}

TEST(PathObject, ConcatTakesArraysByValueOrByReference) {
    ComPtr<Path> path = Path::Parse(L"C:\\Data\\");
    ScriptArray items({L"a/b", L"", L"  c  "});
    Bstr text;
    EXPECT_EQ(Text(path->ConcatPath(items.ByValue(), text.Receive()), text), L"C:\\Data\\a\\b\\c");
    EXPECT_EQ(Text(path->ConcatPath(items.ByReference(), text.Receive()), text), L"C:\\Data\\a\\b\\c");

    // An array of String, as early-bound callers pass it.
    SAFEARRAYBOUND bound{2, 1};
    SAFEARRAY* strings = SafeArrayCreate(VT_BSTR, 1, &bound);
    for (LONG i = 1; i <= 2; ++i) {
        Bstr item(i == 1 ? L"x" : L"y");
        SafeArrayPutElement(strings, &i, item.Get());
    }
    VARIANT value;
    V_VT(&value) = VT_ARRAY | VT_BSTR;
    V_ARRAY(&value) = strings;
    EXPECT_EQ(Text(path->ConcatPath(value, text.Receive()), text), L"C:\\Data\\x\\y");
    SafeArrayDestroy(strings);

    ComPtr<_Path> joined;
    ASSERT_EQ(path->ConcatPathObject(items.ByValue(), &joined), S_OK);
    EXPECT_EQ(Text(joined->get_Name(text.Receive()), text), L"c");

    Variant missing;
    V_VT(missing.Get()) = VT_ERROR;
    V_ERROR(missing.Get()) = DISP_E_PARAMNOTFOUND;
    EXPECT_EQ(Text(path->ConcatPath(*missing.Get(), text.Receive()), text), L"C:\\Data");
    Variant scalar = Variant::FromString(L"a");
    EXPECT_EQ(TakeError(path->ConcatPath(*scalar.Get(), text.Receive())).number, RunTime(13));

    ComPtr<Path> url = Path::Parse(L"ftp://h/x");
    ScriptArray more({L"y\\z"});
    EXPECT_EQ(Text(url->ConcatPath(more.ByValue(), text.Receive()), text), L"ftp://h/x/y/z");
}

TEST(PathObject, PlatformFormFollowsTheWideCallRule) {
    WideCallSettingGuard setting;
    Bstr text;
    ScriptArray items({L"sub"});
    ComPtr<Path> path = Path::Parse(L"\\\\srv\\sh\\x");
    EXPECT_EQ(Text(path->GetPlatformPath(text.Receive()), text), L"\\\\?\\UNC\\srv\\sh\\x");
    EXPECT_EQ(Text(path->ConcatPlatformPath(items.ByValue(), text.Receive()), text), L"\\\\?\\UNC\\srv\\sh\\x\\sub");
    ThisThread().wideCallSupport = kAnsiVersion;
    EXPECT_EQ(Text(path->GetPlatformPath(text.Receive()), text), L"\\\\srv\\sh\\x");
    EXPECT_EQ(Text(Path::Parse(L"C:")->GetPlatformPath(text.Receive()), text), L"C:\\");
}

TEST(PathObject, UrlsAreCanonicalised) {
    Bstr text;
    EXPECT_EQ(Text(Path::Parse(L"ftp://h/my dir/a b.txt")->GetPlatformPath(text.Receive()), text),
              L"h/my%20dir/a%20b.txt");
    EXPECT_EQ(Text(Path::Parse(L"ftp://h/a")->ConvertUrlToPath(text.Receive()), text), L"ftp://h/a");
    EXPECT_EQ(Text(Path::Parse(L"ftp://")->GetPlatformPath(text.Receive()), text), L"/");
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
    if (!remote) {
        *length = 10;
        return ERROR_MORE_DATA;
    }
    return ERROR_EXTENDED_ERROR;
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
        Bstr argument(given), text;
        EXPECT_EQ(Text(path->LogicalPathToUnc(argument.Get(), text.Receive()), text), expected);
    }
    Bstr bad(L"relative\\x"), text;
    EXPECT_EQ(TakeError(path->LogicalPathToUnc(bad.Get(), text.Receive())).number, RunTime(5));

    ApiOverride<&PlatformApi::WNetGetConnectionW> failing(&FailingConnection);
    Bstr mapped(L"Y:\\x");
    const ErrorRecord error = TakeError(path->LogicalPathToUnc(mapped.Get(), text.Receive()));
    EXPECT_EQ(error.number, System(ERROR_EXTENDED_ERROR));
    EXPECT_EQ(error.source, L"Path");
}

TEST(PathObject, DispatchesThroughEachInterfaceOnItsOwn) {
    ComPtr<Path> path = Path::Parse(L"C:\\a\\b");
    ComPtr<_IPath> abstract;
    ASSERT_EQ(path.As(&abstract), S_OK);
    ComPtr<ITypeInfo> info;
    ASSERT_EQ(abstract->GetTypeInfo(0, 0, &info), S_OK);
    Bstr name;
    info->GetDocumentation(MEMBERID_NIL, name.Receive(), nullptr, nullptr, nullptr);
    EXPECT_EQ(name.View(), L"_IPath");

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
