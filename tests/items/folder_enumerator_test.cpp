// FolderEnumerator walks: filters, the first-entry rules, the end of a walk, the fixed
// answers of IFolderEnumerator, and search failures and handle clean-up through the seam.

#include "common/platform_api.h"
#include "frame/module.h"
#include "items/folder_enumerator.h"
#include "support/test_support.h"

#include <gtest/gtest.h>

#include <set>

namespace vofs::testing {
namespace {

// Walks the way a script does: read the current entry, then move on.
std::set<std::wstring> Walk(FolderEnumerator* entries) {
    std::set<std::wstring> names;
    VARIANT_BOOL open = VARIANT_FALSE;
    entries->get_IsOpen(&open);
    while (open) {
        Bstr name;
        entries->get_Name(name.Receive());
        names.emplace(name.View());
        EXPECT_EQ(entries->GetNextItem(&open), S_OK);
    }
    return names;
}

class FolderEnumeratorTest : public ::testing::Test {
protected:
    void SetUp() override {
        scratch_.WriteFile(L"a.txt", "aa");
        scratch_.WriteFile(L"b.TXT", "b");
        scratch_.WriteFile(L"c.log", "c");
        scratch_.WriteFile(L"\u00e9t\u00e9.txt", "e");
        scratch_.MakeFolder(L"sub folder");
        scratch_.WriteFile(L"sub folder\\deep.txt");
    }

    ComPtr<FolderEnumerator> Opened(const std::wstring& filter, bool* found = nullptr) {
        ComPtr<FolderEnumerator> entries = FolderEnumerator::Make();
        const bool any = entries->Open(scratch_.Path(), filter);
        if (found) *found = any;
        return entries;
    }

    ScratchFolder scratch_;
    WideCallSettingGuard setting_;
};

TEST_F(FolderEnumeratorTest, FiltersSelectTheEntries) {
    const std::set<std::wstring> every{L"a.txt", L"b.TXT", L"c.log", L"\u00e9t\u00e9.txt", L"sub folder"};
    const std::set<std::wstring> texts{L"a.txt", L"b.TXT", L"\u00e9t\u00e9.txt"};
    const std::pair<const wchar_t*, std::set<std::wstring>> cases[] = {
        {L"", every}, {L"*.*", every}, {L"\\*.*", every}, {L"*.txt", texts}, {L"\\*.txt", texts},
        {L"c.log", {L"c.log"}}, {L"sub*", {L"sub folder"}},
    };
    for (const auto& [filter, expected] : cases) {
        bool found = false;
        ComPtr<FolderEnumerator> entries = Opened(filter, &found);
        EXPECT_TRUE(found);
        EXPECT_EQ(Walk(entries.Get()), expected) << std::wstring(filter).size();
        EXPECT_FALSE(entries->IsOpen()) << "the end closes the search";
    }
}

TEST_F(FolderEnumeratorTest, AnAnsiWalkDecodesTheNames) {
    ThisThread().wideCallSupport = kAnsiVersion;
    ComPtr<FolderEnumerator> entries = Opened(L"*.txt");
    EXPECT_EQ(Walk(entries.Get()), (std::set<std::wstring>{L"a.txt", L"b.TXT", L"\u00e9t\u00e9.txt"}));
}

TEST_F(FolderEnumeratorTest, FiltersThatMatchNothingAndBadFolders) {
    ComPtr<FolderEnumerator> entries = FolderEnumerator::Make();
    for (const wchar_t* filter : {L"txt", L"*.nothing"}) {
        const ErrorRecord error = CaughtError([&] { entries->Open(scratch_.Path(), filter); });
        EXPECT_EQ(error.number, System(ERROR_FILE_NOT_FOUND)) << "\\txt is searched";
        EXPECT_EQ(error.source, L"FolderEnumerator");
    }
    const ErrorRecord missing = CaughtError([&] { entries->Open(scratch_ / L"missing", L""); });
    EXPECT_EQ(missing.number, System(ERROR_FILE_NOT_FOUND));
    EXPECT_EQ(missing.source, L"FolderEnumerator");
    const ErrorRecord file = CaughtError([&] { entries->Open(scratch_ / L"a.txt", L""); });
    EXPECT_EQ(file.number, RunTime(5));
    EXPECT_EQ(CaughtError([&] { entries->Open(L"relative", L""); }).number, RunTime(5));
}

TEST_F(FolderEnumeratorTest, AnEmptyFolderOpensWithNothingCurrent) {
    ComPtr<FolderEnumerator> entries = FolderEnumerator::Make();
    EXPECT_FALSE(entries->Open(scratch_.MakeFolder(L"empty"), L""));
    EXPECT_FALSE(entries->IsOpen());
    LONG handle = 0;
    entries->get_Handle(&handle);
    EXPECT_EQ(handle, -1);
    ComPtr<_FolderItem> item;
    const ErrorRecord error = TakeError(entries->GetFolderItem(&item));
    EXPECT_EQ(error.number, RunTime(425));
    EXPECT_EQ(error.source, L"FolderEnumerator");
    EXPECT_EQ(error.description, L"Invalid object use");
}

TEST_F(FolderEnumeratorTest, MovingPastTheEndRaisesTheInvalidHandleError) {
    ComPtr<FolderEnumerator> entries = Opened(L"c.log");
    VARIANT_BOOL more = VARIANT_TRUE;
    ASSERT_EQ(entries->GetNextItem(&more), S_OK);
    EXPECT_EQ(more, VARIANT_FALSE);
    Bstr name;
    entries->get_Name(name.Receive());
    EXPECT_EQ(name.View(), L"c.log") << "the record keeps the last entry";
    const ErrorRecord error = TakeError(entries->GetNextItem(&more));
    EXPECT_EQ(error.number, System(ERROR_INVALID_HANDLE));
    EXPECT_EQ(error.source, L"FolderEnumerator");
}

TEST_F(FolderEnumeratorTest, InterfaceAnswersAndEntryData) {
    SetFileAttributesW((scratch_ / L"c.log").c_str(), FILE_ATTRIBUTE_READONLY);
    ComPtr<FolderEnumerator> entries = Opened(L"c.log");
    ComPtr<_IFolderEnumerator> generic;
    ASSERT_EQ(entries.As(&generic), S_OK);
    FileAttributes own{}, through{};
    static_cast<_FolderEnumerator*>(entries.Get())->get_Attributes(&own);
    generic->get_Attributes(&through);
    EXPECT_TRUE(own & FILE_ATTRIBUTE_READONLY);
    EXPECT_EQ(through, 0) << "IFolderEnumerator's Attributes of a local walk is 0";

    ComPtr<_IFolderItem> clone, folder;
    ComPtr<_FolderItem> ownClone;
    EXPECT_EQ(generic->CloneFolderItem(&clone), S_OK);
    EXPECT_EQ(entries->CloneFolderItem(&ownClone), S_OK);
    EXPECT_EQ(generic->get_Folder(&folder), S_OK);
    EXPECT_FALSE(clone || ownClone || folder);

    DATE created = 0, written = 0;
    entries->get_CreationTime(&created);
    entries->get_LastWriteTime(&written);
    EXPECT_EQ(created, written);
    Variant size;
    entries->get_Size(size.Get());
    EXPECT_EQ(ToLong(*size.Get()), 1);

    ComPtr<_Path> itemPath;
    ASSERT_EQ(entries->get_ItemPath(&itemPath), S_OK);
    Bstr text;
    itemPath->get_FullPath(text.Receive());
    EXPECT_EQ(text.View(), scratch_ / L"c.log");
    ComPtr<_IFolderItem> item;
    ASSERT_EQ(generic->GetFolderItem(&item), S_OK);
    item->get_Name(text.Receive());
    EXPECT_EQ(text.View(), L"c.log");
    SetFileAttributesW((scratch_ / L"c.log").c_str(), FILE_ATTRIBUTE_NORMAL);
}

// A search that fails in the middle of a walk with another code than "no more files":
// the calls up to `allowedNexts` succeed.
int nextCalls = 0;
int allowedNexts = 0;
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

TEST_F(FolderEnumeratorTest, AFailureMidWalkClosesTheSearchAndRaises) {
    ApiOverride<&PlatformApi::FindNextFileW> failing(&FailAfterAllowedNexts);
    ApiOverride<&PlatformApi::FindClose> counting(&CountingClose);
    nextCalls = closeCalls = 0;
    allowedNexts = 1000;
    ComPtr<FolderEnumerator> entries = Opened(L"");  // passes over "." and ".." itself
    allowedNexts = nextCalls + 1;                     // one step further, then the failure
    VARIANT_BOOL more = VARIANT_TRUE;
    HRESULT result = S_OK;
    while (result == S_OK && more) result = entries->GetNextItem(&more);
    const ErrorRecord error = TakeError(result);
    EXPECT_EQ(error.number, System(ERROR_NETNAME_DELETED));
    EXPECT_EQ(error.source, L"FolderEnumerator");
    EXPECT_FALSE(entries->IsOpen());
    EXPECT_EQ(closeCalls, 1);
    entries.Reset();
    EXPECT_EQ(closeCalls, 1) << "closed once, not again on release";
}

TEST_F(FolderEnumeratorTest, ReleasingAnOpenWalkClosesItsSearch) {
    ApiOverride<&PlatformApi::FindClose> counting(&CountingClose);
    closeCalls = 0;
    ComPtr<FolderEnumerator> entries = Opened(L"");
    ASSERT_TRUE(entries->IsOpen());
    entries->Open(scratch_.Path(), L"*.txt");
    EXPECT_EQ(closeCalls, 1) << "opening again ends the previous search";
    entries->CloseEnumerator();
    entries->CloseEnumerator();
    EXPECT_EQ(closeCalls, 2) << "closing twice is harmless";
    entries = Opened(L"");
    entries.Reset();
    EXPECT_EQ(closeCalls, 3);
}

TEST_F(FolderEnumeratorTest, AWalkWithItemsLeavesNoObjectBehind) {
    const long before = module::LiveObjects();
    {
        ComPtr<FolderEnumerator> entries = Opened(L"");
        VARIANT_BOOL more = VARIANT_TRUE;
        while (more) {
            ComPtr<_IFolderItem> item, parent;
            ComPtr<_Path> itemPath;
            ASSERT_EQ(static_cast<_IFolderEnumerator*>(entries.Get())->GetFolderItem(&item), S_OK);
            ASSERT_EQ(item->get_Parent(&parent), S_OK);
            ASSERT_EQ(entries->get_ItemPath(&itemPath), S_OK);
            ASSERT_EQ(entries->GetNextItem(&more), S_OK);
        }
    }
    EXPECT_EQ(module::LiveObjects(), before);
}

}  // namespace
}  // namespace vofs::testing
