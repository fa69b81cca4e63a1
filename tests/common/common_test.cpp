// The common layer: platform error codes as automation errors (the text lookup for every
// code range, through the seam where Wine has no text, and RaiseSystemError), 64-bit values
// at the boundary (sizes, precise values, positions, and addresses that must come back
// exactly from a Long), and the folder browser.

#include "common/browse_dialog.h"
#include "common/decimal.h"
#include "common/host_process.h"
#include "common/large_values.h"
#include "common/long_handles.h"
#include "common/low_memory.h"
#include "common/platform_api.h"
#include "common/system_error.h"
#include "support/test_support.h"

#include <commctrl.h>
#include <cstdio>
#include <cstring>
#include <string>
#include <tuple>
#include <vector>

namespace vofs::testing {
namespace {

// Stand-ins for the text sources: what each answers, and what the message source was asked.
struct TextSources {
    std::string message, remoteAccess, serverReply, providerText, providerName;
    DWORD messageFlags = 0, messageCode = 0, providerError = 0;
    HMODULE messageModule = nullptr;
    bool internetLoaded = true;
};
TextSources sources;
HMODULE const kInternetModule = reinterpret_cast<HMODULE>(0x5150000);

DWORD WINAPI FakeFormatMessageA(DWORD flags, LPCVOID module, DWORD code, DWORD, LPSTR buffer, DWORD size, va_list*) {
    sources.messageFlags = flags;
    sources.messageModule = static_cast<HMODULE>(const_cast<void*>(module));
    sources.messageCode = code;
    lstrcpynA(buffer, sources.message.c_str(), static_cast<int>(size));
    return static_cast<DWORD>(strlen(buffer));
}
HMODULE WINAPI FakeGetModuleHandleA(LPCSTR name) {
    return sources.internetLoaded && _stricmp(name, "wininet.dll") == 0 ? kInternetModule : nullptr;
}
DWORD APIENTRY FakeRasGetErrorStringA(UINT, LPSTR buffer, DWORD size) {
    return sources.remoteAccess.empty() ? ERROR_INVALID_PARAMETER : (std::strncpy(buffer, sources.remoteAccess.c_str(), size), 0);
}
BOOL WINAPI FakeInternetGetLastResponseInfoA(LPDWORD error, LPSTR buffer, LPDWORD length) {
    const bool fits = buffer && *length > sources.serverReply.size();
    if (fits) std::strcpy(buffer, sources.serverReply.c_str());
    *error = 0;
    *length = static_cast<DWORD>(sources.serverReply.size());
    return fits;
}
DWORD APIENTRY FakeWNetGetLastErrorA(LPDWORD error, LPSTR text, DWORD textSize, LPSTR name, DWORD nameSize) {
    *error = sources.providerError;
    std::strncpy(text, sources.providerText.c_str(), textSize);
    std::strncpy(name, sources.providerName.c_str(), nameSize);
    return NO_ERROR;
}

class SystemErrorText : public ::testing::Test {
protected:
    void SetUp() override { sources = TextSources{}; }

    ApiOverride<&PlatformApi::FormatMessageA> format_{&FakeFormatMessageA};
    ApiOverride<&PlatformApi::GetModuleHandleA> module_{&FakeGetModuleHandleA};
    ApiOverride<&PlatformApi::RasGetErrorStringA> ras_{&FakeRasGetErrorStringA};
    ApiOverride<&PlatformApi::InternetGetLastResponseInfoA> reply_{&FakeInternetGetLastResponseInfoA};
    ApiOverride<&PlatformApi::WNetGetLastErrorA> network_{&FakeWNetGetLastErrorA};
};

TEST_F(SystemErrorText, EndsInExactlyOneSentenceMarkAndReplacesLineBreaks) {
    const std::tuple<const char*, const wchar_t*, const wchar_t*> cases[] = {  // platform text, separator, result
        {"Access is denied.\r\n", L"\r\n", L"Access is denied."}, {"No full stop\r\n", L"\r\n", L"No full stop."},
        {"Is that so?\r\n", L"\r\n", L"Is that so?"}, {"Stop!", L"\r\n", L"Stop!"}, {"", L"\r\n", L"."},
        {"Two\r\nlines\r\n", L"\r\n", L"Two\r\nlines."},
        {"Line one\r\nLine two\r\n", L"|", L"Line one|Line two|."},
        {"Line one\r\nLine two\r\n", L"; ", L"Line one;Line two;."},  // the separator's first character
        {"Line one\r\nLine two\r\n", L"", L"Line oneLine two."},
    };
    for (const auto& [platformText, separator, expected] : cases) {
        sources.message = platformText;
        EXPECT_EQ(vofs::SystemErrorText(5, separator), expected) << platformText;
    }
}

TEST_F(SystemErrorText, WhichCodeIsLookedUpAndWhere) {
    sources.message = "x";
    vofs::SystemErrorText(static_cast<long>(0x80070002));
    EXPECT_EQ(sources.messageCode, 2u) << "an HRESULT of facility form is reduced to its code";
    EXPECT_EQ(sources.messageFlags, static_cast<DWORD>(FORMAT_MESSAGE_FROM_SYSTEM));
    vofs::SystemErrorText(static_cast<long>(0x8000FFFF));
    EXPECT_EQ(sources.messageCode, 0x8000FFFFu) << "with bit 15 set the code is looked up whole";
    SetLastError(ERROR_PATH_NOT_FOUND);
    vofs::SystemErrorText(0);
    EXPECT_EQ(sources.messageCode, static_cast<DWORD>(ERROR_PATH_NOT_FOUND)) << "0 means the last platform error";
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_PATH_NOT_FOUND)) << "and the lookup leaves it as it was";

    sources = {.providerText = "The share went away", .providerName = "Example Network", .providerError = 42};
    EXPECT_EQ(vofs::SystemErrorText(1208), L"Example Network returned error #42 The share went away.");
    sources.remoteAccess = "The port is already in use";
    EXPECT_EQ(vofs::SystemErrorText(602), L"The port is already in use.");
    sources.remoteAccess.clear();
    EXPECT_EQ(vofs::SystemErrorText(799), L".") << "no remote-access text";
    sources.serverReply = "550 No such file or directory\r\n";
    EXPECT_EQ(vofs::SystemErrorText(12003), L"550 No such file or directory.");

    sources.message = "The operation timed out\r\n";
    EXPECT_EQ(vofs::SystemErrorText(12002), L"The operation timed out.");
    EXPECT_EQ(sources.messageFlags, static_cast<DWORD>(FORMAT_MESSAGE_FROM_HMODULE));
    EXPECT_EQ(sources.messageModule, kInternetModule);
    sources.internetLoaded = false;
    EXPECT_EQ(vofs::SystemErrorText(12029), L".") << "no text when the internet module is not loaded";
    sources.message = "System text";
    EXPECT_EQ(vofs::SystemErrorText(13000), L"System text.") << "just outside the internet range";
    EXPECT_EQ(sources.messageFlags, static_cast<DWORD>(FORMAT_MESSAGE_FROM_SYSTEM));
}

TEST(RaiseSystemError, NumberSourceAndDescription) {
    const std::wstring platformText = vofs::SystemErrorText(5);  // the system's own text
    EXPECT_EQ(vofs::SystemErrorText(0x7FF0), L".") << "a code without text";
    const std::pair<const wchar_t*, std::wstring> cases[] = {
        {L"", platformText}, {L"Cannot open", L"Cannot open.\r\n" + platformText},
        {L"  Cannot open  ", L"Cannot open.\r\n" + platformText}, {L"Really?", L"Really?\r\n" + platformText},
        {L"Done.", L"Done.\r\n" + platformText},
    };
    for (const auto& [description, expected] : cases) {
        const ErrorRecord error = CaughtError([&] { RaiseSystemError(5, L"FileSystemLib", description); });
        EXPECT_EQ(error.number, System(5));
        EXPECT_EQ(error.source + L"|" + error.description, L"FileSystemLib|" + expected) << Narrow(description);
    }
    // Codes whose number does not fit overflow; 0 means the last error, no source the host.
    EXPECT_EQ(CaughtError([] { RaiseSystemError(0x7FF8FFFF, L"X"); }).number, static_cast<HRESULT>(0xFFFFFFFF));
    EXPECT_EQ(CaughtError([] { RaiseSystemError(0x7FF90000, L"X"); }).number, RunTime(6));
    EXPECT_EQ(CaughtError([] { RaiseSystemError(-1, L"X"); }).number, RunTime(6));
    SetLastError(ERROR_PATH_NOT_FOUND);
    const ErrorRecord error = CaughtError([] { RaiseSystemError(0, L""); });  // before anything resets the last error
    EXPECT_EQ(Raised(error), Raised(HostApplicationName(), System(ERROR_PATH_NOT_FOUND)));
    EXPECT_EQ(HostApplicationName().substr(0, 13), L"vofslib_tests");
}

// Sizes are Longs until the high word is used, precise values Decimals; positions come from
// Longs, Decimals and other numbers.
TEST(LargeValues, SizesPreciseValuesAndPositions) {
    for (uint64_t value : {0ULL, 5ULL, 0x7FFFFFFFULL, 0x80000000ULL, 0xFFFFFFFFULL, 0x100000000ULL, 5ULL << 32 | 7,
                           0x8000000000000000ULL, UINT64_MAX}) {
        EXPECT_EQ(PreciseOf(PreciseValue(value)), value);
        const Variant size = SizeValue(value);
        EXPECT_EQ(size.Type(), value >> 32 ? VT_DECIMAL : VT_I4) << value;
        // From 2^31 on, the Long is negative.
        EXPECT_EQ(value >> 32 ? PreciseOf(size) : static_cast<uint32_t>(V_I4(size.Get())), value);
    }

    Variant target = Variant::FromDecimal(DecimalFromUnsigned(1ULL << 33));
    const std::pair<Variant, int64_t> cases[] = {
        {LongValue(-5), -5},
        {Variant::FromDecimal(DecimalFromUnsigned((1ULL << 40) + 7)), (1LL << 40) + 7},
        {Coerced(DoubleValue(-1099511627776.0), VT_DECIMAL), -(1LL << 40)},
        {Coerced(DoubleValue(2.5), VT_DECIMAL), 2},  // half to even
        {DoubleValue(6442450944.0), 6442450944LL},
        {StringValue(L"12"), 12},
        {Variant(), 0},
        {ByReference(target), 1LL << 33},  // a variable passed by reference
    };
    for (const auto& [value, expected] : cases) EXPECT_EQ(LargeValueFrom(*value.Get()), expected) << expected;
    const Variant tooLarge = Variant::FromDecimal(DecimalFromUnsigned(UINT64_MAX));
    EXPECT_EQ(CaughtError([&] { LargeValueFrom(*tooLarge.Get()); }).number, RunTime(6));
    EXPECT_EQ(CaughtError([&] { LargeValueFrom(*StringValue(L"far").Get()); }).number, RunTime(13));
}

// The seam hands the platform no text longer than it carries: such a call fails as the
// platform fails it (206 for a name, 87 for other texts) and its function never runs.
size_t reached = 0;
DWORD WINAPI MeasuredAttributes(LPCWSTR path) { return reached = wcslen(path), FILE_ATTRIBUTE_NORMAL; }
BOOL WINAPI MeasuredLookup(LPCSTR, LPCSTR name, PLUID) { return reached = strlen(name), TRUE; }

TEST(PlatformTexts, OnlyTextsWithinThePlatformsLimitReachIt) {
    const ApiOverride<&PlatformApi::GetFileAttributesW> attributes{&MeasuredAttributes};
    const ApiOverride<&PlatformApi::LookupPrivilegeValueA> lookup{&MeasuredLookup};
    LUID value;
    for (const size_t extra : {0, 1}) {
        const std::wstring path = L"\\\\?\\C:\\" + std::wstring(32767 - 7 + extra, L'a');
        const std::string name(32766 + extra, 'S');
        reached = 0;
        EXPECT_EQ(api.GetFileAttributesW(path.c_str()), extra ? INVALID_FILE_ATTRIBUTES : FILE_ATTRIBUTE_NORMAL);
        EXPECT_EQ(reached + (extra ? GetLastError() : 0), extra ? ERROR_FILENAME_EXCED_RANGE : path.size());
        reached = 0;
        EXPECT_EQ(api.LookupPrivilegeValueA(nullptr, name.c_str(), &value), !extra);
        EXPECT_EQ(reached + (extra ? GetLastError() : 0), extra ? ERROR_INVALID_PARAMETER : name.size());
    }
}

TEST(LowMemory, BlocksOfEverySizeHaveExactLongAddresses) {
    std::vector<void*> blocks;
    for (size_t bytes : {1u, 16u, 48u, 700u, 4096u, 20000u, 300000u}) {
        for (int i = 0; i < 50; ++i) {
            blocks.push_back(std::memset(AllocateLow(bytes), 0xA5, bytes));
            EXPECT_EQ(reinterpret_cast<void*>(static_cast<intptr_t>(AddressAsLong(blocks.back()))), blocks.back());
            // Low-memory objects come from a class operator new: the compiler takes its
            // blocks to be aligned as the default operator new's (16 bytes, on both builds).
            EXPECT_EQ(reinterpret_cast<uintptr_t>(blocks.back()) % __STDCPP_DEFAULT_NEW_ALIGNMENT__, 0u) << bytes;
        }
    }
    for (void* block : blocks) FreeLow(block);
    FreeLow(nullptr);
}

// The folder browser needs a display: the test session runs one (Xvfb) and says so in
// VOFS_DISPLAY_READY. A helper thread waits for the dialog, lets it settle and presses
// OK or Cancel.
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
