// FolderItem where the platform's answers must be chosen through the seam: the exact
// names handed to the platform, failed searches and folder creations, and every search
// closed again. tests/scripts/items.vbs is the script client for items on real files.

#include "common/platform_api.h"
#include "common/system_error.h"
#include "items/folder_item.h"
#include "support/test_support.h"

#include <vector>

namespace vofs::testing {
namespace {

std::vector<std::wstring> calls;  // what the stand-ins below were asked, in order
DWORD refusal = ERROR_ACCESS_DENIED;        // CreateDirectory's answer
DWORD searchRefusal = ERROR_PATH_NOT_FOUND;  // FindFirstFile's failure
int searches = 0;

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
    return FindClose(search);
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

}  // namespace
}  // namespace vofs::testing
