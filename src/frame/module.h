#pragma once
// What the module knows about itself: its handle and file, and how many of its objects
// and server locks are alive (DllCanUnloadNow answers from these).

#include "common/platform_headers.h"

#include <string>

namespace vofs::module {

// The image that holds the library's code: the DLL, or a test program linked with it.
HMODULE Handle();
std::wstring FilePath();

void ObjectCreated() noexcept;
void ObjectDestroyed() noexcept;
void Lock() noexcept;
void Unlock() noexcept;
bool CanUnload() noexcept;
long LiveObjects() noexcept;

}  // namespace vofs::module
