#pragma once
// Single file-system calls, each made in its wide form when the wide-call rule holds and
// in its ANSI form otherwise (paths converted to the system code page). Each returns the
// platform's result and leaves the platform's last error for the caller to read.

#include "common/platform_headers.h"

#include <string>

namespace vofs::fs {

DWORD Attributes(const std::wstring& path);  // INVALID_FILE_ATTRIBUTES on failure
// True for attributes that were read and name a folder.
inline bool IsFolderAttributes(DWORD attributes) {
    return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
}
bool SetAttributes(const std::wstring& path, DWORD attributes);
bool CreateFolder(const std::wstring& path);
bool RemoveFolder(const std::wstring& path);
bool RemoveFile(const std::wstring& path);
bool CopyItem(const std::wstring& source, const std::wstring& destination, bool failIfExists);
bool MoveItem(const std::wstring& source, const std::wstring& destination);
// The absolute form of a local path (GetFullPathName); the text itself when that fails.
std::wstring FullPathName(const std::wstring& path);
// CreateFile with no security attributes and no template; INVALID_HANDLE_VALUE on failure.
HANDLE OpenHandle(const std::wstring& path, DWORD access, DWORD share, DWORD disposition, DWORD flags);
bool MoveItemWithOptions(const std::wstring& source, const std::wstring& destination, DWORD options);

// GetTempPath with a buffer of `length` characters: the returned count, and the text.
DWORD TempPath(DWORD length, std::wstring& text);

}  // namespace vofs::fs
