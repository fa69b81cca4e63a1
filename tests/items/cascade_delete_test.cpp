// CascadeDelete on real trees: what is left and what is raised for each combination of
// options, the orders kept as the library has always had them.

#include "items/folder_item.h"
#include "support/test_support.h"

#include <gtest/gtest.h>

#include <vector>

namespace vofs::testing {
namespace {

bool Exists(const std::wstring& path) { return GetFileAttributesW(path.c_str()) != INVALID_FILE_ATTRIBUTES; }

struct Options {
    const wchar_t* filter = L"";
    bool ignoreErrors = false;
    bool contentsOnly = false;
    bool includeSubFolders = true;
};

class CascadeDeleteTest : public ::testing::Test {
protected:
    // root\file.txt, root\sub\inner.txt, root\empty\ (plus whatever a case adds)
    std::wstring MakeTree() {
        const std::wstring root = scratch_.MakeFolder(L"root");
        scratch_.WriteFile(L"root\\file.txt", "1");
        scratch_.WriteFile(L"root\\other.tmp", "2");
        scratch_.MakeFolder(L"root\\sub");
        scratch_.WriteFile(L"root\\sub\\inner.txt", "3");
        scratch_.MakeFolder(L"root\\empty");
        return root;
    }

    HRESULT Cascade(const std::wstring& path, const Options& options) {
        ComPtr<FolderItem> item = FolderItem::Open(path);
        Bstr filter(options.filter);
        auto flag = [](bool value) { return value ? VARIANT_TRUE : VARIANT_FALSE; };
        return item->CascadeDelete(filter.Get(), flag(options.ignoreErrors), flag(options.contentsOnly),
                                   flag(options.includeSubFolders), VARIANT_TRUE);
    }

    ScratchFolder scratch_;
};

TEST_F(CascadeDeleteTest, OutcomesOfEachOption) {
    struct Case {
        const char* what;
        Options options;
        HRESULT raised;
        std::vector<const wchar_t*> left;  // below the scratch folder
    };
    const Case cases[] = {
        {"ignoring errors", {L"", true}, S_OK, {}},
        {"contents only", {L"", true, true}, S_OK, {L"root"}},
        {"no subfolders", {L"", false, false, false}, System(ERROR_DIR_NOT_EMPTY),
         {L"root", L"root\\sub", L"root\\sub\\inner.txt", L"root\\empty"}},
        {"a filter deletes every file all the same", {L"*.tmp", true}, S_OK, {}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        const std::wstring root = MakeTree();
        const ErrorRecord error = TakeError(Cascade(root, c.options));
        EXPECT_EQ(error.number, c.raised);
        if (c.raised != S_OK) {
            EXPECT_EQ(error.source, L"FolderItem");
        }
        EXPECT_FALSE(Exists(root + L"\\file.txt"));
        EXPECT_FALSE(Exists(root + L"\\other.tmp"));
        for (const wchar_t* left : c.left) EXPECT_TRUE(Exists(scratch_ / left)) << std::wstring(left).size();
        const size_t expectedLeft = c.left.size();
        size_t actualLeft = 0;
        for (const wchar_t* candidate : {L"root", L"root\\sub", L"root\\sub\\inner.txt", L"root\\empty"}) {
            actualLeft += Exists(scratch_ / candidate) ? 1 : 0;
        }
        EXPECT_EQ(actualLeft, expectedLeft);
        if (Exists(root)) Cascade(root, {L"", true});
    }
}

TEST_F(CascadeDeleteTest, ASubfolderWithContentsFailsItsSecondDelete) {
    // The subfolder's own call removes it with its contents, so the second Delete of the
    // same entry fails; that failure is raised and the root stays.
    const std::wstring root = scratch_.MakeFolder(L"root");
    scratch_.MakeFolder(L"root\\sub");
    scratch_.WriteFile(L"root\\sub\\inner.txt");
    const ErrorRecord error = TakeError(Cascade(root, {}));
    EXPECT_EQ(error.number, System(ERROR_FILE_NOT_FOUND));
    EXPECT_EQ(error.source, L"FolderItem");
    EXPECT_FALSE(Exists(root + L"\\sub"));
    EXPECT_TRUE(Exists(root));
}

TEST_F(CascadeDeleteTest, EmptyFoldersAndFiles) {
    const std::wstring empty = scratch_.MakeFolder(L"empty");
    EXPECT_EQ(Cascade(empty, {}), S_OK);
    EXPECT_TRUE(Exists(empty)) << "a folder whose walk finds no entry is left in place";

    scratch_.MakeFolder(L"holder");
    scratch_.MakeFolder(L"holder\\empty child");
    EXPECT_EQ(Cascade(scratch_ / L"holder", {}), S_OK) << "an empty subfolder goes with the second Delete";
    EXPECT_FALSE(Exists(scratch_ / L"holder"));

    const std::wstring file = scratch_.WriteFile(L"single.txt");
    EXPECT_EQ(Cascade(file, {}), S_OK);
    EXPECT_FALSE(Exists(file));
}

TEST_F(CascadeDeleteTest, IgnoringErrorsSkipsEveryFailure) {
    const std::wstring root = scratch_.MakeFolder(L"locked");
    const std::wstring readOnly = scratch_.WriteFile(L"locked\\keep.txt", "x");
    scratch_.WriteFile(L"locked\\gone.txt", "y");
    SetFileAttributesW(readOnly.c_str(), FILE_ATTRIBUTE_READONLY);
    EXPECT_EQ(Cascade(root, {L"", true}), S_OK);
    EXPECT_TRUE(Exists(readOnly)) << "a read-only file cannot be deleted";
    EXPECT_FALSE(Exists(root + L"\\gone.txt")) << "the walk went on after it";

    const ErrorRecord error = TakeError(Cascade(root, {}));
    EXPECT_EQ(error.number, System(ERROR_ACCESS_DENIED));
    SetFileAttributesW(readOnly.c_str(), FILE_ATTRIBUTE_NORMAL);
}

}  // namespace
}  // namespace vofs::testing
