// Platform error codes as automation errors: the text lookup rules for every code range
// (through the seam where Wine has no text) and the rules of RaiseSystemError.

#include "common/host_process.h"
#include "common/platform_api.h"
#include "common/system_error.h"
#include "support/test_support.h"

#include <cstring>
#include <string>
#include <tuple>

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
    if (sources.remoteAccess.empty()) return ERROR_INVALID_PARAMETER;
    std::strncpy(buffer, sources.remoteAccess.c_str(), size);
    return 0;
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

}  // namespace
}  // namespace vofs::testing
