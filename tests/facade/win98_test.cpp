// The non-NT branches, run for real by the copy of the test program that Wine runs as
// Windows 98 (cpp_tests_win98). Elsewhere these tests report themselves skipped.

#include "common/file_calls.h"
#include "common/platform_api.h"
#include "facade/file_system_lib.h"
#include "support/test_support.h"

#include <gtest/gtest.h>

namespace vofs::testing {
namespace {

class Win98 : public ::testing::Test {
protected:
    void SetUp() override {
        if (IsPlatformNT()) GTEST_SKIP() << "runs under the win98 program version only (cpp_tests_win98)";
        library_ = FileSystemLib::Make();
    }
    ComPtr<FileSystemLib> library_;
    WideCallSettingGuard setting_;
};

TEST_F(Win98, TheVersionRecordSaysWindows98) {
    EXPECT_EQ(ThisThread().version.dwPlatformId, static_cast<DWORD>(VER_PLATFORM_WIN32_WINDOWS));
    EXPECT_FALSE(UseWideCalls());
}

TEST_F(Win98, WideCallsCannotBeForced) {
    const ErrorRecord error = TakeError(library_->put_WideCallSupport(static_cast<WideCallSupportOptions>(2)));
    EXPECT_EQ(error.number, RunTime(5));
    EXPECT_EQ(error.source, L"FileSystemLib");
    EXPECT_EQ(library_->put_WideCallSupport(static_cast<WideCallSupportOptions>(1)), S_OK);
    EXPECT_EQ(library_->put_WideCallSupport(static_cast<WideCallSupportOptions>(0)), S_OK);
}

int ansiCalls = 0;
DWORD WINAPI CountingAttributesA(LPCSTR path) {
    ++ansiCalls;
    return GetFileAttributesA(path);
}
DWORD WINAPI NoWideAttributes(LPCWSTR) {
    ADD_FAILURE() << "a wide call on a platform without them";
    return INVALID_FILE_ATTRIBUTES;
}

TEST_F(Win98, FileCallsTakeTheAnsiBranchWithConvertedNames) {
    ScratchFolder scratch;
    const std::wstring file = scratch.WriteFile(L"caf\u00e9 menu.txt", "x");
    ApiOverride<&PlatformApi::GetFileAttributesA> counting(&CountingAttributesA);
    ApiOverride<&PlatformApi::GetFileAttributesW> none(&NoWideAttributes);
    ansiCalls = 0;
    Bstr path(file);
    VARIANT_BOOL exists = VARIANT_FALSE;
    Variant strict = Variant::FromBool(true);
    ASSERT_EQ(library_->FileExists(path.Get(), strict.Get(), &exists), S_OK);
    EXPECT_TRUE(exists) << "the name survives the system code page";
    EXPECT_EQ(ansiCalls, 1);
}

TEST_F(Win98, TempFolderComesFromTheAnsiCall) {
    Bstr temp;
    ASSERT_EQ(library_->GetTempFolderPath(temp.Receive()), S_OK);
    wchar_t expected[MAX_PATH] = {};
    GetTempPathW(MAX_PATH, expected);
    EXPECT_EQ(temp.View(), expected);
}

}  // namespace
}  // namespace vofs::testing
