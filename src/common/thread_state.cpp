#include "common/thread_state.h"

#include "common/platform_api.h"

namespace vofs {
namespace {

struct ThreadSlot {
    bool ready = false;
    ThreadState state;
};

thread_local ThreadSlot slot;

void SetUp(ThreadState& state) {
    state.version.dwOSVersionInfoSize = sizeof(OSVERSIONINFOA);
    if (!api.GetVersionExA(&state.version)) state.version = OSVERSIONINFOA{};
    state.platformIsNt = state.version.dwPlatformId == VER_PLATFORM_WIN32_NT;
}

}  // namespace

static_assert(sizeof(OSVERSIONINFOA) == 148, "the version record is 148 bytes");

ThreadState& ThisThread() {
    if (!slot.ready) {
        SetUp(slot.state);
        slot.ready = true;
    }
    return slot.state;
}

bool IsPlatformNT() { return ThisThread().platformIsNt; }

bool UseWideCalls() {
    const ThreadState& state = ThisThread();
    return state.wideCallSupport != kAnsiVersion && state.platformIsNt;
}

bool FtpUseWideCalls() { return false; }

}  // namespace vofs
