#pragma once
// Memory whose addresses fit a Long: below 2 GB on the 64-bit build (the ordinary heap on
// the 32-bit build, where every address fits). Objects whose addresses the library hands
// out as a Long (the file-time and find records, the backup reader's buffer) live here, so
// that a 64-bit caller gets an exact address rather than an error.

#include <cstddef>

namespace vofs {

// Raises std::bad_alloc when no low memory is left. FreeLow(nullptr) does nothing.
void* AllocateLow(size_t bytes);
void FreeLow(void* block) noexcept;

// A base for classes whose objects must live in low memory.
struct LowMemoryObject {
    static void* operator new(size_t bytes) { return AllocateLow(bytes); }
    static void operator delete(void* block) noexcept { FreeLow(block); }
};

}  // namespace vofs
