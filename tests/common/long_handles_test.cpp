// Handles and addresses handed out as a Long come back exactly on both builds, or raise
// error 6; records whose addresses are handed out live where a Long can reach them.

#include "common/long_handles.h"
#include "common/low_memory.h"
#include "support/test_support.h"

#include <gtest/gtest.h>

#include <cstring>
#include <vector>

namespace vofs {
namespace {

using testing::CaughtError;
using testing::RunTime;

TEST(LongHandles, ValuesCrossOnlyWhenTheLongGivesThemBack) {
    const struct {
        intptr_t value;
        bool fits;
    } cases[] = {
        {0, true}, {-1, true}, {0x7FFFFFFF, true}, {-0x7FFFFFFF - 1, true},
#ifdef _WIN64
        {intptr_t{0x80000000}, false}, {intptr_t{1} << 32, false}, {-(intptr_t{1} << 40), false},
#endif
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(static_cast<long long>(c.value));
        if (c.fits) {
            EXPECT_EQ(static_cast<intptr_t>(ExactLong(c.value)), c.value);
        } else {
            EXPECT_EQ(CaughtError([&] { ExactLong(c.value); }).number, RunTime(6));
        }
    }
}

TEST(LowMemory, BlocksOfEverySizeHaveExactLongAddressesAndAreReused) {
    std::vector<void*> blocks;
    for (size_t bytes : {1u, 16u, 48u, 700u, 4096u, 20000u, 300000u}) {
        for (int i = 0; i < 50; ++i) {
            void* block = AllocateLow(bytes);
            std::memset(block, 0xA5, bytes);
            EXPECT_EQ(reinterpret_cast<void*>(static_cast<intptr_t>(AddressAsLong(block))), block) << bytes;
            EXPECT_EQ(reinterpret_cast<uintptr_t>(block) % 16, 0u);
            blocks.push_back(block);
        }
    }
    for (void* block : blocks) FreeLow(block);
    FreeLow(nullptr);
#ifdef _WIN64
    void* first = AllocateLow(700);
    FreeLow(first);
    void* again = AllocateLow(700);
    EXPECT_EQ(again, first) << "a freed block is used again";
    FreeLow(again);
#endif
}

}  // namespace
}  // namespace vofs
