// 64-bit values at the boundary: the Long-or-Decimal shape of sizes, the precise Decimal
// shape, positions read from what clients pass, and handles and addresses that must come
// back exactly from a Long (or raise error 6).

#include "common/decimal.h"
#include "common/large_values.h"
#include "common/long_handles.h"
#include "common/low_memory.h"
#include "support/test_support.h"

#include <cstring>
#include <vector>

namespace vofs::testing {
namespace {

TEST(LargeValues, SizesAreLongsUntilTheHighWordIsUsedAndPreciseValuesAreDecimals) {
    for (uint64_t value : {0ULL, 5ULL, 0x7FFFFFFFULL, 0x80000000ULL, 0xFFFFFFFFULL, 0x100000000ULL, 5ULL << 32 | 7,
                           0x8000000000000000ULL, UINT64_MAX}) {
        EXPECT_EQ(PreciseOf(PreciseValue(value)), value);
        const Variant size = SizeValue(value);
        EXPECT_EQ(size.Type(), value >> 32 ? VT_DECIMAL : VT_I4) << value;
        // From 2^31 on, the Long is negative.
        EXPECT_EQ(value >> 32 ? PreciseOf(size) : static_cast<uint32_t>(V_I4(size.Get())), value);
    }
}

TEST(LargeValues, PositionsComeFromLongsDecimalsAndOtherNumbers) {
    DECIMAL fraction{};
    VarDecFromR8(2.5, &fraction);
    DECIMAL negative = DecimalFromUnsigned(1ULL << 40);
    negative.sign = DECIMAL_NEG;
    Variant target = Variant::FromDecimal(DecimalFromUnsigned(1ULL << 33));
    const std::pair<Variant, int64_t> cases[] = {
        {LongValue(-5), -5},
        {Variant::FromDecimal(DecimalFromUnsigned((1ULL << 40) + 7)), (1LL << 40) + 7},
        {Variant::FromDecimal(negative), -(1LL << 40)},
        {Variant::FromDecimal(fraction), 2},  // half to even
        {DoubleValue(6442450944.0), 6442450944LL},
        {StringValue(L"12"), 12},
        {Variant(), 0},
        {ByReference(target), 1LL << 33},  // a variable passed by reference
    };
    for (const auto& [value, expected] : cases) EXPECT_EQ(LargeValueFrom(*value.Get()), expected) << expected;
    const Variant tooLarge = Variant::FromDecimal(DecimalFromUnsigned(UINT64_MAX));
    EXPECT_EQ(CaughtError([&] { LargeValueFrom(*tooLarge.Get()); }).number, RunTime(6));
    EXPECT_EQ(CaughtError([&] { LargeValueFrom(*StringValue(L"far").Get()); }).number, RunTime(13));
}

TEST(LongHandles, ValuesCrossOnlyWhenTheLongGivesThemBack) {
    for (intptr_t value : {intptr_t{0}, intptr_t{-1}, intptr_t{0x7FFFFFFF}, intptr_t{-0x7FFFFFFF - 1}}) {
        EXPECT_EQ(static_cast<intptr_t>(ExactLong(value)), value);
    }
#ifdef _WIN64
    for (intptr_t value : {intptr_t{0x80000000}, intptr_t{1} << 32, -(intptr_t{1} << 40)}) {
        EXPECT_EQ(CaughtError([&] { ExactLong(value); }).number, RunTime(6)) << static_cast<long long>(value);
    }
#endif
}

TEST(LowMemory, BlocksOfEverySizeHaveExactLongAddresses) {
    std::vector<void*> blocks;
    for (size_t bytes : {1u, 16u, 48u, 700u, 4096u, 20000u, 300000u}) {
        for (int i = 0; i < 50; ++i) {
            blocks.push_back(std::memset(AllocateLow(bytes), 0xA5, bytes));
            EXPECT_EQ(reinterpret_cast<void*>(static_cast<intptr_t>(AddressAsLong(blocks.back()))), blocks.back());
            EXPECT_EQ(reinterpret_cast<uintptr_t>(blocks.back()) % 16, 0u) << bytes;
        }
    }
    for (void* block : blocks) FreeLow(block);
    FreeLow(nullptr);
}

}  // namespace
}  // namespace vofs::testing
