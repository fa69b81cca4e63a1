// The non-NT branches, run for real by the copy of the test program that Wine runs as
// Windows 98 (cpp_tests_win98); elsewhere these tests report themselves skipped.
// tests/scripts/win98.vbs is the script client on the same platform.

#include "common/ansi.h"
#include "common/decimal.h"
#include "common/platform_api.h"
#include "facade/file_system_lib.h"
#include "items/find_data.h"
#include "system/volume.h"
#include "support/test_support.h"

#include <cstring>

namespace vofs::testing {
namespace {

class Win98 : public ::testing::Test {
protected:
    void SetUp() override {
        if (IsPlatformNT()) GTEST_SKIP() << "runs under the win98 program version only (cpp_tests_win98)";
        library_ = FileSystemLib::Make();
    }
    ComPtr<FileSystemLib> library_;
    ScratchFolder scratch_;
    WideCallSettingGuard setting_;
};

int ansiCalls = 0;
DWORD WINAPI CountingAttributesA(LPCSTR path) {
    ++ansiCalls;
    return GetFileAttributesA(path);
}
DWORD WINAPI NoWideAttributes(LPCWSTR) {
    ADD_FAILURE() << "a wide call on a platform without them";
    return INVALID_FILE_ATTRIBUTES;
}
BOOL WINAPI NoWideVolumeInformation(LPCWSTR, LPWSTR, DWORD, LPDWORD, LPDWORD, LPDWORD, LPWSTR, DWORD) {
    ADD_FAILURE() << "a wide call on a platform without them";
    return FALSE;
}

TEST_F(Win98, FileCallsTakeTheAnsiBranchWithConvertedNames) {
    EXPECT_EQ(ThisThread().version.dwPlatformId, static_cast<DWORD>(VER_PLATFORM_WIN32_WINDOWS));
    EXPECT_FALSE(UseWideCalls());
    const std::wstring file = scratch_.WriteFile(L"caf\u00e9 menu.txt", "x");
    ApiOverride<&PlatformApi::GetFileAttributesA> counting(&CountingAttributesA);
    ApiOverride<&PlatformApi::GetFileAttributesW> none(&NoWideAttributes);
    ansiCalls = 0;
    Variant strict = Variant::FromBool(true);
    EXPECT_TRUE(ValueOf<VARIANT_BOOL>(library_.Get(), &_FileSystemLib::FileExists, Bstr(file).Get(), strict.Get()))
        << "the name survives the system code page";
    EXPECT_EQ(ansiCalls, 1);

    wchar_t expected[MAX_PATH] = {};
    GetTempPathW(MAX_PATH, expected);
    EXPECT_EQ(TextOf(library_.Get(), &_FileSystemLib::GetTempFolderPath), expected);
}

TEST_F(Win98, FindRecordsTakeTheAnsiLayout) {
    ThisThread().wideCallSupport = kWideVersion;
    ComPtr<FindDataRecord> record = FindDataRecord::Make();
    EXPECT_EQ(record->Version(), 1);
    const std::wstring file = scratch_.WriteFile(L"ansi.txt", "abc");
    HANDLE search = FindFirstFileA(ToAnsi(file).c_str(), static_cast<WIN32_FIND_DATAA*>(record->Buffer()));
    ASSERT_NE(search, INVALID_HANDLE_VALUE);
    FindClose(search);
    EXPECT_EQ(record->FileName(), L"ansi.txt");
    EXPECT_EQ(DecimalText(V_DECIMAL(record->FileSize().Get())), L"3");
}

TEST_F(Win98, VolumeDataComeFromTheAnsiCall) {
    ApiOverride<&PlatformApi::GetVolumeInformationW> noWide(&NoWideVolumeInformation);
    ComPtr<Volume> volume = Volume::Bind(L"C:\\");
    char fileSystem[256] = {};
    DWORD serial = 0;
    ASSERT_TRUE(GetVolumeInformationA("C:\\", nullptr, 0, &serial, nullptr, nullptr, fileSystem, 256));
    EXPECT_EQ(volume->FileSystemName(), std::wstring(fileSystem, fileSystem + strlen(fileSystem)));
    EXPECT_EQ(volume->SerialNumber(), serial);
}

}  // namespace
}  // namespace vofs::testing
