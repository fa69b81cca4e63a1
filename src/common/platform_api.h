#pragma once
// The one seam between the library and the platform. Every platform call that a test may
// need to replace (to inject a fault, or to stand in for a call Wine lacks) is reached
// through `api`, a table of function pointers that hold the real functions by default.
// The entries keep the platform's own names and signatures, so call sites read as plain
// platform calls: api.FindNextFileW(handle, &data).

#include "common/platform_headers.h"

namespace vofs {

struct PlatformApi {
#define VOFS_PLATFORM_CALL(name) decltype(&::name) name = &::name;
    // platform family
    VOFS_PLATFORM_CALL(GetVersionExA)
    // error text
    VOFS_PLATFORM_CALL(FormatMessageA)
    VOFS_PLATFORM_CALL(GetModuleHandleA)
    VOFS_PLATFORM_CALL(WNetGetLastErrorA)
    VOFS_PLATFORM_CALL(RasGetErrorStringA)
    VOFS_PLATFORM_CALL(InternetGetLastResponseInfoA)
    // single file-system operations
    VOFS_PLATFORM_CALL(GetFileAttributesW)
    VOFS_PLATFORM_CALL(GetFileAttributesA)
    VOFS_PLATFORM_CALL(SetFileAttributesW)
    VOFS_PLATFORM_CALL(SetFileAttributesA)
    VOFS_PLATFORM_CALL(CreateDirectoryW)
    VOFS_PLATFORM_CALL(CreateDirectoryA)
    VOFS_PLATFORM_CALL(RemoveDirectoryW)
    VOFS_PLATFORM_CALL(RemoveDirectoryA)
    VOFS_PLATFORM_CALL(DeleteFileW)
    VOFS_PLATFORM_CALL(DeleteFileA)
    VOFS_PLATFORM_CALL(CopyFileW)
    VOFS_PLATFORM_CALL(CopyFileA)
    VOFS_PLATFORM_CALL(MoveFileW)
    VOFS_PLATFORM_CALL(MoveFileA)
    VOFS_PLATFORM_CALL(MoveFileExW)
    VOFS_PLATFORM_CALL(MoveFileExA)
    VOFS_PLATFORM_CALL(GetTempPathW)
    VOFS_PLATFORM_CALL(GetTempPathA)
    VOFS_PLATFORM_CALL(SetErrorMode)
    // searches
    VOFS_PLATFORM_CALL(FindFirstFileW)
    VOFS_PLATFORM_CALL(FindFirstFileA)
    VOFS_PLATFORM_CALL(FindNextFileW)
    VOFS_PLATFORM_CALL(FindNextFileA)
    VOFS_PLATFORM_CALL(FindClose)
    // network names
    VOFS_PLATFORM_CALL(WNetGetConnectionW)
    VOFS_PLATFORM_CALL(WNetGetConnectionA)
    // the internet layer
    VOFS_PLATFORM_CALL(InternetCanonicalizeUrlW)
    VOFS_PLATFORM_CALL(InternetCanonicalizeUrlA)
    VOFS_PLATFORM_CALL(InternetOpenW)
    VOFS_PLATFORM_CALL(InternetOpenA)
    VOFS_PLATFORM_CALL(InternetConnectW)
    VOFS_PLATFORM_CALL(InternetConnectA)
    VOFS_PLATFORM_CALL(InternetCloseHandle)
    VOFS_PLATFORM_CALL(InternetQueryOptionW)
    VOFS_PLATFORM_CALL(InternetQueryOptionA)
    VOFS_PLATFORM_CALL(InternetSetOptionA)
    VOFS_PLATFORM_CALL(InternetSetStatusCallback)
    VOFS_PLATFORM_CALL(FtpFindFirstFileW)
    VOFS_PLATFORM_CALL(FtpFindFirstFileA)
    VOFS_PLATFORM_CALL(InternetFindNextFileW)
    VOFS_PLATFORM_CALL(InternetFindNextFileA)
    VOFS_PLATFORM_CALL(FtpRenameFileW)
    VOFS_PLATFORM_CALL(FtpRenameFileA)
    VOFS_PLATFORM_CALL(FtpCreateDirectoryW)
    VOFS_PLATFORM_CALL(FtpCreateDirectoryA)
    VOFS_PLATFORM_CALL(FtpDeleteFileW)
    VOFS_PLATFORM_CALL(FtpDeleteFileA)
    VOFS_PLATFORM_CALL(FtpRemoveDirectoryW)
    VOFS_PLATFORM_CALL(FtpRemoveDirectoryA)
    VOFS_PLATFORM_CALL(FtpSetCurrentDirectoryW)
    VOFS_PLATFORM_CALL(FtpSetCurrentDirectoryA)
    VOFS_PLATFORM_CALL(FtpGetCurrentDirectoryW)
    VOFS_PLATFORM_CALL(FtpGetCurrentDirectoryA)
    VOFS_PLATFORM_CALL(FtpCommandA)
    VOFS_PLATFORM_CALL(FtpOpenFileW)
    VOFS_PLATFORM_CALL(FtpOpenFileA)
    VOFS_PLATFORM_CALL(FtpGetFileSize)
    VOFS_PLATFORM_CALL(InternetReadFile)
    VOFS_PLATFORM_CALL(InternetWriteFile)
    VOFS_PLATFORM_CALL(InternetSetFilePointer)
    VOFS_PLATFORM_CALL(SetTimer)
    VOFS_PLATFORM_CALL(KillTimer)
    // volumes
    VOFS_PLATFORM_CALL(GetLogicalDriveStringsA)
    VOFS_PLATFORM_CALL(GetVolumeInformationW)
    VOFS_PLATFORM_CALL(GetVolumeInformationA)
    VOFS_PLATFORM_CALL(GetDriveTypeA)
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
    VOFS_PLATFORM_CALL(GetFullPathNameW)
    VOFS_PLATFORM_CALL(GetFullPathNameA)
    VOFS_PLATFORM_CALL(CreateFileW)
    VOFS_PLATFORM_CALL(CreateFileA)
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
    VOFS_PLATFORM_CALL(LookupPrivilegeNameA)
    VOFS_PLATFORM_CALL(LookupPrivilegeValueA)
    VOFS_PLATFORM_CALL(LookupPrivilegeDisplayNameA)
    VOFS_PLATFORM_CALL(PrivilegeCheck)
    VOFS_PLATFORM_CALL(AdjustTokenPrivileges)
    VOFS_PLATFORM_CALL(GetComputerNameW)
    VOFS_PLATFORM_CALL(GetComputerNameA)
    // impersonation
    VOFS_PLATFORM_CALL(LogonUserA)
    VOFS_PLATFORM_CALL(ImpersonateLoggedOnUser)
    VOFS_PLATFORM_CALL(RevertToSelf)
    VOFS_PLATFORM_CALL(WNetGetUserW)
    VOFS_PLATFORM_CALL(WNetGetUserA)
    VOFS_PLATFORM_CALL(GetUserNameW)
    VOFS_PLATFORM_CALL(GetUserNameA)
#undef VOFS_PLATFORM_CALL
};

extern PlatformApi api;

// Replaces one entry of `api` for the lifetime of the object (tests only). (A few
// platform declarations carry attributes that a template argument cannot keep; the
// pointer's type is the same without them.)
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wignored-attributes"
template <auto Entry>
class ApiOverride {
public:
    using Function = std::remove_reference_t<decltype(api.*Entry)>;
    explicit ApiOverride(Function replacement) : saved_(api.*Entry) { api.*Entry = replacement; }
    ~ApiOverride() { api.*Entry = saved_; }
    ApiOverride(const ApiOverride&) = delete;
    ApiOverride& operator=(const ApiOverride&) = delete;

private:
    Function saved_;
};
#pragma GCC diagnostic pop

}  // namespace vofs
