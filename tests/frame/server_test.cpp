// The COM server as its callers meet it: the class template, the DLL's entry points, and
// the built type library and version record. The registered keys are checked by
// registration_round_trip.sh, members and their optional arguments by the late-bound
// clients; the order of members and the enumeration values are the IDL's own text.

#include "facade/file_system_lib.h"
#include "support/test_support.h"

#include <map>
#include <set>
#include <vector>

namespace vofs::testing {
namespace {

class ContractTest : public ::testing::Test {
protected:
    static void SetUpTestSuite() {
        ASSERT_EQ(LoadTypeLibEx((ProgramFolder() + L"\\vofslib.dll").c_str(), REGKIND_NONE, &library_), S_OK);
    }
    static void TearDownTestSuite() { library_.Reset(); }

    static std::wstring NameOf(ITypeInfo* info, MEMBERID member = MEMBERID_NIL, bool help = false) {
        Bstr name, text;
        info->GetDocumentation(member, name.Receive(), text.Receive(), nullptr, nullptr);
        return std::wstring(help ? text.View() : name.View());
    }
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
            library_->GetTypeInfoType(i, &kind);
            library_->GetTypeInfo(i, &info);
            if (kind == wanted) found[NameOf(info.Get())] = info;
        }
        return found;
    }
    // The vtable view of a dual interface, whose functions are in the published order.
    static ComPtr<ITypeInfo> VtableOf(ITypeInfo* dispatch) {
        HREFTYPE reference = 0;
        ComPtr<ITypeInfo> info;
        dispatch->GetRefTypeOfImplType(static_cast<UINT>(-1), &reference);
        dispatch->GetRefTypeInfo(reference, &info);
        return info;
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

TEST_F(ContractTest, CreatableClassesInterfaceFlagsAndDefaultMembers) {
    const std::set<std::wstring> creatable{L"FileSystemLib", L"Volumes", L"Volume", L"FtpFileStream"};
    const auto classes = All(TKIND_COCLASS);
    EXPECT_EQ(classes.size(), 27u);
    EXPECT_EQ(classes.count(L"Win32FileTime") + classes.count(L"Win32FindData"), 0u) << "the records stay private";
    for (const auto& [name, info] : classes) {
        const WORD flags = FlagsOf(info.Get());
        EXPECT_FALSE(NameOf(info.Get(), MEMBERID_NIL, true).empty()) << Narrow(name) << " has no help string";
        EXPECT_EQ((flags & TYPEFLAG_FCANCREATE) != 0, creatable.count(name) == 1) << Narrow(name);
        EXPECT_EQ((flags & TYPEFLAG_FAPPOBJECT) != 0, name == L"FileSystemLib") << Narrow(name);
    }

    const std::map<std::wstring, std::wstring> defaults = {
        {L"_Path", L"FullPath"}, {L"_IPath", L"FullPath"}, {L"_FolderItem", L"Name"}, {L"_IFolderItem", L"Name"},
        {L"_FtpFolderItem", L"Name"}, {L"_TokenPrivileges", L"Item"}, {L"_TokenPrivilege", L"IsEnabled"},
        {L"_Volumes", L"Item"}};
    const WORD required = TYPEFLAG_FDUAL | TYPEFLAG_FHIDDEN | TYPEFLAG_FNONEXTENSIBLE | TYPEFLAG_FDISPATCHABLE;
    const auto interfaces = All(TKIND_DISPATCH);
    EXPECT_EQ(interfaces.size(), 27u);
    for (const auto& [name, dispatch] : interfaces) {
        SCOPED_TRACE(Narrow(name));
        EXPECT_EQ(FlagsOf(dispatch.Get()) & required, required);
        EXPECT_FALSE(NameOf(dispatch.Get(), MEMBERID_NIL, true).empty()) << "no help string";
        ComPtr<ITypeInfo> info = VtableOf(dispatch.Get());
        std::wstring defaultMember, newEnum;
        FUNCDESC* function = nullptr;
        for (UINT i = 0; SUCCEEDED(info->GetFuncDesc(i, &function)); ++i) {
            const std::wstring member = NameOf(info.Get(), function->memid);
            EXPECT_FALSE(NameOf(info.Get(), function->memid, true).empty()) << Narrow(member) << " has no help string";
            if (function->memid == DISPID_VALUE) defaultMember = member;
            if (function->memid == DISPID_NEWENUM) newEnum = member;
            info->ReleaseFuncDesc(function);
        }
        EXPECT_EQ(defaultMember, defaults.count(name) ? defaults.at(name) : L"");
        // Only Volumes can be walked with For Each; TokenPrivileges.NewEnum cannot.
        EXPECT_EQ(newEnum, name == L"_Volumes" ? L"NewEnum" : L"");
    }
}

TEST(ComObject, IdentityInterfacesAndOwnImplementation) {
    ComPtr<FileSystemLib> library = FileSystemLib::Make();
    ComPtr<IUnknown> unknown, viaDispatch;
    ComPtr<IDispatch> dispatch;
    ComPtr<_FileSystemLib> typed;
    ComPtr<IPersist> foreign;
    ComPtr<ISupportErrorInfo> errors;
    ASSERT_EQ(library.As(&unknown) | library.As(&dispatch) | dispatch.As(&viaDispatch), S_OK);
    EXPECT_EQ(unknown.Get(), viaDispatch.Get());
    EXPECT_EQ(unknown.As(&typed), S_OK);
    EXPECT_EQ(unknown.As(&foreign), E_NOINTERFACE);
    ASSERT_EQ(unknown.As(&errors), S_OK);
    EXPECT_EQ(errors->InterfaceSupportsErrorInfo(IID__FileSystemLib), S_OK);

    EXPECT_EQ(ImplementationOf<FileSystemLib>(dispatch.Get()), library.Get());
    ComPtr<ICreateErrorInfo> other;
    ASSERT_EQ(CreateErrorInfo(&other), S_OK);
    EXPECT_EQ(ImplementationOf<FileSystemLib>(other.Get()), nullptr) << "a foreign object is recognised";
    EXPECT_EQ(ImplementationOf<FileSystemLib>(nullptr), nullptr);
}

// The exported entry points of the built DLL, loaded as a COM runtime would load it.
TEST(ServerEntryPoints, ClassObjectsCreationAndUnloading) {
    HMODULE dll = LoadLibraryW((ProgramFolder() + L"\\vofslib.dll").c_str());
    ASSERT_NE(dll, nullptr);
    auto entry = [&](const char* name) { return reinterpret_cast<void*>(GetProcAddress(dll, name)); };
    auto getClassObject = reinterpret_cast<HRESULT(STDAPICALLTYPE*)(REFCLSID, REFIID, void**)>(entry("DllGetClassObject"));
    auto canUnloadNow = reinterpret_cast<HRESULT(STDAPICALLTYPE*)()>(entry("DllCanUnloadNow"));
    ASSERT_TRUE(getClassObject && canUnloadNow && entry("DllRegisterServer") && entry("DllUnregisterServer") &&
                entry("DllInstall"));

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
              E_NOINTERFACE);
    outer.Reset();

    // A created object used as a client would, leaving an error behind, and a server lock.
    ComPtr<_FileSystemLib> library;
    ASSERT_EQ(factory->CreateInstance(nullptr, IID_PPV_ARGS(&library)), S_OK);
    factory->LockServer(TRUE);
    factory.Reset();
    Bstr temp;
    EXPECT_EQ(library->GetTempFolderPath(temp.Receive()), S_OK);
    EXPECT_TRUE(FAILED(library->put_WideCallSupport(static_cast<WideCallSupportOptions>(9))));
    library.Reset();
    EXPECT_EQ(canUnloadNow(), S_FALSE) << "the server lock is still held";
    ASSERT_EQ(getClassObject(CLSID_FileSystemLib, IID_PPV_ARGS(&factory)), S_OK);
    factory->LockServer(FALSE);
    factory.Reset();
    EXPECT_EQ(canUnloadNow(), S_OK);
    FreeLibrary(dll);
}

}  // namespace
}  // namespace vofs::testing
