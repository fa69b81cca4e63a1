// 64-bit values at the boundary: the Long-or-Decimal shape of sizes, the precise Decimal
// shape, positions read from what clients pass, and handles and addresses that must come
// back exactly from a Long (or raise error 6).

#include "common/decimal.h"
#include "common/large_values.h"
#include "common/long_handles.h"
#include "common/low_memory.h"
#include "support/test_support.h"

#include <cstdint>
#include <cstring>
#include <vector>

namespace vofs::testing {
namespace {

// A Decimal of scale 0 and positive sign holding exactly `value`.
void ExpectPreciseDecimal(const Variant& result, uint64_t value) {
    ASSERT_EQ(result.Type(), VT_DECIMAL);
    const DECIMAL& number = V_DECIMAL(result.Get());
    EXPECT_EQ(number.scale + number.sign + number.Hi32, 0u);
    EXPECT_EQ(JoinWords(number.Mid32, number.Lo32), value);
}

TEST(LargeValues, SizesAreLongsUntilTheHighWordIsUsedAndPreciseValuesAreDecimals) {
    const uint64_t values[] = {0, 5, 0x7FFFFFFF, 0x80000000, 0xFFFFFFFF, 0x100000000, 5ULL << 32 | 7,
                               0x8000000000000000, UINT64_MAX};
    for (uint64_t value : values) {
        SCOPED_TRACE(value);
        ExpectPreciseDecimal(PreciseValue(value), value);
        const Variant size = SizeValue(value);
        if (value >> 32) {
            ExpectPreciseDecimal(size, value);
        } else {
            ASSERT_EQ(size.Type(), VT_I4);  // from 2^31 on, negative
            EXPECT_EQ(V_I4(size.Get()), static_cast<LONG>(static_cast<uint32_t>(value)));
        }
    }
}

TEST(LargeValues, PositionsComeFromLongsDecimalsAndOtherNumbers) {
    DECIMAL fraction{};
    VarDecFromR8(2.5, &fraction);
    DECIMAL negative = DecimalFromUnsigned(1ULL << 40);
    negative.sign = DECIMAL_NEG;
    Variant target = Variant::FromDecimal(DecimalFromUnsigned(1ULL << 33));
    struct Case {
        const char* name;
        Variant value;
        int64_t expected;
    };
    Case cases[] = {
        {"Long", LongValue(-5), -5},
        {"Decimal above 2^32", Variant::FromDecimal(DecimalFromUnsigned((1ULL << 40) + 7)), (1LL << 40) + 7},
        {"negative Decimal", Variant::FromDecimal(negative), -(1LL << 40)},
        {"Decimal fraction, half to even", Variant::FromDecimal(fraction), 2},
        {"Double", DoubleValue(6442450944.0), 6442450944LL},
        {"numeric text", StringValue(L"12"), 12},
        {"Empty", Variant(), 0},
        {"variable passed by reference", ByReference(target), 1LL << 33},
    };
    for (Case& c : cases) EXPECT_EQ(LargeValueFrom(*c.value.Get()), c.expected) << c.name;
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

TEST(LowMemory, BlocksOfEverySizeHaveExactLongAddressesAndAreReused) {
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
#ifdef _WIN64
    void* first = AllocateLow(700);
    FreeLow(first);
    void* again = AllocateLow(700);
    EXPECT_EQ(again, first) << "a freed block is used again";
    FreeLow(again);
#endif
}

}  // namespace
}  // namespace vofs::testing
