// The built DLL's type library against the published contract: library attributes, the
// class table, every enumeration, interface flags, default members and member order.

#include "support/test_support.h"

#include <gtest/gtest.h>

#include <map>
#include <set>
#include <utility>
#include <vector>

namespace vofs::testing {
namespace {

class ContractTest : public ::testing::Test {
protected:
    static void SetUpTestSuite() {
        const std::wstring path = ProgramFolder() + L"\\vofslib.dll";
        ASSERT_EQ(LoadTypeLibEx(path.c_str(), REGKIND_NONE, &library_), S_OK) << "cannot load the DLL's type library";
    }
    static void TearDownTestSuite() { library_.Reset(); }

    static ComPtr<ITypeInfo> Find(const std::wstring& name) {
        const UINT count = library_->GetTypeInfoCount();
        for (UINT i = 0; i < count; ++i) {
            Bstr found;
            library_->GetDocumentation(static_cast<INT>(i), found.Receive(), nullptr, nullptr, nullptr);
            if (found.View() == name) {
                ComPtr<ITypeInfo> info;
                library_->GetTypeInfo(i, &info);
                return info;
            }
        }
        return nullptr;
    }

    static std::wstring NameOf(ITypeInfo* info, MEMBERID member = MEMBERID_NIL) {
        Bstr name;
        info->GetDocumentation(member, name.Receive(), nullptr, nullptr, nullptr);
        return std::wstring(name.View());
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

    struct Member {
        std::wstring name;
        MEMBERID id;
        INVOKEKIND kind;
    };

    static std::vector<Member> MembersOf(const std::wstring& interfaceName) {
        std::vector<Member> members;
        ComPtr<ITypeInfo> dispatch = Find(interfaceName);
        if (!dispatch) return members;
        ComPtr<ITypeInfo> info = VtableOf(dispatch.Get());
        if (!info) return members;
        TYPEATTR* attributes = nullptr;
        info->GetTypeAttr(&attributes);
        for (UINT i = 0; i < attributes->cFuncs; ++i) {
            FUNCDESC* function = nullptr;
            info->GetFuncDesc(i, &function);
            members.push_back({NameOf(info.Get(), function->memid), function->memid, function->invkind});
            info->ReleaseFuncDesc(function);
        }
        info->ReleaseTypeAttr(attributes);
        return members;
    }

    static inline ComPtr<ITypeLib> library_;
};

TEST_F(ContractTest, VersionRecord) {
    const std::wstring path = ProgramFolder() + L"\\vofslib.dll";
    DWORD ignored = 0;
    const DWORD size = GetFileVersionInfoSizeW(path.c_str(), &ignored);
    ASSERT_GT(size, 0u);
    std::vector<BYTE> record(size);
    ASSERT_TRUE(GetFileVersionInfoW(path.c_str(), 0, size, record.data()));
    VS_FIXEDFILEINFO* fixed = nullptr;
    UINT length = 0;
    ASSERT_TRUE(VerQueryValueW(record.data(), L"\\", reinterpret_cast<void**>(&fixed), &length));
    EXPECT_EQ(fixed->dwFileVersionMS, MAKELONG(12, 1));
    EXPECT_EQ(fixed->dwFileVersionLS, MAKELONG(4, 0));
    auto text = [&](const wchar_t* name) {
        wchar_t* value = nullptr;
        const std::wstring query = std::wstring(L"\\StringFileInfo\\040904B0\\") + name;
        return VerQueryValueW(record.data(), query.c_str(), reinterpret_cast<void**>(&value), &length)
                   ? std::wstring(value) : std::wstring();
    };
    EXPECT_EQ(text(L"FileDescription"), L"Framework File System Library");
    EXPECT_EQ(text(L"FileVersion"), L"1.12.0004");
}

TEST_F(ContractTest, LibraryAttributes) {
    TLIBATTR* attributes = nullptr;
    ASSERT_EQ(library_->GetLibAttr(&attributes), S_OK);
    wchar_t id[40] = {};
    StringFromGUID2(attributes->guid, id, 40);
    EXPECT_STREQ(id, L"{D1978849-DDB6-4CFB-9A30-E38C45EE0243}");
    EXPECT_EQ(attributes->wMajorVerNum, 452);
    EXPECT_EQ(attributes->wMinorVerNum, 0);
    EXPECT_EQ(attributes->lcid, 1033u);
    library_->ReleaseTLibAttr(attributes);

    Bstr name, help;
    library_->GetDocumentation(-1, name.Receive(), help.Receive(), nullptr, nullptr);
    EXPECT_EQ(name.View(), L"VOFSL");
    EXPECT_EQ(help.View(), L"VOSTREL FileSystem Library");
}

TEST_F(ContractTest, ClassTable) {
    struct Class {
        const wchar_t* name;
        const wchar_t* clsid;
        bool creatable;
        std::vector<std::wstring> interfaces;  // default first
    };
    const Class classes[] = {
        {L"FileSystemLib", L"{1DBBA3A2-A309-4112-BAD5-3312F231088A}", true, {L"_FileSystemLib"}},
        {L"Path", L"{3A778E5B-7867-4710-87DF-5918B36413A8}", false, {L"_Path", L"_IPath"}},
        {L"FolderItem", L"{8C5E590A-0888-4496-B80B-2721960391CF}", false, {L"_FolderItem", L"_IFolderItem"}},
        {L"FolderEnumerator", L"{62B521B8-9DA7-4760-AAA1-467559E2A4AA}", false,
         {L"_FolderEnumerator", L"_IFolderEnumerator"}},
        {L"OpenFile", L"{0ABE5560-51E4-48DA-8E50-F9BFD41023A0}", false, {L"_OpenFile", L"_IOpenFile"}},
        {L"FileStream", L"{A520CB6C-4958-4654-9FB5-1BBA6636D30B}", false, {L"_FileStream", L"_IFileStream"}},
        {L"TextStream", L"{FC724892-132D-4A13-B31A-23D0AAD7A3AF}", false, {L"_TextStream", L"_ITextStream"}},
        {L"BackupStreamReader", L"{FF8858B7-A41A-41E7-968F-033AFD02F916}", false, {L"_BackupStreamReader"}},
        {L"BackupStreamWriter", L"{3012B394-24FF-46B6-A560-2528D9CBFAE4}", false, {L"_BackupStreamWriter"}},
        {L"TokenPrivileges", L"{231C8054-12F0-4406-A99F-F301924D59FE}", false, {L"_TokenPrivileges"}},
        {L"TokenPrivilege", L"{DB399B89-A939-44EC-8998-CF16DABD452F}", false, {L"_TokenPrivilege"}},
        {L"ProxySettings", L"{1F73B9B1-1E1C-41F8-A43F-A964DFF3DA8C}", false, {L"_ProxySettings"}},
        {L"Volumes", L"{FADF5CBE-F6A2-4639-B8ED-CD81765E62BF}", true, {L"_Volumes"}},
        {L"Volume", L"{D2016DEB-3809-4A46-9C56-643F51AD5286}", true, {L"_Volume"}},
        {L"Impersonator", L"{A6671320-37B8-4EA5-BE63-26869562EFA4}", false, {L"_Impersonator"}},
        {L"FtpConnection", L"{2680879C-B5C8-4149-956A-D6DA1B26C163}", false, {L"_FtpConnection", L"_IInternetStatus"}},
        {L"FtpFolderItem", L"{C60A4677-D135-43C0-9880-212AB6C49A6E}", false, {L"_FtpFolderItem", L"_IFolderItem"}},
        {L"FtpFolderEnumerator", L"{C1B7FBCF-72AC-4699-B4A2-B5A3D2EB57F3}", false,
         {L"_FtpFolderEnumerator", L"_IFolderEnumerator", L"_IInternetStatus"}},
        {L"FtpFileStream", L"{BC9733A3-09AC-4B9B-B836-3C1EAB0B3BAD}", true,
         {L"_FtpFileStream", L"_IFileStream", L"_IInternetStatus"}},
        {L"FtpOpenFile", L"{F82C10A0-3381-41A3-B2FC-9FA4A1AC4E50}", false, {L"_FtpOpenFile", L"_IOpenFile"}},
        {L"IPath", L"{6F541ABE-1725-47CC-89D2-1A1EE6D997ED}", false, {L"_IPath"}},
        {L"IFolderItem", L"{30E4131D-E4EE-4CDA-974F-9269C43DC690}", false, {L"_IFolderItem"}},
        {L"IFolderEnumerator", L"{5E044388-2B92-4AE8-93C3-83B66BEE0D8E}", false, {L"_IFolderEnumerator"}},
        {L"IOpenFile", L"{BAAB7764-E945-4D2F-AF5B-89AFCB7D7524}", false, {L"_IOpenFile"}},
        {L"IFileStream", L"{7A3933F4-F2CE-4BC2-981C-D810C4DD98E0}", false, {L"_IFileStream"}},
        {L"ITextStream", L"{9AE04B20-81C9-47A8-A070-C1FE6066B98F}", false, {L"_ITextStream"}},
        {L"IInternetStatus", L"{42FF536C-EFCF-476E-B7CA-C440D5BAE526}", false, {L"_IInternetStatus"}},
    };

    size_t coclasses = 0;
    for (UINT i = 0; i < library_->GetTypeInfoCount(); ++i) {
        TYPEKIND kind;
        library_->GetTypeInfoType(i, &kind);
        if (kind == TKIND_COCLASS) ++coclasses;
    }
    EXPECT_EQ(coclasses, std::size(classes));

    for (const Class& expected : classes) {
        SCOPED_TRACE(expected.name);
        ComPtr<ITypeInfo> info = Find(expected.name);
        ASSERT_TRUE(info);
        TYPEATTR* attributes = nullptr;
        ASSERT_EQ(info->GetTypeAttr(&attributes), S_OK);
        EXPECT_EQ(attributes->typekind, TKIND_COCLASS);
        wchar_t id[40] = {};
        StringFromGUID2(attributes->guid, id, 40);
        EXPECT_STREQ(id, expected.clsid);
        EXPECT_EQ((attributes->wTypeFlags & TYPEFLAG_FCANCREATE) != 0, expected.creatable);
        EXPECT_EQ((attributes->wTypeFlags & TYPEFLAG_FAPPOBJECT) != 0, std::wstring(expected.name) == L"FileSystemLib");
        ASSERT_EQ(attributes->cImplTypes, expected.interfaces.size());
        for (UINT k = 0; k < attributes->cImplTypes; ++k) {
            HREFTYPE reference = 0;
            ComPtr<ITypeInfo> implemented;
            info->GetRefTypeOfImplType(k, &reference);
            info->GetRefTypeInfo(reference, &implemented);
            EXPECT_EQ(NameOf(implemented.Get()), expected.interfaces[k]);
            INT flags = 0;
            info->GetImplTypeFlags(k, &flags);
            EXPECT_EQ((flags & IMPLTYPEFLAG_FDEFAULT) != 0, k == 0);
        }
        info->ReleaseTypeAttr(attributes);
    }
}

TEST_F(ContractTest, Enumerations) {
    using Members = std::vector<std::pair<const wchar_t*, long>>;
    const std::vector<std::pair<const wchar_t*, Members>> enumerations = {
        {L"PathTypes", {{L"ptLogical", 1}, {L"ptNetwork", 2}, {L"ptURL", 4}}},
        {L"FileMoveOptions", {{L"ReplaceExisting", 1}, {L"CopyAllowed", 2}, {L"DelayUntilReboot", 4}, {L"WriteThrough", 8}}},
        {L"ErrorModes", {{L"DisplayAll", 0}, {L"NoCriticalErrors", 1}, {L"NoOpenFileErrorBox", -32768}}},
        {L"ByteDisplayTypes", {{L"DisplayAsExplorer", 1}, {L"DisplayAsDrive", 2}, {L"DisplayAsFolder", 4}}},
        {L"WideCallSupportOptions", {{L"AutoDetect", 0}, {L"AnsiVersion", 1}, {L"WideVersion", 2}}},
        {L"VirtualFolders",
         {{L"DesktopFolder", 0}, {L"InternetFolder", 1}, {L"ProgramsFolder", 2}, {L"ControlsFolder", 3},
          {L"PrintersFolder", 4}, {L"PersonalFolder", 5}, {L"FavoritesFolder", 6}, {L"StartupFolder", 7},
          {L"RecentFolder", 8}, {L"SendToFolder", 9}, {L"BitBucketFolder", 10}, {L"StartMenuFolder", 11},
          {L"DesktopDirectoryFolder", 16}, {L"DrivesFolder", 17}, {L"NetworkFolder", 18}, {L"NetHoodFolder", 19},
          {L"FontsFolder", 20}, {L"TemplatesFolder", 21}, {L"CommonStartMenuFolder", 22},
          {L"CommonProgramsFolder", 23}, {L"CommonStartupFolder", 24}, {L"CommonDesktopDirectoryFolder", 25},
          {L"AppDataFolder", 26}, {L"PrintHoodFolder", 27}, {L"AltStartupFolder", 29},
          {L"CommonAltStartupFolder", 30}, {L"CommonFavoritesFolder", 31}, {L"InternetCacheFolder", 32},
          {L"CookiesFolder", 33}, {L"HistoryFolder", 34}}},
        {L"BrowseInFolderFlags",
         {{L"FileSystemFoldersOnly", 1}, {L"NotBelowDomain", 2}, {L"StatusText", 4}, {L"FileSystemAncestors", 8},
          {L"EditBox471", 16}, {L"Validate471", 32}, {L"NewDialogStyle50", 64}, {L"UseNewUI50", 80},
          {L"IncludeUrls50", 128}, {L"UaHint", 256}, {L"NoNewFolderButton", 512}, {L"BrowseComputers", 4096},
          {L"BrowserPrinters", 8192}, {L"IncludeFiles471", 16384}, {L"Shareable50", 32768}}},
        {L"FileAttributes",
         {{L"ReadOnly", 1}, {L"Hidden", 2}, {L"System", 4}, {L"Volume", 8}, {L"Directory", 16}, {L"Archive", 32},
          {L"Alias", 64}, {L"Normal", 128}, {L"Temporary", 256}, {L"SparseFile", 512}, {L"ReparsePoint", 1024},
          {L"Compressed", 2048}, {L"Offline", 4096}, {L"NotContentIndexed", 8192}, {L"Encrypted", 16384}}},
        {L"FileSystemCopyOptions", {{L"DefaultOptions", 0}}},
        {L"IFolderItemMembers",
         {{L"ifiPath", 0}, {L"ifiName", 1}, {L"ifiExists", 2}, {L"ifiCreateFolder", 3}, {L"ifiDelete", 4},
          {L"ifiSize", 5}, {L"ifiAttributes", 6}, {L"ifiAttributesLet", 7}, {L"ifiCreationTime", 8},
          {L"ifiLastWriteTime", 9}, {L"ifiLastAccessTime", 10}, {L"ifiPreciseCreationTime", 11},
          {L"ifiPreciseLastWriteTime", 12}, {L"ifiPreciseLastAccessTime", 13}, {L"ifiIsFolder", 14},
          {L"ifiPathIsRoot", 15}, {L"ifiParent", 16}, {L"ifiOpenStreamReader", 17}, {L"ifiOpenStreamWriter", 18},
          {L"ifiOpenTextStream", 19}, {L"ifiCached", 20}, {L"ifiRefresh", 21}, {L"ifiEnumFolder", 22}}},
        {L"OpenFileFlags",
         {{L"NoFileFlags", 0}, {L"PosixSemantics", 16777216}, {L"BackupSemantics", -33554432},
          {L"DeleteOnClose", 67108864}, {L"SequentialScan", 134217728}, {L"RandomAccess", 268435456},
          {L"NoBuffering", 536870912}, {L"OverlappedIO", 1073741824}, {L"WriteThrough", -2147483647L - 1}}},
        {L"FileMode",
         {{L"CreateNew", 1}, {L"CreateAlways", 2}, {L"OpenExisting", 3}, {L"OpenOrCreate", 4}, {L"Truncate", 5},
          {L"Append", 6}}},
        {L"FileAccess",
         {{L"AccessRead", -2147483647L - 1}, {L"AccessWrite", 1073741824}, {L"AccessReadWrite", -1073741824},
          {L"AccessDelete", 65536}, {L"AccessReadControl", 131072}, {L"AccessWriteDac", 262144},
          {L"AccessWriteOwner", 524288}, {L"AccessSynchronize", 1048576},
          {L"AccessStandardRightsRequired", 983040}, {L"AccessStandardRightsAll", 2031616},
          {L"AccessSystemSecurity", 16777216}}},
        {L"FileShare",
         {{L"ShareNone", 0}, {L"ShareRead", 1}, {L"ShareWrite", 2}, {L"ShareReadWrite", 3}, {L"ShareDelete", 4}}},
        {L"QueueStatus",
         {{L"QsKey", 1}, {L"QsMouseMove", 2}, {L"QsMouseButton", 4}, {L"QsPostMessage", 8}, {L"QsTimer", 16},
          {L"QsPaint", 32}, {L"QsSendMessage", 64}, {L"QsHotKey", 128}, {L"QsAllPostMessage", 256},
          {L"QsMouse", 6}, {L"QsInput", 7}, {L"QsAllEvents", 191}, {L"QsAllInput", 255}}},
        {L"FilePointerOptions", {{L"BeginOfFile", 0}, {L"FileCurrentPosition", 1}, {L"EndOfFile", 2}}},
        {L"IOpenFileMembers",
         {{L"iofHandle", 0}, {L"iofAttributes", 1}, {L"iofAttributesLet", 2}, {L"iofFolderItem", 3},
          {L"iofLastWriteTime", 4}, {L"iofLastAccessTime", 5}, {L"iofCreationTime", 6},
          {L"iofPreciseLastWriteTime", 7}, {L"iofPreciseLastAccessTime", 8}, {L"iofPreciseCreationTime", 9},
          {L"iofName", 10}, {L"iofAccess", 11}, {L"iofOpenFlags", 12}, {L"iofSharing", 13}, {L"iofMode", 14},
          {L"iofCloseFile", 15}, {L"iofSetLastWriteTime", 16}, {L"iofSetLastAccessTime", 17},
          {L"iofSetCreationTime", 18}, {L"iofSize", 19}, {L"iofObject", 20}}},
        {L"FileStreamTypes",
         {{L"StreamInvalid", 0}, {L"StreamData", 1}, {L"StreamEaData", 2}, {L"StreamSecurityData", 3},
          {L"StreamAlternateData", 4}, {L"StreamLink", 5}, {L"StreamPropertyData", 6}, {L"StreamObjectId", 7},
          {L"StreamReparseData", 8}, {L"StreamSparseBlock", 9}}},
        {L"FileStreamAttributes",
         {{L"StreamNormalAttribute", 0}, {L"StreamModifiedWhenRead", 1}, {L"StreamContainsSecurity", 2},
          {L"StreamContainsProperties", 4}, {L"StreamSparseAttribute", 8}}},
        {L"PrivilegeNames",
         {{L"SeCreateTokenPrivilege", 1}, {L"SeAssignPrimaryTokenPrivilege", 2}, {L"SeLockMemoryPrivilege", 3},
          {L"SeIncreaseQuotaPrivilege", 4}, {L"SeUnsolicitedInputPrivilege", 5},
          {L"SeMachineAccountPrivilege", 6}, {L"SeTcbPrivilege", 7}, {L"SeSecurityPrivilege", 8},
          {L"SeTakeOwnershipPrivilege", 9}, {L"SeLoadDriverPrivilege", 10}, {L"SeSystemProfilePrivilege", 11},
          {L"SeSystemtimePrivilege", 12}, {L"SeProfileSingleProcessPrivilege", 13},
          {L"SeIncreaseBasePriorityPrivilege", 14}, {L"SeCreatePagefilePrivilege", 15},
          {L"SeCreatePermanentPrivilege", 16}, {L"SeBackupPrivilege", 17}, {L"SeRestorePrivilege", 18},
          {L"SeShutdownPrivilege", 19}, {L"SeDebugPrivilege", 20}, {L"SeAuditPrivilege", 21},
          {L"SeSystemEnvironmentPrivilege", 22}, {L"SeChangeNotifyPrivilege", 23},
          {L"SeRemoteShutdownPrivilege", 24}, {L"SeUndockPrivilege", 25}, {L"SeSyncAgentPrivilege", 26},
          {L"SeEnableDelegationPrivilege", 27}, {L"SeManageVolumePrivilege", 28}}},
        {L"PrivilegeStateChange", {{L"NoPrivilegeChange", 0}, {L"PrivilegeEnabled", 1}, {L"PrivilegeDisabled", 2}}},
        {L"ProxyMethods",
         {{L"ProxyUseIeSettings", 0}, {L"ProxyHost", 1}, {L"ProxyUserAndHost", 1}, {L"ProxyUserHostAndPort", 2}}},
        {L"TextStreamIoMode", {{L"ForReading", 1}, {L"ForWriting", 2}, {L"ForAppending", 8}}},
        {L"InternetStatus",
         {{L"SendKeepAlive", -1}, {L"ResolvingName", 10}, {L"NameResolved", 11}, {L"ConnectingToServer", 20},
          {L"ConnectedToServer", 21}, {L"SendingRequest", 30}, {L"RequestSent", 31}, {L"ReceivingResponse", 40},
          {L"ResponseReceived", 41}, {L"PreFetch", 43}, {L"ClosingConnection", 50}, {L"ConnectionClosed", 51},
          {L"HandleCreated", 60}, {L"HandleClosing", 70}, {L"DetectingProxy", 80}, {L"RequestComplete", 100},
          {L"Redirecting", 110}, {L"IntermediateResponse", 120}, {L"UserInputRequired", 140},
          {L"StateChange", 200}}},
        {L"VolumeTypes",
         {{L"UnknownDrive", 0}, {L"NoRootDirDrive", 1}, {L"RemovableDrive", 2}, {L"FixedDrive", 3},
          {L"RemoteDrive", 4}, {L"CDRomDrive", 5}, {L"RamDiskDrive", 6}}},
        {L"LogonTypes", {{L"InteractiveLogon", 2}, {L"NetworkLogon", 3}, {L"BatchLogon", 4}, {L"ServiceLogon", 5}}},
        {L"InternetOpenMethods", {{L"OpenPreConfig", 0}, {L"OpenDirect", 1}, {L"OpenProxy", 3}}},
        {L"FtpFlags", {{L"ffNoFlags", 0}}},
    };
    ASSERT_EQ(enumerations.size(), 28u);

    size_t enums = 0;
    for (UINT i = 0; i < library_->GetTypeInfoCount(); ++i) {
        TYPEKIND kind;
        library_->GetTypeInfoType(i, &kind);
        if (kind == TKIND_ENUM) ++enums;
    }
    EXPECT_EQ(enums, enumerations.size());

    for (const auto& [name, members] : enumerations) {
        SCOPED_TRACE(name);
        ComPtr<ITypeInfo> info = Find(name);
        ASSERT_TRUE(info);
        TYPEATTR* attributes = nullptr;
        info->GetTypeAttr(&attributes);
        EXPECT_EQ(attributes->typekind, TKIND_ENUM);
        ASSERT_EQ(attributes->cVars, members.size());
        for (UINT k = 0; k < attributes->cVars; ++k) {
            VARDESC* variable = nullptr;
            info->GetVarDesc(k, &variable);
            EXPECT_EQ(NameOf(info.Get(), variable->memid), members[k].first);
            EXPECT_EQ(ToLong(*variable->lpvarValue), members[k].second) << "member " << k;
            info->ReleaseVarDesc(variable);
        }
        info->ReleaseTypeAttr(attributes);
    }
}

TEST_F(ContractTest, EveryInterfaceIsDualHiddenNonextensibleAndDocumented) {
    size_t interfaces = 0;
    for (UINT i = 0; i < library_->GetTypeInfoCount(); ++i) {
        ComPtr<ITypeInfo> info;
        library_->GetTypeInfo(i, &info);
        Bstr help;
        library_->GetDocumentation(static_cast<INT>(i), nullptr, help.Receive(), nullptr, nullptr);
        const std::wstring name = NameOf(info.Get());
        EXPECT_FALSE(help.View().empty()) << "no help string on " << std::string(name.begin(), name.end());
        TYPEATTR* attributes = nullptr;
        info->GetTypeAttr(&attributes);
        if (attributes->typekind == TKIND_DISPATCH) {
            ++interfaces;
            const WORD required = TYPEFLAG_FDUAL | TYPEFLAG_FHIDDEN | TYPEFLAG_FNONEXTENSIBLE | TYPEFLAG_FDISPATCHABLE;
            EXPECT_EQ(attributes->wTypeFlags & required, required) << std::string(name.begin(), name.end());
            ComPtr<ITypeInfo> vtable = VtableOf(info.Get());
            TYPEATTR* vtableAttributes = nullptr;
            vtable->GetTypeAttr(&vtableAttributes);
            EXPECT_TRUE(vtableAttributes->wTypeFlags & TYPEFLAG_FOLEAUTOMATION) << std::string(name.begin(), name.end());
            for (UINT f = 0; f < vtableAttributes->cFuncs; ++f) {
                FUNCDESC* function = nullptr;
                vtable->GetFuncDesc(f, &function);
                Bstr memberHelp;
                vtable->GetDocumentation(function->memid, nullptr, memberHelp.Receive(), nullptr, nullptr);
                EXPECT_FALSE(memberHelp.View().empty()) << "member " << f << " of " << std::string(name.begin(), name.end());
                vtable->ReleaseFuncDesc(function);
            }
            vtable->ReleaseTypeAttr(vtableAttributes);
        }
        info->ReleaseTypeAttr(attributes);
    }
    EXPECT_EQ(interfaces, 27u);
    EXPECT_FALSE(Find(L"Win32FileTime")) << "the record classes stay out of the published library";
}

TEST_F(ContractTest, DefaultMembersAndEnumerators) {
    const std::map<std::wstring, std::wstring> defaults = {
        {L"_Path", L"FullPath"},         {L"_IPath", L"FullPath"},          {L"_FolderItem", L"Name"},
        {L"_IFolderItem", L"Name"},      {L"_FtpFolderItem", L"Name"},      {L"_TokenPrivileges", L"Item"},
        {L"_TokenPrivilege", L"IsEnabled"}, {L"_Volumes", L"Item"},
    };
    for (UINT i = 0; i < library_->GetTypeInfoCount(); ++i) {
        TYPEKIND kind;
        library_->GetTypeInfoType(i, &kind);
        if (kind != TKIND_DISPATCH) continue;
        ComPtr<ITypeInfo> info;
        library_->GetTypeInfo(i, &info);
        const std::wstring name = NameOf(info.Get());
        std::wstring defaultMember;
        for (const Member& member : MembersOf(name)) {
            if (member.id == DISPID_VALUE) defaultMember = member.name;
        }
        const auto expected = defaults.find(name);
        EXPECT_EQ(defaultMember, expected == defaults.end() ? L"" : expected->second)
            << std::string(name.begin(), name.end());
    }

    auto idOf = [](const std::wstring& interfaceName, const std::wstring& memberName) -> MEMBERID {
        for (const Member& member : MembersOf(interfaceName)) {
            if (member.name == memberName) return member.id;
        }
        return MEMBERID_NIL;
    };
    EXPECT_EQ(idOf(L"_Volumes", L"NewEnum"), DISPID_NEWENUM);
    EXPECT_NE(idOf(L"_TokenPrivileges", L"NewEnum"), DISPID_NEWENUM);
    EXPECT_NE(idOf(L"_TokenPrivileges", L"NewEnum"), MEMBERID_NIL);
}

TEST_F(ContractTest, MemberOrder) {
    auto names = [](const std::wstring& interfaceName) {
        std::vector<std::wstring> result;
        for (const Member& member : MembersOf(interfaceName)) result.push_back(member.name);
        return result;
    };
    EXPECT_EQ(names(L"_FileSystemLib"),
              (std::vector<std::wstring>{
                  L"WideCallSupport", L"WideCallSupport", L"GetFolderItem", L"DefaultProxy", L"GetPathObject",
                  L"GetTempFolderPath", L"NormalizePath", L"GetUniqueTempName", L"CopyFolder", L"FolderExists",
                  L"FileExists", L"NameFromPath", L"ParentFromPath", L"RenameFolderItem", L"CopyFolderItem",
                  L"MoveFolderItem", L"DeleteFolderItem", L"GetPlatformPath", L"SetErrorMode", L"TokenPrivileges",
                  L"Volumes", L"Impersonator", L"FtpConnect", L"OpenBackupStreamReader", L"OpenBackupStreamWriter",
                  L"OpenStream", L"OpenTextStream", L"EnumFolder", L"BrowseToFolder", L"FormatByteDisplay"}));
    EXPECT_EQ(names(L"_Path"),
              (std::vector<std::wstring>{
                  L"FullPath", L"Name", L"Extension", L"DirectorySeparator", L"AltDirectorySeparator",
                  L"InvalidPathChars", L"VolumeSeparator", L"SegmentCount", L"Segments", L"PathIsUrl",
                  L"PathIsLogical", L"PathIsNetShare", L"PathIsRoot", L"Protocol", L"Object", L"RootPath",
                  L"RootPathObject", L"Parent", L"RelativePath", L"GetPlatformPath", L"ConvertUrlToPath",
                  L"LogicalPathToUnc", L"ConcatPath", L"ConcatPlatformPath", L"ConcatPathObject",
                  L"ConcatPlatformPathObject"}));
    EXPECT_EQ(names(L"_Volumes"),
              (std::vector<std::wstring>{L"Count", L"Item", L"NewEnum", L"Refresh", L"BindToVolume"}));
    EXPECT_EQ(names(L"_ProxySettings").size(), 14u);
}

TEST_F(ContractTest, OptionalArgumentsAndDefaults) {
    ComPtr<ITypeInfo> info = VtableOf(Find(L"_FileSystemLib").Get());
    MEMBERID id = MEMBERID_NIL;
    LPOLESTR name = const_cast<LPOLESTR>(L"OpenStream");
    ASSERT_EQ(info->GetIDsOfNames(&name, 1, &id), S_OK);
    for (UINT f = 0;; ++f) {
        FUNCDESC* function = nullptr;
        ASSERT_EQ(info->GetFuncDesc(f, &function), S_OK);
        if (function->memid != id) {
            info->ReleaseFuncDesc(function);
            continue;
        }
        // OpenStream(Path, Mode = 3, Access = &H80000000, Share = 1, Flags = 0)
        const long defaults[] = {3, -2147483647L - 1, 1, 0};
        ASSERT_EQ(function->cParams, 6);
        for (int p = 1; p <= 4; ++p) {
            const PARAMDESC& parameter = function->lprgelemdescParam[p].paramdesc;
            ASSERT_TRUE(parameter.wParamFlags & PARAMFLAG_FHASDEFAULT) << "parameter " << p;
            EXPECT_EQ(ToLong(parameter.pparamdescex->varDefaultValue), defaults[p - 1]) << "parameter " << p;
        }
        info->ReleaseFuncDesc(function);
        break;
    }
}

}  // namespace
}  // namespace vofs::testing
