// FileSystemLib through its interface as an early-bound client calls it: the byte display
// table, through the seam the platform's rarer answers (unreadable items, a full temp
// folder, the temp folder's buffer, error modes), and the non-NT branches. The script
// clients of the same members are tests/scripts/items.vbs, paths.vbs and facade_win98.vbs.

#include "facade/file_system_lib.h"
#include "common/decimal.h"
#include "common/host_process.h"
#include "common/system_error.h"
#include "common/platform_api.h"
#include "support/test_support.h"

#include <functional>
#include <string>
#include <tuple>
#include <vector>

namespace vofs::testing {
namespace {

class FileSystemLibTest : public ::testing::Test {
protected:
    void SetUp() override { library_ = FileSystemLib::Make(); }

    std::wstring ByteDisplay(const Variant& value, long type = 0) {
        return TextOf(library_.Get(), &_FileSystemLib::FormatByteDisplay, *value.Get(), static_cast<ByteDisplayTypes>(type));
    }

    // "," stands for the user's grouping, "#" for the decimal point.
    static std::wstring Grouped(std::wstring text) {
        wchar_t separator[8] = {}, point[8] = {};
        GetLocaleInfoW(LOCALE_USER_DEFAULT, LOCALE_STHOUSAND, separator, 8);
        GetLocaleInfoW(LOCALE_USER_DEFAULT, LOCALE_SDECIMAL, point, 8);
        for (size_t at = text.find_first_of(L",#"); at != std::wstring::npos; at = text.find_first_of(L",#", at + 1)) {
            text.replace(at, 1, text[at] == L',' ? separator : point);
        }
        return text;
    }

    ComPtr<FileSystemLib> library_;
    WideCallSettingGuard setting_;
};

TEST_F(FileSystemLibTest, FormatByteDisplay) {
    const double KB = 1024, MB = KB * 1024, GB = MB * 1024, TB = GB * 1024;
    const std::tuple<double, long, const wchar_t*> cases[] = {  // bytes, display type, text
        {0, 0, L"0 KB"}, {0, 3, L"0 GB"}, {0, 5, L"0 MB"}, {0, 1, L"0 KB"}, {0, 7, L"0 GB"}, {0, 4, L"0 KB"},
        {1, 0, L"1 byte"}, {2, 0, L"2 bytes"}, {1023, 0, L"1,023 bytes"}, {1023, 1, L"1 KB"}, {1, 1, L"1 KB"},
        {1024, 0, L"1 KB"}, {1536, 0, L"2 KB"}, {2560, 0, L"2 KB"}, {3584, 0, L"4 KB"},  // halves to even
        {1023 * KB, 0, L"1,023 KB"}, {MB, 0, L"1 MB"}, {1.5 * MB, 0, L"1#50 MB"},
        {1.125 * MB, 0, L"1#13 MB"},   // two places, formatted from the unrounded value
        {1.005 * MB, 0, L"1 MB"},      // Round(q, 2) = Round(q, 0): whole units
        {GB, 2, L"1 GB"}, {2.25 * GB, 0, L"2#25 GB"},
        {2.125 * TB, 0, L"2#12 TB"},   // terabytes round (to even) before formatting
        {1234.5 * TB, 0, L"1,234#50 TB"}, {-5, 0, L""}, {0.5, 0, L"0#5 byte"},
    };
    for (const auto& [bytes, type, expected] : cases) {
        EXPECT_EQ(ByteDisplay(DoubleValue(bytes), type), Grouped(expected)) << bytes << " type " << type;
    }
    EXPECT_EQ(ByteDisplay(StringValue(L"1048576")), L"1 MB") << "text that converts to a number";
    EXPECT_EQ(ByteDisplay(Variant::FromDecimal(DecimalFromUnsigned(1ULL << 41))), L"2 TB");
}

// The seam's stand-ins: one path the platform refuses to read (with a chosen code),
// everything there, a temp folder asked for with recorded buffer lengths, error modes.
DWORD deniedError = 0;
std::wstring deniedPath;
std::vector<DWORD> asked;  // buffer lengths, error modes
bool tempAnswers = true;
DWORD WINAPI DenyOnePath(LPCWSTR path) {
    if (deniedPath != path) return GetFileAttributesW(path);
    SetLastError(deniedError);
    return INVALID_FILE_ATTRIBUTES;
}
DWORD WINAPI EverythingExists(LPCWSTR) { return FILE_ATTRIBUTE_NORMAL; }
DWORD WINAPI RecordingTempPath(DWORD length, LPWSTR buffer) {
    asked.push_back(length);
    if (length) wcsncpy(buffer, L"C:\\temp\\here\\", length);
    return length == 0 || tempAnswers ? 13 : 0;
}
UINT WINAPI RecordingSetErrorMode(UINT mode) { return asked.push_back(mode), 0x8001; }

TEST_F(FileSystemLibTest, UnreadableItemsAnswerFromTheirParentOrRaise) {
    ScratchFolder scratch;
    ApiOverride<&PlatformApi::GetFileAttributesW> fake(&DenyOnePath);
    deniedPath = scratch / L"locked";
    for (DWORD code : {DWORD{ERROR_ACCESS_DENIED}, DWORD{ERROR_SHARING_PAUSED}}) {
        deniedError = code;
        Bstr path(deniedPath);
        EXPECT_TRUE(ValueOf<VARIANT_BOOL>(library_.Get(), &_FileSystemLib::FileExists, path.Get(), Missing().Get())) << code;
        EXPECT_TRUE(ValueOf<VARIANT_BOOL>(library_.Get(), &_FileSystemLib::FolderExists, path.Get()))
            << "the parent's attributes are a folder's";
    }
    deniedPath = scratch / L"missing-parent\\locked";
    EXPECT_FALSE(ValueOf<VARIANT_BOOL>(library_.Get(), &_FileSystemLib::FileExists, Bstr(deniedPath).Get(), Missing().Get()))
        << "the parent cannot be read either";
    deniedError = ERROR_INVALID_NAME;
    VARIANT_BOOL result;
    const ErrorRecord error = TakeError(library_->FileExists(Bstr(deniedPath).Get(), Missing().Get(), &result));
    EXPECT_EQ(error.number, System(ERROR_INVALID_NAME));
    EXPECT_EQ(error.source + L"|" + error.description, L"MFileSystemLib|" + vofs::SystemErrorText(ERROR_INVALID_NAME));
}

TEST_F(FileSystemLibTest, TempFoldersAndNames) {
    ApiOverride<&PlatformApi::GetTempPathW> fake(&RecordingTempPath);
    for (long setting : {0L, 2L}) {
        asked.clear();
        ASSERT_EQ(library_->put_WideCallSupport(static_cast<WideCallSupportOptions>(setting)), S_OK);
        EXPECT_EQ(TextOf(library_.Get(), &_FileSystemLib::GetTempFolderPath), L"C:\\temp\\here\\");
        EXPECT_EQ(asked, (std::vector<DWORD>{0, setting == 0 ? 13u : 26u})) << "the buffer follows the stored setting";
    }
    tempAnswers = false;
    EXPECT_EQ(TextOf(library_.Get(), &_FileSystemLib::GetTempFolderPath), HostApplicationFolder());
    tempAnswers = true;

    ApiOverride<&PlatformApi::GetFileAttributesW> full(&EverythingExists);
    Bstr output;
    const ErrorRecord error =
        TakeError(library_->GetUniqueTempName(Bstr(L"x").Get(), nullptr, Bstr(L"C:\\").Get(), output.Receive()));
    EXPECT_EQ(error.number, RunTime(5)) << "no free name from ~0001 to ~9999";
    EXPECT_EQ(error.source + L"|" + error.description, L"FileSystemLib|Could not get temporary file name.");
}

TEST_F(FileSystemLibTest, SetErrorModeMasksWritesBackAndReturnsThePreviousMode) {
    ApiOverride<&PlatformApi::SetErrorMode> fake(&RecordingSetErrorMode);
    const std::pair<LONG, LONG> cases[] = {  // given, passed on and written back
        {-1, static_cast<LONG>(0xFFFF8001)}, {0x7FFE, 0}, {1, 1}, {0x8003, 0x8001},
        {-32768, -32768},  // NoOpenFileErrorBox keeps the platform's open-file bit
    };
    for (const auto& [given, passed] : cases) {
        asked.clear();
        Variant value = Variant::FromLong(given);
        EXPECT_EQ(ValueOf<ErrorModes>(library_.Get(), &_FileSystemLib::SetErrorMode, value.Get()), 0x8001);
        EXPECT_EQ(V_I4(value.Get()), passed) << given;
        EXPECT_EQ(asked, std::vector<DWORD>{static_cast<DWORD>(passed)});
    }
    // A typed by-reference variable keeps its type.
    SHORT variable = -1;
    VARIANT reference;
    V_VT(&reference) = VT_BYREF | VT_I2;
    V_I2REF(&reference) = &variable;
    ErrorModes previous;
    EXPECT_EQ(library_->SetErrorMode(&reference, &previous), S_OK);
    EXPECT_EQ(variable, -32767);
}

// A text the platform cannot carry fails a member as the platform would, with the member's
// own source, on both builds (the 32-bit platform can crash on such a text): a copy into a
// chain far deeper than the platform allows fails at once instead of walking it.
TEST_F(FileSystemLibTest, TextsLongerThanThePlatformCarriesRaiseItsErrorUnderTheClass) {
    const ScratchFolder scratch;
    std::wstring deep = scratch.Path();
    for (int i = 0; i < 35000; ++i) deep += L"\\a";
    const Bstr source(scratch.Path()), chain(deep), letters(L"C:\\" + std::wstring(70000, L'x'));
    ComPtr<_TokenPrivileges> privileges;
    ComPtr<_TokenPrivilege> privilege;
    ASSERT_EQ(library_->get_TokenPrivileges(&privileges), S_OK);
    ASSERT_EQ(privileges->GetNamedPrivilege(*StringValue(std::wstring(40000, L'S')).Get(), nullptr, &privilege), S_OK);
    ComPtr<_FolderItem> item;
    VARIANT_BOOL answer;
    const std::tuple<std::function<HRESULT()>, const wchar_t*, long> cases[] = {  // call, source, code
        {[&] { return library_->CopyFolder(source.Get(), chain.Get(), VARIANT_TRUE); }, L"FolderItem", 206},
        {[&] { return library_->GetFolderItem(letters.Get(), &item); }, L"FolderItem", 206},
        {[&] { return library_->DeleteFolderItem(letters.Get()); }, L"FileSystemLib", 206},
        {[&] { return library_->FileExists(letters.Get(), Missing().Get(), &answer); }, L"MFileSystemLib", 206},
        {[&] { return privilege->get_IsEnabled(&answer); }, L"MTokenPrivileges", ERROR_INVALID_PARAMETER},
    };
    for (const auto& [call, source, code] : cases) EXPECT_EQ(Raised(TakeError(call())), Raised(source, System(code)));
    EXPECT_EQ(GetFileAttributesW((scratch / L"a").c_str()), INVALID_FILE_ATTRIBUTES) << "nothing of the chain made";
}

// The non-NT branches, run for real by the copy of the test program that Wine runs as
// Windows 98 (cpp_tests_win98), where the wide calls Wine still answers must not be made.
using Win98 = FileSystemLibTest;

DWORD WINAPI NoWideAttributes(LPCWSTR) {
    ADD_FAILURE() << "a wide call on a platform without them";
    return INVALID_FILE_ATTRIBUTES;
}

TEST_F(Win98, FileCallsTakeTheAnsiBranchWithConvertedNames) {
    if (IsPlatformNT()) GTEST_SKIP() << "runs under the win98 program version only (cpp_tests_win98)";
    ScratchFolder scratch;
    const std::wstring file = scratch.WriteFile(L"caf\u00e9 menu.txt", "x");
    ApiOverride<&PlatformApi::GetFileAttributesW> none(&NoWideAttributes);
    Variant strict = Variant::FromBool(true);
    EXPECT_TRUE(ValueOf<VARIANT_BOOL>(library_.Get(), &_FileSystemLib::FileExists, Bstr(file).Get(), strict.Get()))
        << "the name survives the system code page";
}

}  // namespace
}  // namespace vofs::testing
