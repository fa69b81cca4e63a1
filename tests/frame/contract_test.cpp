// The built DLL's type library and version record against what callers rely on: which
// classes they may create, default members and For Each, interface flags and help strings,
// and by sampling the vtable order and enumeration values. The library, class and
// interface keys are checked where they are registered (registration_round_trip.sh);
// optional arguments and their defaults by the late-bound clients.

#include "support/test_support.h"

#include <map>
#include <set>
#include <tuple>
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

TEST_F(ContractTest, MemberOrderAndEnumerationsBySampling) {
    // An interface's first and last vtable entries pin its order; for enumerations, the values
    // that differ from the platform's or from the obvious ones and the last of the long ones.
    const std::tuple<const wchar_t*, UINT, const wchar_t*> samples[] = {
        {L"_FileSystemLib", 0, L"WideCallSupport"}, {L"_FileSystemLib", 25, L"OpenStream"},
        {L"_FileSystemLib", 29, L"FormatByteDisplay"}, {L"_Path", 0, L"FullPath"},
        {L"_Path", 25, L"ConcatPlatformPathObject"}, {L"_Volumes", 2, L"NewEnum"}, {L"_Volumes", 4, L"BindToVolume"},
        {L"ErrorModes", 2, L"NoOpenFileErrorBox = -32768"}, {L"OpenFileFlags", 2, L"BackupSemantics = -33554432"},
        {L"OpenFileFlags", 8, L"WriteThrough = -2147483648"}, {L"ProxyMethods", 2, L"ProxyUserAndHost = 1"},
        {L"BrowseInFolderFlags", 7, L"UseNewUI50 = 80"}, {L"BrowseInFolderFlags", 12, L"BrowserPrinters = 8192"},
        {L"InternetStatus", 0, L"SendKeepAlive = -1"}, {L"VirtualFolders", 29, L"HistoryFolder = 34"},
        {L"FileAccess", 2, L"AccessReadWrite = -1073741824"}, {L"IFolderItemMembers", 22, L"ifiEnumFolder = 22"},
        {L"PrivilegeNames", 27, L"SeManageVolumePrivilege = 28"}, {L"TextStreamIoMode", 2, L"ForAppending = 8"},
    };
    const auto interfaces = All(TKIND_DISPATCH), enumerations = All(TKIND_ENUM);
    EXPECT_EQ(enumerations.size(), 28u);
    for (const auto& [type, index, entry] : samples) {
        std::wstring found = L"(none)";
        if (interfaces.count(type)) {
            ComPtr<ITypeInfo> info = VtableOf(interfaces.at(type).Get());
            FUNCDESC* function = nullptr;
            if (SUCCEEDED(info->GetFuncDesc(index, &function))) found = NameOf(info.Get(), function->memid);
            if (function) info->ReleaseFuncDesc(function);
        } else if (VARDESC* variable = nullptr; enumerations.count(type)) {
            ITypeInfo* info = enumerations.at(type).Get();
            if (SUCCEEDED(info->GetVarDesc(index, &variable))) {
                found = NameOf(info, variable->memid) + L" = " + std::to_wstring(ToLong(*variable->lpvarValue));
                info->ReleaseVarDesc(variable);
            }
        }
        EXPECT_EQ(found, entry) << Narrow(type) << " " << index;
    }
}

}  // namespace
}  // namespace vofs::testing
