#pragma once
// The identity of the process that hosts the library: used where an error has no source
// of its own and where a temporary name or folder has no better default.

#include <string>

namespace vofs {

// The host program's file name without folder and extension (for example "cscript").
std::wstring HostApplicationName();

// The folder of the host program, with a trailing backslash.
std::wstring HostApplicationFolder();

}  // namespace vofs
