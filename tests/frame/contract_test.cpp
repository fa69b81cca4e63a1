// The built DLL's type library and version record against what callers rely on: the
// library's identity, which classes they may create, interface flags and help strings,
// default members, member order, optional defaults, and enumeration values by sampling.

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

    static std::wstring NameOf(ITypeInfo* info, MEMBERID member = MEMBERID_NIL) {
        Bstr name;
        info->GetDocumentation(member, name.Receive(), nullptr, nullptr, nullptr);
        return std::wstring(name.View());
    }
    // Every type information of one kind, by name.
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
    // The vtable interface behind a dual interface's dispatch description.
    static ComPtr<ITypeInfo> VtableOf(ITypeInfo* dispatch) {
        HREFTYPE reference = 0;
        ComPtr<ITypeInfo> info;
        if (SUCCEEDED(dispatch->GetRefTypeOfImplType(static_cast<UINT>(-1), &reference))) {
            dispatch->GetRefTypeInfo(reference, &info);
        }
        return info;
    }
    // The functions of a dual interface in vtable order: name and DISPID.
    static std::vector<std::pair<std::wstring, MEMBERID>> MembersOf(const std::wstring& name) {
        std::vector<std::pair<std::wstring, MEMBERID>> members;
        ComPtr<ITypeInfo> info = VtableOf(All(TKIND_DISPATCH)[name].Get());
        TYPEATTR* attributes = nullptr;
        info->GetTypeAttr(&attributes);
        for (UINT i = 0; i < attributes->cFuncs; ++i) {
            FUNCDESC* function = nullptr;
            info->GetFuncDesc(i, &function);
            members.emplace_back(NameOf(info.Get(), function->memid), function->memid);
            info->ReleaseFuncDesc(function);
        }
        info->ReleaseTypeAttr(attributes);
        return members;
    }
    static std::wstring NamesOf(const std::wstring& name) {
        std::wstring names;
        for (const auto& member : MembersOf(name)) names += (names.empty() ? L"" : L" ") + member.first;
        return names;
    }

    static inline ComPtr<ITypeLib> library_;
};

TEST_F(ContractTest, LibraryAndVersionRecord) {
    TLIBATTR* attributes = nullptr;
    ASSERT_EQ(library_->GetLibAttr(&attributes), S_OK);
    wchar_t id[40] = {};
    StringFromGUID2(attributes->guid, id, 40);
    EXPECT_STREQ(id, L"{D1978849-DDB6-4CFB-9A30-E38C45EE0243}");
    EXPECT_EQ(attributes->wMajorVerNum * 1000 + attributes->wMinorVerNum, 452000);
    EXPECT_EQ(attributes->lcid, 1033u);
    library_->ReleaseTLibAttr(attributes);
    Bstr name, help;
    library_->GetDocumentation(-1, name.Receive(), help.Receive(), nullptr, nullptr);
    EXPECT_EQ(std::wstring(name.View()) + L"|" + std::wstring(help.View()), L"VOFSL|VOSTREL FileSystem Library");

    const std::wstring path = ProgramFolder() + L"\\vofslib.dll";
    DWORD ignored = 0;
    std::vector<BYTE> record(GetFileVersionInfoSizeW(path.c_str(), &ignored));
    ASSERT_TRUE(!record.empty() && GetFileVersionInfoW(path.c_str(), 0, static_cast<DWORD>(record.size()), record.data()));
    auto text = [&](const std::wstring& name) {
        wchar_t* value = nullptr;
        UINT length = 0;
        const std::wstring query = L"\\StringFileInfo\\040904B0\\" + name;
        return VerQueryValueW(record.data(), query.c_str(), reinterpret_cast<void**>(&value), &length) ? value : L"";
    };
    EXPECT_EQ(std::wstring(text(L"FileDescription")), L"Framework File System Library");
    EXPECT_EQ(std::wstring(text(L"FileVersion")), L"1.12.0004");
}

TEST_F(ContractTest, ClassesAndWhatCallersMayCreate) {
    const std::set<std::wstring> creatable{L"FileSystemLib", L"Volumes", L"Volume", L"FtpFileStream"};
    const std::map<std::wstring, const wchar_t*> sampledIds{
        {L"FileSystemLib", L"{1DBBA3A2-A309-4112-BAD5-3312F231088A}"},
        {L"Volume", L"{D2016DEB-3809-4A46-9C56-643F51AD5286}"},
        {L"IInternetStatus", L"{42FF536C-EFCF-476E-B7CA-C440D5BAE526}"}};
    const auto classes = All(TKIND_COCLASS);
    EXPECT_EQ(classes.size(), 27u);
    EXPECT_EQ(classes.count(L"Win32FileTime") + classes.count(L"Win32FindData"), 0u) << "the records stay private";
    for (const auto& [name, info] : classes) {
        SCOPED_TRACE(Narrow(name));
        TYPEATTR* attributes = nullptr;
        ASSERT_EQ(info->GetTypeAttr(&attributes), S_OK);
        EXPECT_EQ((attributes->wTypeFlags & TYPEFLAG_FCANCREATE) != 0, creatable.count(name) == 1);
        EXPECT_EQ((attributes->wTypeFlags & TYPEFLAG_FAPPOBJECT) != 0, name == L"FileSystemLib");
        wchar_t id[40] = {};
        StringFromGUID2(attributes->guid, id, 40);
        if (sampledIds.count(name)) EXPECT_STREQ(id, sampledIds.at(name));
        // The default interface is the class's own, named with a leading underscore.
        HREFTYPE reference = 0;
        ComPtr<ITypeInfo> first;
        INT flags = 0;
        info->GetRefTypeOfImplType(0, &reference);
        info->GetRefTypeInfo(reference, &first);
        info->GetImplTypeFlags(0, &flags);
        EXPECT_EQ(NameOf(first.Get()), L"_" + name);
        EXPECT_TRUE(flags & IMPLTYPEFLAG_FDEFAULT);
        info->ReleaseTypeAttr(attributes);
    }
}

TEST_F(ContractTest, EveryInterfaceIsDualHiddenNonextensibleAndDocumented) {
    const auto interfaces = All(TKIND_DISPATCH);
    EXPECT_EQ(interfaces.size(), 27u);
    for (const auto& [name, info] : interfaces) {
        SCOPED_TRACE(Narrow(name));
        TYPEATTR* attributes = nullptr;
        info->GetTypeAttr(&attributes);
        const WORD required = TYPEFLAG_FDUAL | TYPEFLAG_FHIDDEN | TYPEFLAG_FNONEXTENSIBLE | TYPEFLAG_FDISPATCHABLE;
        EXPECT_EQ(attributes->wTypeFlags & required, required);
        info->ReleaseTypeAttr(attributes);
        ComPtr<ITypeInfo> vtable = VtableOf(info.Get());
        for (const auto& [member, id] : MembersOf(name)) {
            Bstr help;
            vtable->GetDocumentation(id, nullptr, help.Receive(), nullptr, nullptr);
            EXPECT_FALSE(help.View().empty()) << Narrow(member);
        }
    }
    for (UINT i = 0; i < library_->GetTypeInfoCount(); ++i) {
        Bstr help;
        library_->GetDocumentation(static_cast<INT>(i), nullptr, help.Receive(), nullptr, nullptr);
        EXPECT_FALSE(help.View().empty()) << "type " << i;
    }
}

TEST_F(ContractTest, DefaultMembersAndEnumerators) {
    const std::map<std::wstring, std::wstring> defaults = {
        {L"_Path", L"FullPath"}, {L"_IPath", L"FullPath"}, {L"_FolderItem", L"Name"}, {L"_IFolderItem", L"Name"},
        {L"_FtpFolderItem", L"Name"}, {L"_TokenPrivileges", L"Item"}, {L"_TokenPrivilege", L"IsEnabled"},
        {L"_Volumes", L"Item"}};
    for (const auto& [name, info] : All(TKIND_DISPATCH)) {
        std::wstring defaultMember, newEnum;
        for (const auto& [member, id] : MembersOf(name)) {
            if (id == DISPID_VALUE) defaultMember = member;
            if (id == DISPID_NEWENUM) newEnum = member;
        }
        EXPECT_EQ(defaultMember, defaults.count(name) ? defaults.at(name) : L"") << Narrow(name);
        // Only Volumes can be walked with For Each; TokenPrivileges.NewEnum cannot.
        EXPECT_EQ(newEnum, name == L"_Volumes" ? L"NewEnum" : L"") << Narrow(name);
    }
}

TEST_F(ContractTest, MemberOrderAndOptionalDefaults) {
    EXPECT_EQ(NamesOf(L"_FileSystemLib"),
              L"WideCallSupport WideCallSupport GetFolderItem DefaultProxy GetPathObject GetTempFolderPath "
              L"NormalizePath GetUniqueTempName CopyFolder FolderExists FileExists NameFromPath ParentFromPath "
              L"RenameFolderItem CopyFolderItem MoveFolderItem DeleteFolderItem GetPlatformPath SetErrorMode "
              L"TokenPrivileges Volumes Impersonator FtpConnect OpenBackupStreamReader OpenBackupStreamWriter "
              L"OpenStream OpenTextStream EnumFolder BrowseToFolder FormatByteDisplay");
    EXPECT_EQ(NamesOf(L"_Path"),
              L"FullPath Name Extension DirectorySeparator AltDirectorySeparator InvalidPathChars VolumeSeparator "
              L"SegmentCount Segments PathIsUrl PathIsLogical PathIsNetShare PathIsRoot Protocol Object RootPath "
              L"RootPathObject Parent RelativePath GetPlatformPath ConvertUrlToPath LogicalPathToUnc ConcatPath "
              L"ConcatPlatformPath ConcatPathObject ConcatPlatformPathObject");
    EXPECT_EQ(NamesOf(L"_Volumes"), L"Count Item NewEnum Refresh BindToVolume");

    // OpenStream(Path, Mode = 3, Access = &H80000000, Share = 1, Flags = 0)
    ComPtr<ITypeInfo> info = VtableOf(All(TKIND_DISPATCH)[L"_FileSystemLib"].Get());
    const auto members = MembersOf(L"_FileSystemLib");
    const long defaults[] = {3, -2147483647L - 1, 1, 0};
    FUNCDESC* function = nullptr;
    ASSERT_EQ(info->GetFuncDesc(25, &function), S_OK);
    ASSERT_EQ(members[25].first, L"OpenStream");
    ASSERT_EQ(function->cParams, 6);
    for (int p = 1; p <= 4; ++p) {
        const PARAMDESC& parameter = function->lprgelemdescParam[p].paramdesc;
        ASSERT_TRUE(parameter.wParamFlags & PARAMFLAG_FHASDEFAULT) << p;
        EXPECT_EQ(ToLong(parameter.pparamdescex->varDefaultValue), defaults[p - 1]) << p;
    }
    info->ReleaseFuncDesc(function);
}

TEST_F(ContractTest, EnumerationsBySampling) {
    struct Sample {
        const wchar_t* enumeration;
        UINT index;
        const wchar_t* name;
        long value;
    };
    // The values that differ from the platform's or from the obvious ones, and the last
    // member of the long enumerations, which pins their order.
    const Sample samples[] = {
        {L"ErrorModes", 2, L"NoOpenFileErrorBox", -32768},
        {L"OpenFileFlags", 2, L"BackupSemantics", -33554432},
        {L"OpenFileFlags", 8, L"WriteThrough", -2147483647L - 1},
        {L"ProxyMethods", 1, L"ProxyHost", 1},
        {L"ProxyMethods", 2, L"ProxyUserAndHost", 1},
        {L"BrowseInFolderFlags", 7, L"UseNewUI50", 80},
        {L"BrowseInFolderFlags", 12, L"BrowserPrinters", 8192},
        {L"InternetStatus", 0, L"SendKeepAlive", -1},
        {L"VirtualFolders", 29, L"HistoryFolder", 34},
        {L"FileAccess", 2, L"AccessReadWrite", -1073741824},
        {L"IFolderItemMembers", 22, L"ifiEnumFolder", 22},
        {L"PrivilegeNames", 27, L"SeManageVolumePrivilege", 28},
        {L"TextStreamIoMode", 2, L"ForAppending", 8},
        {L"VolumeTypes", 6, L"RamDiskDrive", 6},
    };
    const auto enumerations = All(TKIND_ENUM);
    EXPECT_EQ(enumerations.size(), 28u);
    for (const Sample& sample : samples) {
        SCOPED_TRACE(Narrow(sample.name));
        ASSERT_TRUE(enumerations.count(sample.enumeration));
        ITypeInfo* info = enumerations.at(sample.enumeration).Get();
        VARDESC* variable = nullptr;
        ASSERT_EQ(info->GetVarDesc(sample.index, &variable), S_OK);
        EXPECT_EQ(NameOf(info, variable->memid), sample.name);
        EXPECT_EQ(ToLong(*variable->lpvarValue), sample.value);
        info->ReleaseVarDesc(variable);
    }
}

}  // namespace
}  // namespace vofs::testing
