#pragma once
// Handles and addresses that travel to callers as a Long (32 bits) on both builds.
//
// On the 32-bit build every handle and address fits a Long bit for bit. On the 64-bit
// build a value crosses only when sign-extending its Long gives it back exactly: kernel,
// find and internet handles normally do, and the records whose addresses the library
// hands out are allocated below 2 GB (low_memory.h) so that theirs do too. A value that
// would not survive the round trip raises error 6 (overflow), never a cut-off number.

#include "common/platform_headers.h"

#include <cstdint>

namespace vofs {

// The value as a Long, or error 6 when the Long would not give it back exactly.
LONG ExactLong(intptr_t value);

inline LONG HandleAsLong(const void* handle) { return ExactLong(reinterpret_cast<intptr_t>(handle)); }
inline LONG AddressAsLong(const void* address) { return ExactLong(reinterpret_cast<intptr_t>(address)); }

// A Long handed back by a caller as the handle it stands for (sign-extended).
inline HANDLE HandleFromLong(LONG value) { return reinterpret_cast<HANDLE>(static_cast<intptr_t>(value)); }

}  // namespace vofs
