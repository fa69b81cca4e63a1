// The COM server as its callers meet it: the DLL's entry points, and the built type
// library and version record. The registered keys are checked by registration_round_trip.sh;
// members, default members, For Each, optional arguments and object identity (Is) by the
// late-bound clients that use them.

#include "facade/file_system_lib.h"
#include "support/test_support.h"

#include <map>
#include <set>
#include <vector>

namespace vofs::testing {
namespace {

// The built type library and version record.
class ContractTest : public ::testing::Test {
protected:
    static void SetUpTestSuite() {
        ASSERT_EQ(LoadTypeLibEx((ProgramFolder() + L"\\vofslib.dll").c_str(), REGKIND_NONE, &library_), S_OK);
    }
    static void TearDownTestSuite() { library_.Reset(); }

    static WORD FlagsOf(ITypeInfo* info) {
        TYPEATTR* attributes = nullptr;
        info->GetTypeAttr(&attributes);
        const WORD flags = attributes->wTypeFlags;
        info->ReleaseTypeAttr(attributes);
        return flags;
    }
    // Every type of one kind, by name.
    static std::map<std::wstring, ComPtr<ITypeInfo>> All(TYPEKIND wanted) {
        std::map<std::wstring, ComPtr<ITypeInfo>> found;
        for (UINT i = 0; i < library_->GetTypeInfoCount(); ++i) {
            TYPEKIND kind;
            ComPtr<ITypeInfo> info;
            Bstr name;
            library_->GetTypeInfoType(i, &kind);
            library_->GetTypeInfo(i, &info);
            info->GetDocumentation(MEMBERID_NIL, name.Receive(), nullptr, nullptr, nullptr);
            if (kind == wanted) found[std::wstring(name.View())] = info;
        }
        return found;
    }

    static inline ComPtr<ITypeLib> library_;
};

TEST_F(ContractTest, LibraryNameAndVersionRecord) {
    Bstr name, help;
    library_->GetDocumentation(-1, name.Receive(), help.Receive(), nullptr, nullptr);
    EXPECT_EQ(std::wstring(name.View()) + L"|" + std::wstring(help.View()), L"VOFSL|VOSTREL FileSystem Library");

    const std::wstring path = ProgramFolder() + L"\\vofslib.dll";
    DWORD ignored = 0;
    std::vector<BYTE> record(GetFileVersionInfoSizeW(path.c_str(), &ignored));
    ASSERT_TRUE(!record.empty() && GetFileVersionInfoW(path.c_str(), 0, static_cast<DWORD>(record.size()), record.data()));
    std::wstring texts;
    for (const wchar_t* field : {L"FileDescription", L"FileVersion"}) {
        wchar_t* value = nullptr;
        UINT length = 0;
        const std::wstring query = std::wstring(L"\\StringFileInfo\\040904B0\\") + field;
        if (VerQueryValueW(record.data(), query.c_str(), reinterpret_cast<void**>(&value), &length)) texts += value;
        texts += L"|";
    }
    EXPECT_EQ(texts, L"Framework File System Library|1.12.0004|");
}

TEST_F(ContractTest, CreatableClassesAndInterfaceFlags) {
    const std::set<std::wstring> creatable{L"FileSystemLib", L"Volumes", L"Volume", L"FtpFileStream"};
    const auto classes = All(TKIND_COCLASS);
    EXPECT_EQ(classes.size(), 27u);
    EXPECT_EQ(classes.count(L"Win32FileTime") + classes.count(L"Win32FindData"), 0u) << "the records stay private";
    for (const auto& [name, info] : classes) {
        const WORD flags = FlagsOf(info.Get());
        EXPECT_EQ((flags & TYPEFLAG_FCANCREATE) != 0, creatable.count(name) == 1) << Narrow(name);
        EXPECT_EQ((flags & TYPEFLAG_FAPPOBJECT) != 0, name == L"FileSystemLib") << Narrow(name);
    }
    const WORD required = TYPEFLAG_FDUAL | TYPEFLAG_FHIDDEN | TYPEFLAG_FNONEXTENSIBLE | TYPEFLAG_FDISPATCHABLE;
    const auto interfaces = All(TKIND_DISPATCH);
    EXPECT_EQ(interfaces.size(), 27u);
    for (const auto& [name, info] : interfaces) EXPECT_EQ(FlagsOf(info.Get()) & required, required) << Narrow(name);
}

// Early-binding hosts (VBA's references, VB6, type-library importers) find the registered
// library by its identifier and version.
TEST(Registration, TheTypeLibraryIsFoundByItsVersion) {
    constexpr LCID kEnglish = 0x409;  // the library's locale
    ComPtr<ITypeLib> found;
    EXPECT_EQ(LoadRegTypeLib(LIBID_VOFSL, 452, 0, kEnglish, &found), S_OK);
    Bstr path;
    ASSERT_EQ(QueryPathOfRegTypeLib(LIBID_VOFSL, 452, 0, kEnglish, path.Receive()), S_OK);
    EXPECT_EQ(_wcsicmp(path.Get(), (ProgramFolder() + L"\\vofslib.dll").c_str()), 0) << Narrow(std::wstring(path.View()));
}

// The exported entry points of the built DLL, loaded as a COM runtime would load it.
TEST(ServerEntryPoints, ClassObjectsCreationAndUnloading) {
    HMODULE dll = LoadLibraryW((ProgramFolder() + L"\\vofslib.dll").c_str());
    ASSERT_NE(dll, nullptr);
    auto entry = [&](const char* name) { return reinterpret_cast<void*>(GetProcAddress(dll, name)); };
    auto getClassObject = reinterpret_cast<HRESULT(STDAPICALLTYPE*)(REFCLSID, REFIID, void**)>(entry("DllGetClassObject"));
    auto canUnloadNow = reinterpret_cast<HRESULT(STDAPICALLTYPE*)()>(entry("DllCanUnloadNow"));
    ASSERT_TRUE(getClassObject && canUnloadNow);  // the registration entry points: regsvr32 in the registration test

    ComPtr<IClassFactory> factory;
    ComPtr<IUnknown> outer, refused;
    EXPECT_EQ(getClassObject(CLSID_Path, IID_PPV_ARGS(&factory)), CLASS_E_CLASSNOTAVAILABLE) << "not creatable";
    EXPECT_EQ(getClassObject(IID_IUnknown, IID_PPV_ARGS(&factory)), CLASS_E_CLASSNOTAVAILABLE);
    EXPECT_EQ(canUnloadNow(), S_OK);
    ASSERT_EQ(getClassObject(CLSID_FileSystemLib, IID_PPV_ARGS(&factory)), S_OK);
    EXPECT_EQ(canUnloadNow(), S_FALSE) << "a held class object keeps the module";
    factory.As(&outer);
    EXPECT_EQ(factory->CreateInstance(outer.Get(), IID_PPV_ARGS(&refused)), CLASS_E_NOAGGREGATION);
    EXPECT_EQ(factory->CreateInstance(nullptr, IID_IClassFactory, reinterpret_cast<void**>(refused.GetAddressOf())),
              E_NOINTERFACE) << "an interface the object does not implement";
    outer.Reset();

    // A created object, then a server lock that outlives it.
    ComPtr<_FileSystemLib> library;
    ASSERT_EQ(factory->CreateInstance(nullptr, IID_PPV_ARGS(&library)), S_OK);
    ComPtr<ISupportErrorInfo> errors;
    ASSERT_EQ(library.As(&errors), S_OK);
    EXPECT_EQ(errors->InterfaceSupportsErrorInfo(IID__FileSystemLib), S_OK) << "early-bound callers read IErrorInfo";
    factory->LockServer(TRUE);
    factory.Reset();
    library.Reset();
    errors.Reset();
    EXPECT_EQ(canUnloadNow(), S_FALSE) << "the server lock is still held";
    ASSERT_EQ(getClassObject(CLSID_FileSystemLib, IID_PPV_ARGS(&factory)), S_OK);
    factory->LockServer(FALSE);
    factory.Reset();
    EXPECT_EQ(canUnloadNow(), S_OK);
    FreeLibrary(dll);
}

}  // namespace
}  // namespace vofs::testing
