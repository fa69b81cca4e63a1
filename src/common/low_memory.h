#pragma once
// Memory whose addresses fit a Long: below 2 GB on the 64-bit build (the ordinary heap on
// the 32-bit build, where every address fits). Objects whose addresses the library hands
// out as a Long (the file-time and find records, the backup reader's buffer) live here, so
// that a 64-bit caller gets an exact address rather than an error.

#include <cstddef>
#include <cstdint>
#include <memory>

namespace vofs {

// Every block is aligned as the language's own `new` promises (16 bytes on both builds),
// so any object fits: the 32-bit C runtime's heap alone gives only 8.
inline constexpr size_t kLowAlignment = __STDCPP_DEFAULT_NEW_ALIGNMENT__;

// Raises std::bad_alloc when no low memory is left. FreeLow(nullptr) does nothing.
void* AllocateLow(size_t bytes);
void FreeLow(void* block) noexcept;

// A block of low memory, freed when its owner goes.
struct FreeLowBlock {
    void operator()(uint8_t* block) const noexcept { FreeLow(block); }
};
using LowBlock = std::unique_ptr<uint8_t[], FreeLowBlock>;
inline LowBlock AllocateLowBlock(size_t bytes) { return LowBlock(static_cast<uint8_t*>(AllocateLow(bytes))); }

// A base for classes whose objects must live in low memory.
struct LowMemoryObject {
    static void* operator new(size_t bytes) { return AllocateLow(bytes); }
    static void operator delete(void* block) noexcept { FreeLow(block); }
};

}  // namespace vofs
