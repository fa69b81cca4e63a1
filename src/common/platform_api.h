#pragma once
// The one seam between the library and the platform. Every platform call that a test may
// need to replace (to inject a fault, or to stand in for a call Wine lacks) is reached
// through `api`, a table of the platform's calls that hold the real functions by default.
// The entries keep the platform's own names and signatures, so call sites read as plain
// platform calls: api.FindNextFileW(handle, &data).
//
// The seam also keeps the one rule for texts: no platform call is handed a text longer
// than the platform can carry. A call that takes texts is declared with the value it
// returns on failure and the error it reports for a text too long; handed one, it is not
// made, and fails as the platform documents: a file or folder name beyond the limit
// reports ERROR_FILENAME_EXCED_RANGE (206), any other text ERROR_INVALID_PARAMETER (87),
// so each caller raises it as it raises any failure of that call.

#include "common/platform_headers.h"

#include <cstring>
#include <cwchar>
#include <string_view>

namespace vofs {

// The longest texts the platform carries: a counted UTF-16 string holds 32,767 units, and
// an ANSI text must convert into one with its terminating NUL (32,766 bytes).
inline constexpr size_t kLongestWideText = 32767;
inline constexpr size_t kLongestAnsiText = 32766;

template <class Argument>
bool IsTextTooLong(Argument argument) {
    if constexpr (std::is_same_v<Argument, const wchar_t*>) {
        return argument && wcsnlen(argument, kLongestWideText + 1) > kLongestWideText;
    } else if constexpr (std::is_same_v<Argument, const char*>) {
        return argument && strnlen(argument, kLongestAnsiText + 1) > kLongestAnsiText;
    } else {
        return false;
    }
}

// True when a text can be handed to the platform (for texts that reach it inside a
// structure or a message, where the seam cannot see them).
inline bool FitsPlatform(std::wstring_view text) { return text.size() <= kLongestWideText; }

template <class Function>
class PlatformCall;

template <class Result, class... Arguments>
class PlatformCall<Result(WINAPI*)(Arguments...)> {
public:
    using Function = Result(WINAPI*)(Arguments...);

    // A call whose texts, if any, are not checked (none reaches it from a caller).
    explicit PlatformCall(Function function) : function(function) {}
    // A call whose texts are checked: `failure` is what it returns when it fails.
    PlatformCall(Function function, Result failure, DWORD tooLongError)
        : function(function), failure_(failure), tooLongError_(tooLongError) {}

    Result operator()(Arguments... arguments) const {
        if (tooLongError_ != 0 && (IsTextTooLong(arguments) || ...)) {
            SetLastError(tooLongError_);
            return failure_;
        }
        return function(arguments...);
    }

    Function function;  // the platform's function, or a test's stand-in

private:
    Result failure_{};
    DWORD tooLongError_ = 0;
};

// The errors of the calls that take texts.
inline constexpr DWORD kNameTooLong = ERROR_FILENAME_EXCED_RANGE;
inline constexpr DWORD kTextTooLong = ERROR_INVALID_PARAMETER;

// (A few platform declarations carry attributes, such as the one on FormatMessageA's
// argument list, that a template argument cannot keep; the function's type and calling
// convention are the same without them.)
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wignored-attributes"
struct PlatformApi {
#define VOFS_PLATFORM_CALL(name) PlatformCall<decltype(&::name)> name{&::name};
#define VOFS_TEXT_CALL(name, failure, tooLongError) PlatformCall<decltype(&::name)> name{&::name, failure, tooLongError};
    // platform family
    VOFS_PLATFORM_CALL(GetVersionExA)
    // error text
    VOFS_PLATFORM_CALL(FormatMessageA)
    VOFS_TEXT_CALL(GetModuleHandleA, nullptr, kNameTooLong)
    VOFS_PLATFORM_CALL(WNetGetLastErrorA)
    VOFS_PLATFORM_CALL(RasGetErrorStringA)
    VOFS_PLATFORM_CALL(InternetGetLastResponseInfoA)
    // single file-system operations
    VOFS_TEXT_CALL(GetFileAttributesW, INVALID_FILE_ATTRIBUTES, kNameTooLong)
    VOFS_TEXT_CALL(GetFileAttributesA, INVALID_FILE_ATTRIBUTES, kNameTooLong)
    VOFS_TEXT_CALL(SetFileAttributesW, FALSE, kNameTooLong)
    VOFS_TEXT_CALL(SetFileAttributesA, FALSE, kNameTooLong)
    VOFS_TEXT_CALL(CreateDirectoryW, FALSE, kNameTooLong)
    VOFS_TEXT_CALL(CreateDirectoryA, FALSE, kNameTooLong)
    VOFS_TEXT_CALL(RemoveDirectoryW, FALSE, kNameTooLong)
    VOFS_TEXT_CALL(RemoveDirectoryA, FALSE, kNameTooLong)
    VOFS_TEXT_CALL(DeleteFileW, FALSE, kNameTooLong)
    VOFS_TEXT_CALL(DeleteFileA, FALSE, kNameTooLong)
    VOFS_TEXT_CALL(CopyFileW, FALSE, kNameTooLong)
    VOFS_TEXT_CALL(CopyFileA, FALSE, kNameTooLong)
    VOFS_TEXT_CALL(MoveFileW, FALSE, kNameTooLong)
    VOFS_TEXT_CALL(MoveFileA, FALSE, kNameTooLong)
    VOFS_TEXT_CALL(MoveFileExW, FALSE, kNameTooLong)
    VOFS_TEXT_CALL(MoveFileExA, FALSE, kNameTooLong)
    VOFS_PLATFORM_CALL(GetTempPathW)
    VOFS_PLATFORM_CALL(GetTempPathA)
    VOFS_PLATFORM_CALL(SetErrorMode)
    // searches
    VOFS_TEXT_CALL(FindFirstFileW, INVALID_HANDLE_VALUE, kNameTooLong)
    VOFS_TEXT_CALL(FindFirstFileA, INVALID_HANDLE_VALUE, kNameTooLong)
    VOFS_PLATFORM_CALL(FindNextFileW)
    VOFS_PLATFORM_CALL(FindNextFileA)
    VOFS_PLATFORM_CALL(FindClose)
    // network names
    VOFS_TEXT_CALL(WNetGetConnectionW, ERROR_BAD_DEVICE, ERROR_BAD_DEVICE)
    VOFS_TEXT_CALL(WNetGetConnectionA, ERROR_BAD_DEVICE, ERROR_BAD_DEVICE)
    // the internet layer
    VOFS_TEXT_CALL(InternetCanonicalizeUrlW, FALSE, ERROR_INTERNET_INVALID_URL)
    VOFS_TEXT_CALL(InternetCanonicalizeUrlA, FALSE, ERROR_INTERNET_INVALID_URL)
    VOFS_TEXT_CALL(InternetOpenW, nullptr, kTextTooLong)
    VOFS_TEXT_CALL(InternetOpenA, nullptr, kTextTooLong)
    VOFS_TEXT_CALL(InternetConnectW, nullptr, kTextTooLong)
    VOFS_TEXT_CALL(InternetConnectA, nullptr, kTextTooLong)
    VOFS_PLATFORM_CALL(InternetCloseHandle)
    VOFS_PLATFORM_CALL(InternetQueryOptionW)
    VOFS_PLATFORM_CALL(InternetQueryOptionA)
    VOFS_PLATFORM_CALL(InternetSetOptionA)
    VOFS_PLATFORM_CALL(InternetSetStatusCallback)
    VOFS_TEXT_CALL(FtpFindFirstFileW, nullptr, kNameTooLong)
    VOFS_TEXT_CALL(FtpFindFirstFileA, nullptr, kNameTooLong)
    VOFS_PLATFORM_CALL(InternetFindNextFileW)
    VOFS_PLATFORM_CALL(InternetFindNextFileA)
    VOFS_TEXT_CALL(FtpRenameFileW, FALSE, kNameTooLong)
    VOFS_TEXT_CALL(FtpRenameFileA, FALSE, kNameTooLong)
    VOFS_TEXT_CALL(FtpCreateDirectoryW, FALSE, kNameTooLong)
    VOFS_TEXT_CALL(FtpCreateDirectoryA, FALSE, kNameTooLong)
    VOFS_TEXT_CALL(FtpDeleteFileW, FALSE, kNameTooLong)
    VOFS_TEXT_CALL(FtpDeleteFileA, FALSE, kNameTooLong)
    VOFS_TEXT_CALL(FtpRemoveDirectoryW, FALSE, kNameTooLong)
    VOFS_TEXT_CALL(FtpRemoveDirectoryA, FALSE, kNameTooLong)
    VOFS_TEXT_CALL(FtpSetCurrentDirectoryW, FALSE, kNameTooLong)
    VOFS_TEXT_CALL(FtpSetCurrentDirectoryA, FALSE, kNameTooLong)
    VOFS_PLATFORM_CALL(FtpGetCurrentDirectoryW)
    VOFS_PLATFORM_CALL(FtpGetCurrentDirectoryA)
    VOFS_TEXT_CALL(FtpCommandA, FALSE, kTextTooLong)
    VOFS_TEXT_CALL(FtpOpenFileW, nullptr, kNameTooLong)
    VOFS_TEXT_CALL(FtpOpenFileA, nullptr, kNameTooLong)
    VOFS_PLATFORM_CALL(FtpGetFileSize)
    VOFS_PLATFORM_CALL(InternetReadFile)
    VOFS_PLATFORM_CALL(InternetWriteFile)
    VOFS_PLATFORM_CALL(InternetSetFilePointer)
    VOFS_PLATFORM_CALL(SetTimer)
    VOFS_PLATFORM_CALL(KillTimer)
    // volumes
    VOFS_PLATFORM_CALL(GetLogicalDriveStringsA)
    VOFS_TEXT_CALL(GetVolumeInformationW, FALSE, kNameTooLong)
    VOFS_TEXT_CALL(GetVolumeInformationA, FALSE, kNameTooLong)
    VOFS_TEXT_CALL(GetDriveTypeA, DRIVE_NO_ROOT_DIR, kNameTooLong)
    // file times
    VOFS_PLATFORM_CALL(FileTimeToSystemTime)
    VOFS_PLATFORM_CALL(SystemTimeToFileTime)
    VOFS_PLATFORM_CALL(FileTimeToLocalFileTime)
    VOFS_PLATFORM_CALL(LocalFileTimeToFileTime)
    VOFS_PLATFORM_CALL(SystemTimeToVariantTime)
    VOFS_PLATFORM_CALL(VariantTimeToSystemTime)
    // folder browser
    VOFS_PLATFORM_CALL(SHGetSpecialFolderLocation)
    VOFS_PLATFORM_CALL(SHBrowseForFolderA)
    VOFS_PLATFORM_CALL(SHGetPathFromIDListW)
    VOFS_PLATFORM_CALL(SHGetPathFromIDListA)
    VOFS_TEXT_CALL(GetFullPathNameW, 0, kNameTooLong)
    VOFS_TEXT_CALL(GetFullPathNameA, 0, kNameTooLong)
    VOFS_TEXT_CALL(CreateFileW, INVALID_HANDLE_VALUE, kNameTooLong)
    VOFS_TEXT_CALL(CreateFileA, INVALID_HANDLE_VALUE, kNameTooLong)
    VOFS_PLATFORM_CALL(CloseHandle)
    VOFS_PLATFORM_CALL(GetFileTime)
    VOFS_PLATFORM_CALL(SetFileTime)
    VOFS_PLATFORM_CALL(GetFileSize)
    VOFS_PLATFORM_CALL(ReadFile)
    VOFS_PLATFORM_CALL(WriteFile)
    VOFS_PLATFORM_CALL(SetFilePointer)
    VOFS_PLATFORM_CALL(SetEndOfFile)
    VOFS_PLATFORM_CALL(FlushFileBuffers)
    VOFS_PLATFORM_CALL(LockFile)
    VOFS_PLATFORM_CALL(UnlockFile)
    VOFS_PLATFORM_CALL(ReadFileEx)
    VOFS_PLATFORM_CALL(WriteFileEx)
    VOFS_PLATFORM_CALL(CancelIo)
    VOFS_PLATFORM_CALL(SleepEx)
    VOFS_PLATFORM_CALL(BackupRead)
    VOFS_PLATFORM_CALL(BackupSeek)
    VOFS_PLATFORM_CALL(BackupWrite)
    // token privileges
    VOFS_PLATFORM_CALL(OpenThreadToken)
    VOFS_PLATFORM_CALL(OpenProcessToken)
    VOFS_PLATFORM_CALL(GetTokenInformation)
    VOFS_TEXT_CALL(LookupPrivilegeNameA, FALSE, kTextTooLong)
    VOFS_TEXT_CALL(LookupPrivilegeValueA, FALSE, kTextTooLong)
    VOFS_TEXT_CALL(LookupPrivilegeDisplayNameA, FALSE, kTextTooLong)
    VOFS_PLATFORM_CALL(PrivilegeCheck)
    VOFS_PLATFORM_CALL(AdjustTokenPrivileges)
    VOFS_PLATFORM_CALL(GetComputerNameW)
    VOFS_PLATFORM_CALL(GetComputerNameA)
    // impersonation
    VOFS_TEXT_CALL(LogonUserA, FALSE, kTextTooLong)
    VOFS_PLATFORM_CALL(ImpersonateLoggedOnUser)
    VOFS_PLATFORM_CALL(RevertToSelf)
    VOFS_TEXT_CALL(WNetGetUserW, ERROR_BAD_DEVICE, ERROR_BAD_DEVICE)
    VOFS_TEXT_CALL(WNetGetUserA, ERROR_BAD_DEVICE, ERROR_BAD_DEVICE)
    VOFS_PLATFORM_CALL(GetUserNameW)
    VOFS_PLATFORM_CALL(GetUserNameA)
#undef VOFS_PLATFORM_CALL
#undef VOFS_TEXT_CALL
};

extern PlatformApi api;

// Replaces the function behind one entry of `api` for the lifetime of the object (tests
// only); the entry's text rule stays in force.
template <auto Entry>
class ApiOverride {
public:
    using Function = typename std::remove_reference_t<decltype(api.*Entry)>::Function;
    explicit ApiOverride(Function replacement) : saved_((api.*Entry).function) { (api.*Entry).function = replacement; }
    ~ApiOverride() { (api.*Entry).function = saved_; }
    ApiOverride(const ApiOverride&) = delete;
    ApiOverride& operator=(const ApiOverride&) = delete;

private:
    Function saved_;
};
#pragma GCC diagnostic pop

}  // namespace vofs
