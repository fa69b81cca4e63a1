#include "common/low_memory.h"

#include "common/platform_headers.h"

#include <cstdint>
#include <new>

namespace vofs {

#ifdef _WIN64
namespace {

// The highest address a Long can carry exactly, plus one.
constexpr uintptr_t kLimit = uintptr_t{1} << 31;
constexpr size_t kGranularity = 64 * 1024;  // the platform's allocation granularity
constexpr size_t kChunkBytes = 1024 * 1024;
constexpr size_t kClassBytes = 64;          // small blocks are rounded up to this
constexpr size_t kSmallLimit = 16 * 1024;   // larger blocks get pages of their own
constexpr size_t kClasses = kSmallLimit / kClassBytes;

// Every block starts with its header, so that FreeLow knows where it came from.
struct alignas(kLowAlignment) Header {
    size_t sizeClass;  // 0: a block with pages of its own
    Header* next;      // on a free list
};

// Reserves and commits `bytes` at the lowest free place below kLimit.
void* ReserveLowPages(size_t bytes) {
    bytes = (bytes + kGranularity - 1) & ~(kGranularity - 1);
    for (uintptr_t address = kGranularity; address + bytes <= kLimit;) {
        MEMORY_BASIC_INFORMATION region{};
        if (!VirtualQuery(reinterpret_cast<void*>(address), &region, sizeof region)) break;
        const uintptr_t end = reinterpret_cast<uintptr_t>(region.BaseAddress) + region.RegionSize;
        if (region.State == MEM_FREE && end - address >= bytes) {
            // Another thread may take the place first; the walk then goes on past it.
            if (void* block = VirtualAlloc(reinterpret_cast<void*>(address), bytes, MEM_RESERVE | MEM_COMMIT,
                                           PAGE_READWRITE)) {
                return block;
            }
        }
        address = (end + kGranularity - 1) & ~(kGranularity - 1);
    }
    throw std::bad_alloc();
}

// Small blocks by size class, carved from low chunks and reused through free lists.
class Pool {
public:
    void* Allocate(size_t bytes) {
        const size_t total = bytes + sizeof(Header);
        if (total > kSmallLimit) {
            auto* header = static_cast<Header*>(ReserveLowPages(total));
            header->sizeClass = 0;
            return header + 1;
        }
        const size_t sizeClass = (total + kClassBytes - 1) / kClassBytes;
        AcquireSRWLockExclusive(&lock_);
        Header* header = free_[sizeClass];
        if (header) {
            free_[sizeClass] = header->next;
        } else {
            header = Carve(sizeClass * kClassBytes);
        }
        ReleaseSRWLockExclusive(&lock_);
        if (!header) throw std::bad_alloc();
        header->sizeClass = sizeClass;
        return header + 1;
    }

    void Free(void* block) noexcept {
        Header* header = static_cast<Header*>(block) - 1;
        if (header->sizeClass == 0) {
            VirtualFree(header, 0, MEM_RELEASE);
            return;
        }
        AcquireSRWLockExclusive(&lock_);
        header->next = free_[header->sizeClass];
        free_[header->sizeClass] = header;
        ReleaseSRWLockExclusive(&lock_);
    }

private:
    // Under the lock: `bytes` from the current chunk, starting a new chunk when needed.
    Header* Carve(size_t bytes) noexcept {
        if (left_ < bytes) {
            try {
                next_ = static_cast<uint8_t*>(ReserveLowPages(kChunkBytes));
            } catch (const std::bad_alloc&) {
                return nullptr;
            }
            left_ = kChunkBytes;
        }
        auto* header = reinterpret_cast<Header*>(next_);
        next_ += bytes;
        left_ -= bytes;
        return header;
    }

    SRWLOCK lock_ = SRWLOCK_INIT;
    Header* free_[kClasses + 1] = {};
    uint8_t* next_ = nullptr;
    size_t left_ = 0;
};

Pool& ThePool() {
    static Pool pool;
    return pool;
}

}  // namespace

void* AllocateLow(size_t bytes) { return ThePool().Allocate(bytes); }
void FreeLow(void* block) noexcept {
    if (block) ThePool().Free(block);
}

#else

void* AllocateLow(size_t bytes) { return ::operator new(bytes, std::align_val_t{kLowAlignment}); }
void FreeLow(void* block) noexcept { ::operator delete(block, std::align_val_t{kLowAlignment}); }

#endif

}  // namespace vofs
