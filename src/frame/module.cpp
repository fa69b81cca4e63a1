#include "frame/module.h"

extern "C" IMAGE_DOS_HEADER __ImageBase;

namespace vofs::module {
namespace {

LONG objects = 0;
LONG locks = 0;

}  // namespace

HMODULE Handle() { return reinterpret_cast<HMODULE>(&__ImageBase); }

std::wstring FilePath() {
    std::wstring path(MAX_PATH, L'\0');
    for (;;) {
        const DWORD length = GetModuleFileNameW(Handle(), path.data(), static_cast<DWORD>(path.size()));
        if (length < path.size()) {
            path.resize(length);
            return path;
        }
        path.resize(path.size() * 2);
    }
}

void ObjectCreated() noexcept { InterlockedIncrement(&objects); }
void ObjectDestroyed() noexcept { InterlockedDecrement(&objects); }
void Lock() noexcept { InterlockedIncrement(&locks); }
void Unlock() noexcept { InterlockedDecrement(&locks); }
long LiveObjects() noexcept { return InterlockedCompareExchange(&objects, 0, 0); }
bool CanUnload() noexcept { return LiveObjects() == 0 && InterlockedCompareExchange(&locks, 0, 0) == 0; }

}  // namespace vofs::module
