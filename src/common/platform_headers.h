#pragma once
// The platform headers, included once in one order for the whole library.

#ifndef NOMINMAX
#define NOMINMAX
#endif
#ifndef UNICODE
#define UNICODE
#endif

#include <windows.h>
#include <ole2.h>
#include <oleauto.h>
#include <shlobj.h>
#include <wininet.h>
// The header names its wide and ANSI FTP open calls through this macro; the library calls
// them by their own names, and its open-file class takes the plain one.
#undef FtpOpenFile
#include <winnetwk.h>
#include <ras.h>
#include <raserror.h>
#include <wrl/client.h>

#include <type_traits>

namespace vofs {
using Microsoft::WRL::ComPtr;
}  // namespace vofs
