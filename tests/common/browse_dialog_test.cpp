// The folder browser needs a display: the test session runs one (Xvfb) and says so in
// VOFS_DISPLAY_READY. A helper thread waits for the dialog, lets it settle and presses
// OK or Cancel.

#include "common/browse_dialog.h"
#include "support/test_support.h"

#include <commctrl.h>
#include <cstdio>
#include <gtest/gtest.h>

namespace vofs::testing {
namespace {

struct Answer {
    UINT button;
    std::wstring awaitedSelection;  // the tree item's label to wait for; empty: none
    bool found = false;
    bool stalled = false;           // the dialog's tree never started; it was cancelled
    std::wstring selection;         // the label selected when the button was pressed
};

BOOL CALLBACK FindOwnDialog(HWND window, LPARAM result) {
    DWORD process = 0;
    GetWindowThreadProcessId(window, &process);
    wchar_t className[16] = {};
    GetClassNameW(window, className, 16);
    if (process == GetCurrentProcessId() && IsWindowVisible(window) && std::wstring(className) == L"#32770") {
        *reinterpret_cast<HWND*>(result) = window;
        return FALSE;
    }
    return TRUE;
}

BOOL CALLBACK FindTree(HWND window, LPARAM result) {
    wchar_t className[32] = {};
    GetClassNameW(window, className, 32);
    if (std::wstring(className) == WC_TREEVIEWW) {
        *reinterpret_cast<HWND*>(result) = window;
        return FALSE;
    }
    return TRUE;
}

std::wstring SelectedLabel(HWND dialog) {
    HWND tree = nullptr;
    EnumChildWindows(dialog, &FindTree, reinterpret_cast<LPARAM>(&tree));
    if (!tree) return {};
    auto item = reinterpret_cast<HTREEITEM>(SendMessageW(tree, TVM_GETNEXTITEM, TVGN_CARET, 0));
    if (!item) return {};
    wchar_t text[MAX_PATH] = {};
    TVITEMW request{};
    request.mask = TVIF_TEXT;
    request.hItem = item;
    request.pszText = text;
    request.cchTextMax = MAX_PATH;
    SendMessageW(tree, TVM_GETITEMW, 0, reinterpret_cast<LPARAM>(&request));
    return text;
}

// Waits for the dialog (and, when asked, for its tree to select the awaited folder,
// which the dialog does asynchronously), then presses the button. A tree that has
// selected nothing at all after 15 seconds never started (Wine's dialog sometimes does
// not fill its tree on first use): the dialog is cancelled and reported as stalled.
DWORD WINAPI PressWhenShown(void* parameter) {
    auto* answer = static_cast<Answer*>(parameter);
    HWND dialog = nullptr;
    for (int attempt = 0; attempt < 400 && !dialog; ++attempt) {
        EnumWindows(&FindOwnDialog, reinterpret_cast<LPARAM>(&dialog));
        if (!dialog) Sleep(50);
    }
    if (!dialog) return 0;
    answer->found = true;
    Sleep(300);  // let the dialog finish its initialisation
    UINT button = answer->button;
    for (int attempt = 0; attempt < 600 && !answer->awaitedSelection.empty(); ++attempt) {
        answer->selection = SelectedLabel(dialog);
        if (answer->selection == answer->awaitedSelection) break;
        if (attempt == 300 && answer->selection.empty()) {
            answer->stalled = true;
            button = IDCANCEL;
            break;
        }
        Sleep(50);
    }
    PostMessageW(dialog, WM_COMMAND, MAKEWPARAM(button, BN_CLICKED), 0);
    return 0;
}

std::wstring BrowseAndPress(UINT button, const std::wstring& defaultFolder, bool& shown,
                            const std::wstring& awaitedSelection = {}, std::wstring* selection = nullptr) {
    std::wstring chosen;
    for (int attempt = 1; attempt <= 3; ++attempt) {
        Answer answer{button, awaitedSelection};
        HANDLE helper = CreateThread(nullptr, 0, &PressWhenShown, &answer, 0, nullptr);
        // Rooted at the desktop, which has a path of its own: an OK without the initial
        // selection would return that path, not the default folder.
        chosen = BrowseToFolder(nullptr, CSIDL_DESKTOP, L"Choose a folder", BIF_RETURNONLYFSDIRS, defaultFolder);
        WaitForSingleObject(helper, 90000);
        CloseHandle(helper);
        shown = answer.found;
        if (selection) *selection = answer.selection;
        if (!answer.stalled) break;
        std::printf("the dialog's tree did not start (attempt %d); opening it again\n", attempt);
    }
    return chosen;
}

class BrowseDialog : public ::testing::Test {
protected:
    void SetUp() override {
        if (!GetEnvironmentVariableW(L"VOFS_DISPLAY_READY", nullptr, 0)) {
            GTEST_SKIP() << "no X display in this test session (Xvfb is missing)";
        }
    }
};

TEST_F(BrowseDialog, OkReturnsTheDefaultFolderThatCameBackSelected) {
    ScratchFolder scratch;
    const std::wstring folder = scratch.MakeFolder(L"chosen one");
    bool shown = false;
    std::wstring selection;
    const std::wstring chosen = BrowseAndPress(IDOK, folder, shown, L"chosen one", &selection);
    ASSERT_TRUE(shown) << "no dialog appeared";
    EXPECT_EQ(_wcsicmp(chosen.c_str(), folder.c_str()), 0)
        << "chose " << std::string(chosen.begin(), chosen.end()) << " with [" << std::string(selection.begin(), selection.end())
        << "] selected";

    // The control: without a default folder, OK gives the root's own path.
    const std::wstring root = BrowseAndPress(IDOK, L"", shown);
    EXPECT_TRUE(shown);
    EXPECT_FALSE(root.empty());
    EXPECT_NE(_wcsicmp(root.c_str(), folder.c_str()), 0);
}

TEST_F(BrowseDialog, CancelReturnsTheDefaultFolder) {
    bool shown = false;
    EXPECT_EQ(BrowseAndPress(IDCANCEL, L"C:\\nowhere", shown), L"C:\\nowhere");
    EXPECT_TRUE(shown);
    EXPECT_EQ(BrowseAndPress(IDCANCEL, L"", shown), L"") << "no default: the empty text";
    EXPECT_TRUE(shown);
}

}  // namespace
}  // namespace vofs::testing
