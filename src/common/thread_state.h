#pragma once
// Library state, one copy per thread (per apartment). Nothing here is shared between
// threads, so nothing is locked. The state is set up by the first object that runs on a
// thread (every library object's constructor asks for it).

#include "common/platform_headers.h"

namespace vofs {

class FtpConnection;
class ProxySettings;
class Volumes;

enum WideCallSetting : long {
    kAutoDetect = 0,
    kAnsiVersion = 1,
    kWideVersion = 2,
};

struct ThreadState {
    long wideCallSupport = kAutoDetect;
    // The platform version record, filled once per thread by GetVersionExA.
    OSVERSIONINFOA version{};
    bool platformIsNt = false;
    // The default of FolderItem.Cached for new items.
    bool folderItemCachedDefault = true;
    // The shared Volumes collection of this thread; not owned. The collection clears it
    // when it goes, so a released collection is made again on the next request.
    Volumes* sharedVolumes = nullptr;
    // The default proxy record of this thread; not owned, cleared by the record when it goes.
    ProxySettings* defaultProxy = nullptr;
    // The first connection of this thread with a keep-alive timer; each links the next.
    // Not owned: a connection unlinks itself when its timer stops.
    FtpConnection* keepAliveConnections = nullptr;
};

// This thread's state, set up on first use.
ThreadState& ThisThread();

// True when the platform reports the NT family (platform identifier 2).
bool IsPlatformNT();

// The wide-call rule: wide platform calls unless WideCallSupport is AnsiVersion or the
// platform is not of the NT family.
bool UseWideCalls();

// The FTP layer's variant of the rule: it always answers false, so every internet call
// takes its ANSI form (the wide branches are kept, unused, beside them).
bool FtpUseWideCalls();

}  // namespace vofs
