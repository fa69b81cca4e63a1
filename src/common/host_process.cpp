#include "common/host_process.h"

#include "common/platform_headers.h"

namespace vofs {
namespace {

std::wstring HostProgramPath() {
    std::wstring path(MAX_PATH, L'\0');
    for (;;) {
        const DWORD length = GetModuleFileNameW(nullptr, path.data(), static_cast<DWORD>(path.size()));
        if (length < path.size()) {
            path.resize(length);
            return path;
        }
        path.resize(path.size() * 2);
    }
}

}  // namespace

std::wstring HostApplicationName() {
    std::wstring name = HostProgramPath();
    name.erase(0, name.find_last_of(L"\\/") + 1);
    if (const size_t dot = name.rfind(L'.'); dot != std::wstring::npos) name.resize(dot);
    return name;
}

std::wstring HostApplicationFolder() {
    std::wstring folder = HostProgramPath();
    folder.resize(folder.find_last_of(L"\\/") + 1);
    return folder;
}

}  // namespace vofs
