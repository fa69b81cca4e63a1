// FolderItem and FolderEnumerator where the platform's answers must be chosen through
// the seam, or where a script cannot reach them: the exact names handed to the platform,
// failed searches and folder creations, every search closed once. tests/scripts/items.vbs
// is the script client on real files.

#include "common/platform_api.h"
#include "common/system_error.h"
#include "items/folder_enumerator.h"
#include "items/folder_item.h"
#include "support/test_support.h"

#include <vector>

namespace vofs::testing {
namespace {

std::vector<std::wstring> calls;             // the names the stand-ins below were given, in order
DWORD refusal = NO_ERROR;                    // CreateDirectory's answer
DWORD searchRefusal = ERROR_PATH_NOT_FOUND;  // FindFirstFile's failure
int opened = 0, closed = 0;                  // searches
int nextsLeft = 0;                           // FindNextFile calls that succeed before one fails

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
    opened += search != INVALID_HANDLE_VALUE;
    return search;
}
BOOL WINAPI CountingFindClose(HANDLE search) {
    ++closed;
    return FindClose(search);
}
BOOL WINAPI FailWhenNoNextIsLeft(HANDLE search, LPWIN32_FIND_DATAW data) {
    if (nextsLeft-- > 0) return FindNextFileW(search, data);
    SetLastError(ERROR_NETNAME_DELETED);
    return FALSE;
}

// A scratch folder with a.txt, b.txt, c.log and sub; searches are counted.
class FolderItems : public ::testing::Test {
protected:
    void SetUp() override {
        for (const wchar_t* name : {L"a.txt", L"b.txt", L"c.log"}) scratch_.WriteFile(name, "x");
        scratch_.MakeFolder(L"sub");
        calls.clear();
        opened = closed = 0;
        nextsLeft = 1000;
        searchRefusal = ERROR_PATH_NOT_FOUND;
    }
    ComPtr<FolderEnumerator> Opened(const wchar_t* filter) {
        ComPtr<FolderEnumerator> entries = FolderEnumerator::Make();
        entries->Open(scratch_.Path(), filter);
        return entries;
    }
    ScratchFolder scratch_;
    WideCallSettingGuard setting_;
    ApiOverride<&PlatformApi::FindFirstFileW> opening_{&CountingFindFirst};
    ApiOverride<&PlatformApi::FindClose> closing_{&CountingFindClose};
};

TEST_F(FolderItems, RenamingAnItemAtADriveRootNamesItExactly) {
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

TEST_F(FolderItems, CreateFolderMakesTheMissingChainBelowAShareAndStopsAtAFailure) {
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
    EXPECT_EQ(error.source + L"|" + error.description, L"FolderItem|" + vofs::SystemErrorText(ERROR_ACCESS_DENIED));
    EXPECT_EQ(calls.size(), 1u) << "the first failure stops the chain";
}

TEST_F(FolderItems, AFailedRefreshLeavesTheItemUnusableUntilOneSucceeds) {
    ComPtr<FolderItem> item = FolderItem::Open(scratch_ / L"a.txt");
    {
        ApiOverride<&PlatformApi::FindFirstFileW> failing(&FindFails);
        searchRefusal = ERROR_ACCESS_DENIED;
        EXPECT_EQ(Raised(TakeError(item->Refresh())), Raised(L"FolderItem", System(ERROR_ACCESS_DENIED)));
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

TEST_F(FolderItems, EverySearchIsClosedOnce) {
    ComPtr<FolderItem> item = FolderItem::Open(scratch_ / L"a.txt");
    ASSERT_EQ(item->put_Cached(VARIANT_FALSE), S_OK);
    for (int i = 0; i < 3; ++i) EXPECT_TRUE(FlagOf(item.Get(), &FolderItem::get_Exists));
    ValueOf<ComPtr<_IFolderItem>>(item.Get(), &FolderItem::get_Parent);
    ComPtr<_FolderEnumerator> entries;
    ASSERT_EQ(FolderItem::Open(scratch_.Path())->EnumFolder(nullptr, &entries), S_OK);
    entries.Reset();
    EXPECT_EQ(opened - closed, 0) << "an item's searches";

    ComPtr<FolderEnumerator> walk = Opened(L"");
    walk->Open(scratch_.Path(), L"*.txt");
    EXPECT_EQ(opened - closed, 1) << "opening again ends the previous search";
    walk->CloseEnumerator();
    walk->CloseEnumerator();
    EXPECT_EQ(opened - closed, 0) << "closed once, however often asked";
    Opened(L"").Reset();
    EXPECT_EQ(opened - closed, 0) << "released while open";
    walk = Opened(L"");
    for (VARIANT_BOOL more = VARIANT_TRUE; more;) {
        auto entry = ValueOf<ComPtr<_IFolderItem>>(static_cast<_IFolderEnumerator*>(walk.Get()), &_IFolderEnumerator::GetFolderItem);
        ValueOf<ComPtr<_IFolderItem>>(entry.Get(), &_IFolderItem::get_Parent);
        ASSERT_EQ(walk->GetNextItem(&more), S_OK);
    }
    EXPECT_FALSE(walk->IsOpen()) << "the end of the walk closes it";
    walk.Reset();
    EXPECT_EQ(opened - closed, 0);
}

TEST_F(FolderItems, AFailureMidWalkClosesTheSearchAndRaises) {
    ApiOverride<&PlatformApi::FindNextFileW> failing(&FailWhenNoNextIsLeft);
    ComPtr<FolderEnumerator> entries = Opened(L"");  // passes over "." and ".." itself
    nextsLeft = 1;                                   // one step further, then the failure
    VARIANT_BOOL more = VARIANT_TRUE;
    HRESULT result = S_OK;
    while (result == S_OK && more) result = entries->GetNextItem(&more);
    EXPECT_EQ(Raised(TakeError(result)), Raised(L"FolderEnumerator", System(ERROR_NETNAME_DELETED)));
    EXPECT_FALSE(entries->IsOpen());
    entries.Reset();
    EXPECT_EQ(opened - closed, 0) << "closed once, not again on release";
}

}  // namespace
}  // namespace vofs::testing
