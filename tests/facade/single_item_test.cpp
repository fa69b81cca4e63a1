// FileSystemLib's path members and single-item operations on real temporary files:
// success, each failure code, and the move that ignores its options on the NT family.

#include "facade/file_system_lib.h"
#include "common/system_error.h"
#include "support/test_support.h"

#include <gtest/gtest.h>

namespace vofs::testing {
namespace {

bool FileThere(const std::wstring& path) { return GetFileAttributesW(path.c_str()) != INVALID_FILE_ATTRIBUTES; }

std::string ContentOf(const std::wstring& path) {
    HANDLE file = CreateFileW(path.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0, nullptr);
    if (file == INVALID_HANDLE_VALUE) return "<missing>";
    char buffer[64] = {};
    DWORD read = 0;
    ReadFile(file, buffer, sizeof(buffer), &read, nullptr);
    CloseHandle(file);
    return std::string(buffer, read);
}

class SingleItemOperations : public ::testing::Test {
protected:
    void SetUp() override { library_ = FileSystemLib::Make(); }

    HRESULT Rename(const std::wstring& from, const std::wstring& to) {
        Bstr a(from), b(to);
        return library_->RenameFolderItem(a.Get(), b.Get());
    }
    HRESULT Copy(const std::wstring& from, const std::wstring& to, bool failIfExists) {
        Bstr a(from), b(to);
        return library_->CopyFolderItem(a.Get(), b.Get(), failIfExists ? VARIANT_TRUE : VARIANT_FALSE);
    }
    HRESULT Move(const std::wstring& from, const std::wstring& to, long options) {
        Bstr a(from), b(to);
        return library_->MoveFolderItem(a.Get(), b.Get(), static_cast<FileMoveOptions>(options));
    }
    HRESULT Delete(const std::wstring& path) {
        Bstr a(path);
        return library_->DeleteFolderItem(a.Get());
    }

    static void ExpectSystemError(HRESULT result, DWORD code) {
        const ErrorRecord error = TakeError(result);
        EXPECT_EQ(error.number, System(code));
        EXPECT_EQ(error.source, L"FileSystemLib");
        EXPECT_EQ(error.description, vofs::SystemErrorText(static_cast<long>(code)));
    }

    ComPtr<FileSystemLib> library_;
    ScratchFolder scratch_;
    WideCallSettingGuard setting_;
};

TEST_F(SingleItemOperations, RenameCopyDelete) {
    for (long setting : {kAutoDetect, kAnsiVersion}) {
        ThisThread().wideCallSupport = setting;
        const std::wstring original = scratch_.WriteFile(L"caf\u00e9 " + std::to_wstring(setting) + L".txt", "one");
        const std::wstring renamed = scratch_ / (L"renamed " + std::to_wstring(setting) + L".txt");
        ASSERT_EQ(Rename(original, renamed), S_OK) << setting;
        EXPECT_FALSE(FileThere(original));
        EXPECT_EQ(ContentOf(renamed), "one");

        const std::wstring copy = scratch_ / (L"copy " + std::to_wstring(setting) + L".txt");
        ASSERT_EQ(Copy(renamed, copy, true), S_OK);
        EXPECT_EQ(ContentOf(copy), "one");
        ASSERT_EQ(Delete(copy), S_OK);
        EXPECT_FALSE(FileThere(copy));
    }
}

TEST_F(SingleItemOperations, FailuresCarryThePlatformCode) {
    const std::wstring file = scratch_.WriteFile(L"a.txt", "a");
    const std::wstring other = scratch_.WriteFile(L"b.txt", "b");
    ExpectSystemError(Rename(scratch_ / L"missing.txt", scratch_ / L"x.txt"), ERROR_FILE_NOT_FOUND);
    ExpectSystemError(Rename(file, other), ERROR_ALREADY_EXISTS);
    ExpectSystemError(Copy(file, other, true), ERROR_FILE_EXISTS);
    ASSERT_EQ(Copy(file, other, false), S_OK) << "failifexists False replaces";
    EXPECT_EQ(ContentOf(other), "a");
    ExpectSystemError(Delete(scratch_ / L"missing.txt"), ERROR_FILE_NOT_FOUND);
    ExpectSystemError(Copy(scratch_ / L"no\\such.txt", scratch_ / L"c.txt", false), ERROR_PATH_NOT_FOUND);
    Bstr relative(L"relative.txt"), target(file);
    EXPECT_EQ(TakeError(library_->DeleteFolderItem(relative.Get())).number, RunTime(5)) << "text that is no path";
}

TEST_F(SingleItemOperations, MoveIgnoresItsOptionsOnTheNtFamily) {
    ASSERT_TRUE(IsPlatformNT());
    const std::wstring file = scratch_.WriteFile(L"a.txt", "a");
    const std::wstring other = scratch_.WriteFile(L"b.txt", "b");
    // ReplaceExisting would let MoveFileEx replace b.txt; MoveFile refuses.
    ExpectSystemError(Move(file, other, MOVEFILE_REPLACE_EXISTING), ERROR_ALREADY_EXISTS);
    EXPECT_EQ(ContentOf(other), "b");
    ASSERT_EQ(Move(file, scratch_ / L"moved.txt", 0), S_OK);
    EXPECT_EQ(ContentOf(scratch_ / L"moved.txt"), "a");
}

TEST_F(SingleItemOperations, GetPathObjectAndGetPlatformPath) {
    Bstr text(L"  \\\\?\\UNC\\srv\\share\\dir "), result;
    ComPtr<_Path> path;
    ASSERT_EQ(library_->GetPathObject(text.Get(), &path), S_OK);
    ASSERT_EQ(path->get_FullPath(result.Receive()), S_OK);
    EXPECT_EQ(result.View(), L"\\\\srv\\share\\dir");

    ASSERT_EQ(library_->GetPlatformPath(text.Get(), result.Receive()), S_OK);
    EXPECT_EQ(result.View(), L"\\\\?\\UNC\\srv\\share\\dir");
    ThisThread().wideCallSupport = kAnsiVersion;
    ASSERT_EQ(library_->GetPlatformPath(text.Get(), result.Receive()), S_OK);
    EXPECT_EQ(result.View(), L"\\\\srv\\share\\dir");

    Bstr bad(L"dir\\file");
    const ErrorRecord error = TakeError(library_->GetPathObject(bad.Get(), &path));
    EXPECT_EQ(error.number, RunTime(5));
    EXPECT_EQ(error.source, L"Path");
}

// On the Windows 98 family the options reach MoveFileEx (cpp_tests_win98 runs this).
TEST(Win98SingleItemOperations, MovePassesItsOptions) {
    if (IsPlatformNT()) GTEST_SKIP() << "runs under the win98 program version only (cpp_tests_win98)";
    ScratchFolder scratch;
    ComPtr<FileSystemLib> library = FileSystemLib::Make();
    const std::wstring file = scratch.WriteFile(L"a.txt", "a");
    const std::wstring other = scratch.WriteFile(L"b.txt", "b");
    Bstr a(file), b(other);
    ASSERT_EQ(library->MoveFolderItem(a.Get(), b.Get(), static_cast<FileMoveOptions>(MOVEFILE_REPLACE_EXISTING)), S_OK);
    EXPECT_EQ(ContentOf(other), "a");
    EXPECT_FALSE(FileThere(file));
}

}  // namespace
}  // namespace vofs::testing
