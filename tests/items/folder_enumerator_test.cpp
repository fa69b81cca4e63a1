// FolderEnumerator where a script cannot reach it (tests/scripts/items.vbs walks real
// folders): the fixed answers of IFolderEnumerator, a search that fails mid-walk, and
// the search handle and objects released whatever way a walk ends.

#include "common/platform_api.h"
#include "frame/module.h"
#include "items/folder_enumerator.h"
#include "support/test_support.h"

namespace vofs::testing {
namespace {

int nextCalls = 0;
int allowedNexts = 0;  // FindNextFile calls that succeed before it fails
int closeCalls = 0;
BOOL WINAPI FailAfterAllowedNexts(HANDLE search, LPWIN32_FIND_DATAW data) {
    if (++nextCalls <= allowedNexts) return FindNextFileW(search, data);
    SetLastError(ERROR_NETNAME_DELETED);
    return FALSE;
}
BOOL WINAPI CountingClose(HANDLE search) {
    ++closeCalls;
    return FindClose(search);
}

class FolderEnumeratorTest : public ::testing::Test {
protected:
    void SetUp() override {
        for (const wchar_t* name : {L"a.txt", L"b.txt", L"c.log"}) scratch_.WriteFile(name, "x");
        scratch_.MakeFolder(L"sub");
        nextCalls = closeCalls = 0;
        allowedNexts = 1000;
    }
    ComPtr<FolderEnumerator> Opened(const wchar_t* filter) {
        ComPtr<FolderEnumerator> entries = FolderEnumerator::Make();
        entries->Open(scratch_.Path(), filter);
        return entries;
    }
    ScratchFolder scratch_;
    ApiOverride<&PlatformApi::FindClose> counting_{&CountingClose};
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
    EXPECT_EQ(closeCalls, 1) << "closed once, not again on release";
}

TEST_F(FolderEnumeratorTest, EveryWayAWalkEndsClosesItsSearchOnce) {
    ComPtr<FolderEnumerator> entries = Opened(L"");
    ASSERT_TRUE(entries->IsOpen());
    entries->Open(scratch_.Path(), L"*.txt");
    EXPECT_EQ(closeCalls, 1) << "opening again ends the previous search";
    entries->CloseEnumerator();
    entries->CloseEnumerator();
    EXPECT_EQ(closeCalls, 2) << "closing twice is harmless";
    Opened(L"").Reset();
    EXPECT_EQ(closeCalls, 3) << "released while open";

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
