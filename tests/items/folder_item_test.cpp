// FolderItem and FolderEnumerator where the platform's answers must be chosen through
// the seam, or where a script cannot reach them: the exact names handed to the platform,
// failed searches and folder creations, every search closed once, the fixed answers of
// IFolderEnumerator. tests/scripts/items.vbs is the script client on real files.

#include "common/platform_api.h"
#include "common/system_error.h"
#include "frame/module.h"
#include "items/folder_enumerator.h"
#include "items/folder_item.h"
#include "support/test_support.h"

#include <vector>

namespace vofs::testing {
namespace {

std::vector<std::wstring> calls;  // what the stand-ins below were asked, in order
DWORD refusal = ERROR_ACCESS_DENIED;        // CreateDirectory's answer
DWORD searchRefusal = ERROR_PATH_NOT_FOUND;  // FindFirstFile's failure
int searches = 0;     // opened and not closed
int closes = 0;
int nextCalls = 0;
int allowedNexts = 0;  // FindNextFile calls that succeed before it fails

BOOL WINAPI RecordMove(LPCWSTR from, LPCWSTR to) {
    calls.insert(calls.end(), {from, to});
    return MoveFileW(from, to);
}
BOOL WINAPI RecordCreateDirectory(LPCWSTR path, LPSECURITY_ATTRIBUTES) {
    calls.push_back(path);
    SetLastError(refusal);
    return refusal == NO_ERROR;
}
DWORD WINAPI NothingThere(LPCWSTR) {
    SetLastError(ERROR_PATH_NOT_FOUND);
    return INVALID_FILE_ATTRIBUTES;
}
HANDLE WINAPI FindFails(LPCWSTR, LPWIN32_FIND_DATAW) {
    SetLastError(searchRefusal);
    return INVALID_HANDLE_VALUE;
}
HANDLE WINAPI CountingFindFirst(LPCWSTR pattern, LPWIN32_FIND_DATAW data) {
    HANDLE search = FindFirstFileW(pattern, data);
    if (search != INVALID_HANDLE_VALUE) ++searches;
    return search;
}
BOOL WINAPI CountingFindClose(HANDLE search) {
    --searches;
    ++closes;
    return FindClose(search);
}
BOOL WINAPI FailAfterAllowedNexts(HANDLE search, LPWIN32_FIND_DATAW data) {
    if (++nextCalls <= allowedNexts) return FindNextFileW(search, data);
    SetLastError(ERROR_NETNAME_DELETED);
    return FALSE;
}

class FolderItemTest : public ::testing::Test {
protected:
    void SetUp() override {
        calls.clear();
        searchRefusal = ERROR_PATH_NOT_FOUND;
    }
    ScratchFolder scratch_;
    WideCallSettingGuard setting_;
};

TEST_F(FolderItemTest, RenamingAnItemAtADriveRootNamesItExactly) {
    // v: is a drive of the test session (a folder of the build tree). Long-path names
    // are taken as they stand, so a doubled separator would name nothing on Windows.
    DeleteFileW(L"V:\\renamed.txt");
    HANDLE file = CreateFileW(L"V:\\at root.txt", GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, 0, nullptr);
    ASSERT_NE(file, INVALID_HANDLE_VALUE) << "the session's drive v: is missing";
    CloseHandle(file);
    ApiOverride<&PlatformApi::MoveFileW> recording(&RecordMove);
    ComPtr<FolderItem> item = FolderItem::Open(std::wstring(L"V:\\at root.txt"));
    ASSERT_EQ(item->put_Name(Bstr(L"renamed.txt").Get()), S_OK);
    EXPECT_EQ(calls, (std::vector<std::wstring>{L"\\\\?\\V:\\at root.txt", L"\\\\?\\V:\\renamed.txt"}));
    DeleteFileW(L"V:\\renamed.txt");
}

TEST_F(FolderItemTest, CreateFolderMakesTheMissingChainBelowAShareAndStopsAtAFailure) {
    ApiOverride<&PlatformApi::CreateDirectoryW> create(&RecordCreateDirectory);
    ApiOverride<&PlatformApi::GetFileAttributesW> attributes(&NothingThere);
    ApiOverride<&PlatformApi::FindFirstFileW> find(&FindFails);
    ComPtr<FolderItem> item = FolderItem::Open(L"\\\\server\\share\\x\\y");
    refusal = NO_ERROR;
    ASSERT_EQ(item->CreateFolder(), S_OK);
    EXPECT_EQ(calls, (std::vector<std::wstring>{L"\\\\?\\UNC\\server\\share\\x", L"\\\\?\\UNC\\server\\share\\x\\y"}))
        << "server and share are never created";

    calls.clear();
    refusal = ERROR_ACCESS_DENIED;
    const ErrorRecord error = TakeError(item->CreateFolder());
    EXPECT_EQ(error.number, System(ERROR_ACCESS_DENIED));
    EXPECT_EQ(error.source, L"FolderItem");
    EXPECT_EQ(error.description, vofs::SystemErrorText(ERROR_ACCESS_DENIED));
    EXPECT_EQ(calls.size(), 1u) << "the first failure stops the chain";
}

TEST_F(FolderItemTest, AFailedRefreshLeavesTheItemUnusableUntilOneSucceeds) {
    ComPtr<FolderItem> item = FolderItem::Open(scratch_.WriteFile(L"a.txt", "xy"));
    searchRefusal = ERROR_ACCESS_DENIED;
    {
        ApiOverride<&PlatformApi::FindFirstFileW> failing(&FindFails);
        const ErrorRecord error = TakeError(item->Refresh());
        EXPECT_EQ(error.number, System(ERROR_ACCESS_DENIED));
        EXPECT_EQ(error.source, L"FolderItem");
        Bstr name;
        EXPECT_EQ(TakeError(item->get_Name(name.Receive())).number, RunTime(5));
        for (DWORD code : {DWORD{ERROR_FILE_NOT_FOUND}, DWORD{ERROR_PATH_NOT_FOUND}, DWORD{ERROR_NO_MORE_FILES}}) {
            searchRefusal = code;
            EXPECT_EQ(item->Refresh(), S_OK) << code << " only says the item is not there";
            EXPECT_FALSE(FlagOf(item.Get(), &FolderItem::get_Exists));
        }
    }
    ASSERT_EQ(item->Refresh(), S_OK);
    EXPECT_EQ(TextOf(item.Get(), &FolderItem::get_Name), L"a.txt");
}

TEST_F(FolderItemTest, EverySearchIsClosedAgain) {
    ApiOverride<&PlatformApi::FindFirstFileW> opening(&CountingFindFirst);
    ApiOverride<&PlatformApi::FindClose> closing(&CountingFindClose);
    searches = 0;
    const std::wstring file = scratch_.WriteFile(L"f.txt", "x");
    ComPtr<FolderItem> item = FolderItem::Open(file);
    ASSERT_EQ(item->put_Cached(VARIANT_FALSE), S_OK);
    for (int i = 0; i < 3; ++i) EXPECT_TRUE(FlagOf(item.Get(), &FolderItem::get_Exists));
    ComPtr<_IFolderItem> parent;
    ASSERT_EQ(item->get_Parent(&parent), S_OK);
    ComPtr<_FolderEnumerator> entries;
    ASSERT_EQ(FolderItem::Open(scratch_.Path())->EnumFolder(nullptr, &entries), S_OK);
    entries.Reset();
    EXPECT_EQ(searches, 0) << "searches left open";
}

class FolderEnumeratorTest : public ::testing::Test {
protected:
    void SetUp() override {
        for (const wchar_t* name : {L"a.txt", L"b.txt", L"c.log"}) scratch_.WriteFile(name, "x");
        scratch_.MakeFolder(L"sub");
        nextCalls = closes = 0;
        allowedNexts = 1000;
    }
    ComPtr<FolderEnumerator> Opened(const wchar_t* filter) {
        ComPtr<FolderEnumerator> entries = FolderEnumerator::Make();
        entries->Open(scratch_.Path(), filter);
        return entries;
    }
    ScratchFolder scratch_;
    ApiOverride<&PlatformApi::FindClose> counting_{&CountingFindClose};
};

TEST_F(FolderEnumeratorTest, TheGenericInterfaceGivesFixedAnswers) {
    SetFileAttributesW((scratch_ / L"c.log").c_str(), FILE_ATTRIBUTE_READONLY);
    ComPtr<FolderEnumerator> entries = Opened(L"c.log");
    ComPtr<_IFolderEnumerator> generic;
    ASSERT_EQ(entries.As(&generic), S_OK);
    EXPECT_TRUE(ValueOf<FileAttributes>(static_cast<_FolderEnumerator*>(entries.Get()), &_FolderEnumerator::get_Attributes) &
                FILE_ATTRIBUTE_READONLY);
    EXPECT_EQ(ValueOf<FileAttributes>(generic.Get(), &_IFolderEnumerator::get_Attributes), 0);
    ComPtr<_IFolderItem> clone, folder, item;
    ComPtr<_FolderItem> ownClone;
    EXPECT_EQ(generic->CloneFolderItem(&clone), S_OK);
    EXPECT_EQ(entries->CloneFolderItem(&ownClone), S_OK);
    EXPECT_EQ(generic->get_Folder(&folder), S_OK);
    EXPECT_FALSE(clone || ownClone || folder);
    ASSERT_EQ(generic->GetFolderItem(&item), S_OK);
    EXPECT_EQ(TextOf(item.Get(), &_IFolderItem::get_Name), L"c.log");
    SetFileAttributesW((scratch_ / L"c.log").c_str(), FILE_ATTRIBUTE_NORMAL);
}

TEST_F(FolderEnumeratorTest, AFailureMidWalkClosesTheSearchAndRaises) {
    ApiOverride<&PlatformApi::FindNextFileW> failing(&FailAfterAllowedNexts);
    ComPtr<FolderEnumerator> entries = Opened(L"");  // passes over "." and ".." itself
    allowedNexts = nextCalls + 1;                   // one step further, then the failure
    VARIANT_BOOL more = VARIANT_TRUE;
    HRESULT result = S_OK;
    while (result == S_OK && more) result = entries->GetNextItem(&more);
    const ErrorRecord error = TakeError(result);
    EXPECT_EQ(error.number, System(ERROR_NETNAME_DELETED));
    EXPECT_EQ(error.source, L"FolderEnumerator");
    EXPECT_FALSE(entries->IsOpen());
    entries.Reset();
    EXPECT_EQ(closes, 1) << "closed once, not again on release";
}

TEST_F(FolderEnumeratorTest, EveryWayAWalkEndsClosesItsSearchOnce) {
    ComPtr<FolderEnumerator> entries = Opened(L"");
    ASSERT_TRUE(entries->IsOpen());
    entries->Open(scratch_.Path(), L"*.txt");
    EXPECT_EQ(closes, 1) << "opening again ends the previous search";
    entries->CloseEnumerator();
    entries->CloseEnumerator();
    EXPECT_EQ(closes, 2) << "closing twice is harmless";
    Opened(L"").Reset();
    EXPECT_EQ(closes, 3) << "released while open";

    entries.Reset();
    const long before = module::LiveObjects();
    entries = Opened(L"");
    for (VARIANT_BOOL more = VARIANT_TRUE; more;) {
        ComPtr<_IFolderItem> item, parent;
        ComPtr<_Path> itemPath;
        ASSERT_EQ(static_cast<_IFolderEnumerator*>(entries.Get())->GetFolderItem(&item), S_OK);
        ASSERT_EQ(item->get_Parent(&parent), S_OK);
        ASSERT_EQ(entries->get_ItemPath(&itemPath), S_OK);
        ASSERT_EQ(entries->GetNextItem(&more), S_OK);
    }
    EXPECT_FALSE(entries->IsOpen()) << "the end of the walk closes it";
    entries.Reset();
    EXPECT_EQ(module::LiveObjects(), before) << "the walk leaves no object behind";
}

}  // namespace
}  // namespace vofs::testing
