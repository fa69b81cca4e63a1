// FolderItem against real temporary trees: item data, the cache, renaming, the folder
// chain, deleting, roots, and platform failures through the seam.

#include "common/platform_api.h"
#include "common/system_error.h"
#include "items/folder_item.h"
#include "support/test_support.h"

#include <gtest/gtest.h>

#include <functional>
#include <vector>

namespace vofs::testing {
namespace {

bool Exists(const std::wstring& path) { return GetFileAttributesW(path.c_str()) != INVALID_FILE_ATTRIBUTES; }

// Deletes a file from another process, as a user or another program would.
void DeleteElsewhere(const std::wstring& path) {
    std::wstring command = L"cmd.exe /c del \"" + path + L"\"";
    STARTUPINFOW startup{sizeof(startup)};
    PROCESS_INFORMATION process{};
    ASSERT_TRUE(CreateProcessW(nullptr, command.data(), nullptr, nullptr, FALSE, CREATE_NO_WINDOW, nullptr, nullptr,
                               &startup, &process));
    WaitForSingleObject(process.hProcess, 30000);
    CloseHandle(process.hThread);
    CloseHandle(process.hProcess);
    ASSERT_FALSE(Exists(path));
}

class FolderItemTest : public ::testing::Test {
protected:
    static std::wstring Name(FolderItem* item) {
        Bstr name;
        EXPECT_EQ(item->get_Name(name.Receive()), S_OK);
        return std::wstring(name.View());
    }
    static bool Flag(FolderItem* item, HRESULT (STDMETHODCALLTYPE FolderItem::*member)(VARIANT_BOOL*)) {
        VARIANT_BOOL value = VARIANT_FALSE;
        EXPECT_EQ((item->*member)(&value), S_OK);
        return value != VARIANT_FALSE;
    }
    static bool ItemExists(FolderItem* item) { return Flag(item, &FolderItem::get_Exists); }
    static bool IsFolder(FolderItem* item) { return Flag(item, &FolderItem::get_IsFolder); }
    static long Attributes(FolderItem* item) {
        FileAttributes value{};
        EXPECT_EQ(item->get_Attributes(&value), S_OK);
        return value;
    }
    static Variant Size(FolderItem* item) {
        Variant value;
        EXPECT_EQ(item->get_Size(value.Get()), S_OK);
        return value;
    }

    ScratchFolder scratch_;
    WideCallSettingGuard setting_;
};

TEST_F(FolderItemTest, DataOfFilesAndFolders) {
    struct Case {
        std::wstring name;
        std::string content;  // folders: none
        DWORD attributes;     // set after creation
        bool folder;
    };
    const Case cases[] = {
        {L"plain.txt", "12345", FILE_ATTRIBUTE_ARCHIVE, false},
        {L"read only.txt", "x", FILE_ATTRIBUTE_READONLY, false},
        {L"hidden.dat", "", FILE_ATTRIBUTE_HIDDEN, false},
        {L"\u00e9t\u00e9 \u65e5\u672c.txt", "non-ASCII", FILE_ATTRIBUTE_ARCHIVE, false},
        {L"folder with blanks", "", FILE_ATTRIBUTE_DIRECTORY, true},
    };
    for (long setting : {kAutoDetect, kAnsiVersion}) {
        ThisThread().wideCallSupport = setting;
        for (const Case& c : cases) {
            if (setting == kAnsiVersion && c.name.find(L'\u65e5') != std::wstring::npos) continue;  // not in the code page
            SCOPED_TRACE(std::string(c.name.begin(), c.name.end()) + (setting ? " (ANSI)" : ""));
            const std::wstring path = c.folder ? scratch_.MakeFolder(c.name + std::to_wstring(setting))
                                               : scratch_.WriteFile(std::to_wstring(setting) + c.name, c.content);
            if (!c.folder) SetFileAttributesW(path.c_str(), c.attributes);
            ComPtr<FolderItem> item = FolderItem::Open(path);
            EXPECT_TRUE(ItemExists(item.Get()));
            EXPECT_EQ(IsFolder(item.Get()), c.folder);
            EXPECT_EQ(Name(item.Get()), path.substr(path.find_last_of(L'\\') + 1));
            EXPECT_EQ(Attributes(item.Get()) & c.attributes, static_cast<long>(c.attributes));
            Variant size = Size(item.Get());
            EXPECT_EQ(size.Type(), VT_DECIMAL);
            EXPECT_EQ(ToLong(*size.Get()), static_cast<LONG>(c.folder ? 0 : c.content.size()));
            Variant precise;
            ASSERT_EQ(item->get_PreciseLastWriteTime(precise.Get()), S_OK);
            EXPECT_EQ(precise.Type(), VT_DECIMAL);
            DATE written = 0, created = 0;
            item->get_LastWriteTime(&written);
            item->get_CreationTime(&created);
            EXPECT_EQ(written, created) << "the find record's dates all read the last-write time";
            SetFileAttributesW(path.c_str(), FILE_ATTRIBUTE_NORMAL);
        }
    }
}

TEST_F(FolderItemTest, NameIsTheSpellingOnDisk) {
    scratch_.WriteFile(L"MixedCase.TXT", "x");
    ComPtr<FolderItem> item = FolderItem::Open(scratch_ / L"mixedcase.txt");
    EXPECT_EQ(Name(item.Get()), L"MixedCase.TXT");
    ComPtr<FolderItem> missing = FolderItem::Open(scratch_ / L"Not There.txt");
    EXPECT_EQ(Name(missing.Get()), L"Not There.txt") << "a missing item answers its path's name";
}

TEST_F(FolderItemTest, TheCacheAnswersUntilAskedOtherwise) {
    const std::wstring path = scratch_.WriteFile(L"cached.txt", "abc");
    ComPtr<FolderItem> item = FolderItem::Open(path);
    ASSERT_TRUE(ItemExists(item.Get()));
    DeleteElsewhere(path);
    EXPECT_TRUE(ItemExists(item.Get())) << "a present item with Cached on answers from the cache";
    EXPECT_EQ(ToLong(*Size(item.Get()).Get()), 3) << "and so do its data";
    ASSERT_EQ(item->put_Cached(VARIANT_FALSE), S_OK);
    EXPECT_FALSE(ItemExists(item.Get()));
    EXPECT_FALSE(IsFolder(item.Get()));
    Variant size;
    const ErrorRecord error = TakeError(item->get_Size(size.Get()));
    EXPECT_EQ(error.number, RunTime(5));
    EXPECT_EQ(error.source, L"FolderItem");

    // A missing item asks the platform every time.
    ComPtr<FolderItem> later = FolderItem::Open(scratch_ / L"later.txt");
    EXPECT_FALSE(ItemExists(later.Get()));
    scratch_.WriteFile(L"later.txt", "1");
    EXPECT_TRUE(ItemExists(later.Get()));
}

TEST_F(FolderItemTest, AFolderThatDisappearsStillSaysItIsAFolder) {
    const std::wstring path = scratch_.MakeFolder(L"gone");
    ComPtr<FolderItem> item = FolderItem::Open(path);
    ASSERT_TRUE(RemoveDirectoryW(path.c_str()));
    item->put_Cached(VARIANT_FALSE);
    EXPECT_TRUE(IsFolder(item.Get())) << "a failed search leaves the record as it was";
    EXPECT_FALSE(ItemExists(item.Get()));
}

TEST_F(FolderItemTest, RenamingKeepsTheOldPath) {
    const std::wstring path = scratch_.WriteFile(L"old.txt", "x");
    ComPtr<FolderItem> item = FolderItem::Open(path);
    Bstr newName(L"new name.txt");
    ASSERT_EQ(item->put_Name(newName.Get()), S_OK);
    EXPECT_TRUE(Exists(scratch_ / L"new name.txt"));
    EXPECT_FALSE(Exists(path));
    ComPtr<_Path> itemPath;
    item->get_Path(&itemPath);
    Bstr text;
    itemPath->get_FullPath(text.Receive());
    EXPECT_EQ(text.View(), path);
    EXPECT_TRUE(ItemExists(item.Get())) << "the cache still says so";
    ASSERT_EQ(item->Refresh(), S_OK);
    EXPECT_FALSE(ItemExists(item.Get()));

    scratch_.WriteFile(L"taken.txt");
    ComPtr<FolderItem> other = FolderItem::Open(scratch_.WriteFile(L"other.txt"));
    Bstr taken(L"taken.txt");
    const ErrorRecord error = TakeError(other->put_Name(taken.Get()));
    EXPECT_EQ(error.number, System(ERROR_ALREADY_EXISTS));
    EXPECT_EQ(error.source, L"FolderItem");
}

std::vector<std::pair<std::wstring, std::wstring>> moves;
BOOL WINAPI RecordMove(LPCWSTR from, LPCWSTR to) {
    moves.emplace_back(from, to);
    return MoveFileW(from, to);
}

TEST_F(FolderItemTest, RenamingAnItemAtADriveRootNamesItExactly) {
    // v: is a drive of the test session (a folder of the build tree). Long-path names
    // are taken as they stand, so a doubled separator would name nothing on Windows.
    DeleteFileW(L"V:\\renamed.txt");
    HANDLE file = CreateFileW(L"V:\\at root.txt", GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, 0, nullptr);
    ASSERT_NE(file, INVALID_HANDLE_VALUE) << "the session's drive v: is missing";
    CloseHandle(file);
    ApiOverride<&PlatformApi::MoveFileW> recording(&RecordMove);
    moves.clear();
    ComPtr<FolderItem> item = FolderItem::Open(std::wstring(L"V:\\at root.txt"));
    Bstr newName(L"renamed.txt");
    ASSERT_EQ(item->put_Name(newName.Get()), S_OK);
    ASSERT_EQ(moves.size(), 1u);
    EXPECT_EQ(moves[0].first, L"\\\\?\\V:\\at root.txt");
    EXPECT_EQ(moves[0].second, L"\\\\?\\V:\\renamed.txt");
    DeleteFileW(L"V:\\renamed.txt");
}

TEST_F(FolderItemTest, CreateFolderMakesTheWholeMissingChain) {
    scratch_.MakeFolder(L"a");
    ComPtr<FolderItem> item = FolderItem::Open(scratch_ / L"a\\b\\c");
    EXPECT_FALSE(ItemExists(item.Get()));
    ASSERT_EQ(item->CreateFolder(), S_OK);
    EXPECT_TRUE(Exists(scratch_ / L"a\\b\\c"));
    EXPECT_TRUE(ItemExists(item.Get()));
    EXPECT_TRUE(IsFolder(item.Get()));
    EXPECT_EQ(item->CreateFolder(), S_OK) << "existing folders are passed over";
}

BOOL WINAPI RefuseCreateDirectory(LPCWSTR, LPSECURITY_ATTRIBUTES) {
    SetLastError(ERROR_ACCESS_DENIED);
    return FALSE;
}

TEST_F(FolderItemTest, AFailedCreateDirectoryStopsTheChain) {
    ComPtr<FolderItem> item = FolderItem::Open(scratch_ / L"x\\y");
    ApiOverride<&PlatformApi::CreateDirectoryW> refuse(&RefuseCreateDirectory);
    const ErrorRecord error = TakeError(item->CreateFolder());
    EXPECT_EQ(error.number, System(ERROR_ACCESS_DENIED));
    EXPECT_EQ(error.source, L"FolderItem");
    EXPECT_EQ(error.description, vofs::SystemErrorText(ERROR_ACCESS_DENIED));
}

// A share path: server and share are never created, the folders below them are.
std::vector<std::wstring> created;
BOOL WINAPI RecordCreateDirectory(LPCWSTR path, LPSECURITY_ATTRIBUTES) {
    created.push_back(path);
    return TRUE;
}
DWORD WINAPI NothingThere(LPCWSTR) {
    SetLastError(ERROR_PATH_NOT_FOUND);
    return INVALID_FILE_ATTRIBUTES;
}
HANDLE WINAPI FindNothing(LPCWSTR, LPWIN32_FIND_DATAW) {
    SetLastError(ERROR_PATH_NOT_FOUND);
    return INVALID_HANDLE_VALUE;
}

TEST_F(FolderItemTest, CreateFolderOnAShareStartsBelowTheShare) {
    ApiOverride<&PlatformApi::CreateDirectoryW> create(&RecordCreateDirectory);
    ApiOverride<&PlatformApi::GetFileAttributesW> attributes(&NothingThere);
    ApiOverride<&PlatformApi::FindFirstFileW> find(&FindNothing);
    created.clear();
    ComPtr<FolderItem> item = FolderItem::Open(L"\\\\server\\share\\x\\y");
    ASSERT_EQ(item->CreateFolder(), S_OK);
    EXPECT_EQ(created, (std::vector<std::wstring>{L"\\\\?\\UNC\\server\\share\\x", L"\\\\?\\UNC\\server\\share\\x\\y"}));
}

TEST_F(FolderItemTest, DeleteFilesAndFolders) {
    ComPtr<FolderItem> file = FolderItem::Open(scratch_.WriteFile(L"f.txt"));
    ASSERT_EQ(file->Delete(), S_OK);
    EXPECT_FALSE(Exists(scratch_ / L"f.txt"));
    ComPtr<FolderItem> empty = FolderItem::Open(scratch_.MakeFolder(L"empty"));
    ASSERT_EQ(empty->Delete(), S_OK);
    EXPECT_FALSE(Exists(scratch_ / L"empty"));

    scratch_.MakeFolder(L"full");
    scratch_.WriteFile(L"full\\inside.txt");
    ComPtr<FolderItem> full = FolderItem::Open(scratch_ / L"full");
    const ErrorRecord error = TakeError(full->Delete());
    EXPECT_EQ(error.number, System(ERROR_DIR_NOT_EMPTY));
    EXPECT_EQ(error.source, L"FolderItem");
    EXPECT_EQ(error.description, vofs::SystemErrorText(ERROR_DIR_NOT_EMPTY));
    EXPECT_EQ(TakeError(file->Delete()).number, System(ERROR_FILE_NOT_FOUND)) << "deleted already";
}

TEST_F(FolderItemTest, AttributesAreWrittenToDiskAndRecord) {
    const std::wstring path = scratch_.WriteFile(L"a.txt");
    ComPtr<FolderItem> item = FolderItem::Open(path);
    ASSERT_EQ(item->put_Attributes(static_cast<FileAttributes>(FILE_ATTRIBUTE_READONLY | FILE_ATTRIBUTE_HIDDEN)), S_OK);
    EXPECT_EQ(Attributes(item.Get()), FILE_ATTRIBUTE_READONLY | FILE_ATTRIBUTE_HIDDEN) << "from the record";
    EXPECT_TRUE(GetFileAttributesW(path.c_str()) & FILE_ATTRIBUTE_READONLY);
    SetFileAttributesW(path.c_str(), FILE_ATTRIBUTE_NORMAL);

    ComPtr<FolderItem> missing = FolderItem::Open(scratch_ / L"missing.txt");
    EXPECT_EQ(TakeError(missing->put_Attributes(static_cast<FileAttributes>(1))).number, System(ERROR_FILE_NOT_FOUND));
}

TEST_F(FolderItemTest, ParentsRootsAndSupport) {
    ComPtr<FolderItem> item = FolderItem::Open(scratch_ / L"x.txt");
    ComPtr<_IFolderItem> parent;
    ASSERT_EQ(item->get_Parent(&parent), S_OK);
    Bstr text;
    ComPtr<_IPath> parentPath;
    parent->get_Path(&parentPath);
    parentPath->get_FullPath(text.Receive());
    EXPECT_EQ(text.View(), scratch_.Path());
    VARIANT_BOOL folder = VARIANT_FALSE;
    parent->get_IsFolder(&folder);
    EXPECT_EQ(folder, VARIANT_TRUE);

    ComPtr<FolderItem> root = FolderItem::Open(std::wstring(L"C:\\"));
    EXPECT_TRUE(ItemExists(root.Get())) << "a root exists when its volume does";
    EXPECT_TRUE(Flag(root.Get(), &FolderItem::get_PathIsRoot));
    ComPtr<_IFolderItem> rootParent;
    EXPECT_EQ(TakeError(root->get_Parent(&rootParent)).number, RunTime(5)) << "the parent of C:\\ is C, no path";
    ComPtr<FolderItem> noDrive = FolderItem::Open(std::wstring(L"Q:\\"));
    EXPECT_FALSE(ItemExists(noDrive.Get()));

    for (long member = -1; member <= 23; ++member) {
        VARIANT_BOOL supported = VARIANT_FALSE;
        item->IsSupported(static_cast<IFolderItemMembers>(member), &supported);
        EXPECT_EQ(supported, VARIANT_TRUE) << member;
    }
}

DWORD refreshFailure = ERROR_ACCESS_DENIED;
HANDLE WINAPI FindFails(LPCWSTR, LPWIN32_FIND_DATAW) {
    SetLastError(refreshFailure);
    return INVALID_HANDLE_VALUE;
}

TEST_F(FolderItemTest, AFailedRefreshLeavesTheItemUnusableUntilOneSucceeds) {
    ComPtr<FolderItem> item = FolderItem::Open(scratch_.WriteFile(L"a.txt", "xy"));
    {
        ApiOverride<&PlatformApi::FindFirstFileW> failing(&FindFails);
        const ErrorRecord error = TakeError(item->Refresh());
        EXPECT_EQ(error.number, System(ERROR_ACCESS_DENIED));
        EXPECT_EQ(error.source, L"FolderItem");
        Bstr name;
        EXPECT_EQ(TakeError(item->get_Name(name.Receive())).number, RunTime(5));
        for (DWORD code : {DWORD{ERROR_FILE_NOT_FOUND}, DWORD{ERROR_PATH_NOT_FOUND}, DWORD{ERROR_NO_MORE_FILES}}) {
            refreshFailure = code;
            EXPECT_EQ(item->Refresh(), S_OK) << code << " only says the item is not there";
            EXPECT_FALSE(ItemExists(item.Get()));
        }
        refreshFailure = ERROR_ACCESS_DENIED;
    }
    ASSERT_EQ(item->Refresh(), S_OK);
    EXPECT_EQ(Name(item.Get()), L"a.txt");
}

TEST_F(FolderItemTest, EnumFolderOfFilesRootsAndFilters) {
    ComPtr<FolderItem> file = FolderItem::Open(scratch_.WriteFile(L"f.txt"));
    ComPtr<_FolderEnumerator> entries;
    Bstr none;
    EXPECT_EQ(TakeError(file->EnumFolder(none.Get(), &entries)).number, RunTime(5));

    ComPtr<FolderItem> folder = FolderItem::Open(scratch_.Path());
    Bstr noMatch(L"*.nothing");
    const ErrorRecord error = TakeError(folder->EnumFolder(noMatch.Get(), &entries));
    EXPECT_EQ(error.number, System(ERROR_FILE_NOT_FOUND));
    EXPECT_EQ(error.source, L"FolderItem") << "raised again under the item's name";

    ComPtr<FolderItem> root = FolderItem::Open(std::wstring(L"C:\\"));
    ComPtr<_IFolderEnumerator> rootEntries;
    ASSERT_EQ(root->EnumFolder(none.Get(), &rootEntries), S_OK);
    VARIANT_BOOL open = VARIANT_FALSE;
    rootEntries->get_IsOpen(&open);
    EXPECT_EQ(open, VARIANT_TRUE);
}

}  // namespace
}  // namespace vofs::testing
