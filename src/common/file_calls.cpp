#include "common/file_calls.h"

#include "common/ansi.h"
#include "common/platform_api.h"
#include "common/thread_state.h"

namespace vofs::fs {

DWORD Attributes(const std::wstring& path) {
    if (UseWideCalls()) return api.GetFileAttributesW(path.c_str());
    return api.GetFileAttributesA(ToAnsi(path).c_str());
}

bool SetAttributes(const std::wstring& path, DWORD attributes) {
    if (UseWideCalls()) return api.SetFileAttributesW(path.c_str(), attributes);
    return api.SetFileAttributesA(ToAnsi(path).c_str(), attributes);
}

bool CreateFolder(const std::wstring& path) {
    if (UseWideCalls()) return api.CreateDirectoryW(path.c_str(), nullptr);
    return api.CreateDirectoryA(ToAnsi(path).c_str(), nullptr);
}

bool RemoveFolder(const std::wstring& path) {
    if (UseWideCalls()) return api.RemoveDirectoryW(path.c_str());
    return api.RemoveDirectoryA(ToAnsi(path).c_str());
}

bool RemoveFile(const std::wstring& path) {
    if (UseWideCalls()) return api.DeleteFileW(path.c_str());
    return api.DeleteFileA(ToAnsi(path).c_str());
}

bool CopyItem(const std::wstring& source, const std::wstring& destination, bool failIfExists) {
    if (UseWideCalls()) return api.CopyFileW(source.c_str(), destination.c_str(), failIfExists);
    return api.CopyFileA(ToAnsi(source).c_str(), ToAnsi(destination).c_str(), failIfExists);
}

bool MoveItem(const std::wstring& source, const std::wstring& destination) {
    if (UseWideCalls()) return api.MoveFileW(source.c_str(), destination.c_str());
    return api.MoveFileA(ToAnsi(source).c_str(), ToAnsi(destination).c_str());
}

std::wstring FullPathName(const std::wstring& path) {
    if (UseWideCalls()) {
        std::wstring full(api.GetFullPathNameW(path.c_str(), 0, nullptr, nullptr), L'\0');
        const DWORD length = full.empty() ? 0 : api.GetFullPathNameW(path.c_str(), static_cast<DWORD>(full.size()), full.data(), nullptr);
        return length && length < full.size() ? full.substr(0, length) : path;
    }
    const std::string ansi = ToAnsi(path);
    std::string full(api.GetFullPathNameA(ansi.c_str(), 0, nullptr, nullptr), '\0');
    const DWORD length = full.empty() ? 0 : api.GetFullPathNameA(ansi.c_str(), static_cast<DWORD>(full.size()), full.data(), nullptr);
    return length && length < full.size() ? FromAnsi(std::string_view(full).substr(0, length)) : path;
}

HANDLE OpenHandle(const std::wstring& path, DWORD access, DWORD share, DWORD disposition, DWORD flags) {
    if (UseWideCalls()) return api.CreateFileW(path.c_str(), access, share, nullptr, disposition, flags, nullptr);
    return api.CreateFileA(ToAnsi(path).c_str(), access, share, nullptr, disposition, flags, nullptr);
}

bool MoveItemWithOptions(const std::wstring& source, const std::wstring& destination, DWORD options) {
    if (UseWideCalls()) return api.MoveFileExW(source.c_str(), destination.c_str(), options);
    return api.MoveFileExA(ToAnsi(source).c_str(), ToAnsi(destination).c_str(), options);
}

DWORD TempPath(DWORD length, std::wstring& text) {
    if (UseWideCalls()) {
        std::wstring buffer(length + 1, L'\0');
        const DWORD returned = api.GetTempPathW(length, length ? buffer.data() : nullptr);
        text.assign(buffer.c_str(), returned <= length ? returned : 0);
        return returned;
    }
    std::string buffer(length + 1, '\0');
    const DWORD returned = api.GetTempPathA(length, length ? buffer.data() : nullptr);
    text = FromAnsi(std::string_view(buffer.c_str(), returned <= length ? returned : 0));
    return returned;
}

}  // namespace vofs::fs
