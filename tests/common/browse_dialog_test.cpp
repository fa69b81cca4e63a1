// The folder browser needs a display: the test session runs one (Xvfb) and says so in
// VOFS_DISPLAY_READY. A helper thread waits for the dialog, lets it settle and presses
// OK or Cancel.

#include "common/browse_dialog.h"
#include "support/test_support.h"

#include <commctrl.h>
#include <cstdio>

namespace vofs::testing {
namespace {

struct Answer {
    UINT button;
    std::wstring awaitedSelection;  // the tree item's label to wait for; empty: none
    bool found = false;
    bool stalled = false;           // the dialog's tree never started; it was cancelled
    std::wstring selection;         // the label selected when the button was pressed
};

// The dialog this process shows, once it is visible.
HWND ShownDialog() {
    HWND dialog = FindWindowW(L"#32770", nullptr);
    DWORD process = 0;
    GetWindowThreadProcessId(dialog, &process);
    return dialog && IsWindowVisible(dialog) && process == GetCurrentProcessId() ? dialog : nullptr;
}

std::wstring SelectedLabel(HWND dialog) {
    HWND tree = FindWindowExW(dialog, nullptr, WC_TREEVIEWW, nullptr);
    auto item = tree ? reinterpret_cast<HTREEITEM>(SendMessageW(tree, TVM_GETNEXTITEM, TVGN_CARET, 0)) : nullptr;
    wchar_t text[MAX_PATH] = {};
    TVITEMW request{TVIF_TEXT, item, 0, 0, text, MAX_PATH};
    if (item) SendMessageW(tree, TVM_GETITEMW, 0, reinterpret_cast<LPARAM>(&request));
    return text;
}

// Waits for the dialog (and, when asked, for its tree to select the awaited folder,
// which the dialog does asynchronously), then presses the button. A tree that has
// selected nothing at all after 15 seconds never started (Wine's dialog sometimes does
// not fill its tree on first use): the dialog is cancelled and reported as stalled.
DWORD WINAPI PressWhenShown(void* parameter) {
    auto* answer = static_cast<Answer*>(parameter);
    HWND dialog = nullptr;
    for (int attempt = 0; attempt < 400 && !(dialog = ShownDialog()); ++attempt) Sleep(50);
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

// Rooted at the desktop, which has a path of its own: an OK without the initial
// selection would return that path, not the default folder.
std::wstring BrowseAndPress(UINT button, const std::wstring& defaultFolder, const std::wstring& awaited = {}) {
    for (int attempt = 1;; ++attempt) {
        Answer answer{button, awaited};
        HANDLE helper = CreateThread(nullptr, 0, &PressWhenShown, &answer, 0, nullptr);
        std::wstring chosen = BrowseToFolder(nullptr, CSIDL_DESKTOP, L"Choose a folder", BIF_RETURNONLYFSDIRS, defaultFolder);
        WaitForSingleObject(helper, 90000);
        CloseHandle(helper);
        EXPECT_TRUE(answer.found) << "no dialog appeared";
        if (!answer.stalled || attempt == 3) return chosen + L"|" + answer.selection;
        std::printf("the dialog's tree did not start (attempt %d); opening it again\n", attempt);
    }
}

TEST(BrowseDialog, OkReturnsTheSelectedDefaultFolderAndCancelTheDefaultFolder) {
    if (!GetEnvironmentVariableW(L"VOFS_DISPLAY_READY", nullptr, 0)) {
        GTEST_SKIP() << "no X display in this test session (Xvfb is missing)";
    }
    ScratchFolder scratch;
    const std::wstring folder = scratch.MakeFolder(L"chosen one");
    const std::wstring chosen = BrowseAndPress(IDOK, folder, L"chosen one");
    EXPECT_EQ(_wcsicmp(chosen.c_str(), (folder + L"|chosen one").c_str()), 0) << Narrow(chosen);
    EXPECT_EQ(BrowseAndPress(IDCANCEL, L"C:\\nowhere"), L"C:\\nowhere|");
    EXPECT_EQ(BrowseAndPress(IDCANCEL, L""), L"|") << "no default: the empty text";
}

}  // namespace
}  // namespace vofs::testing
