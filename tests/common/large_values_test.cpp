// 64-bit values at the boundary: the Long-or-Decimal shape of sizes and positions, the
// precise Decimal shape, and reading positions back from what clients pass.

#include "common/decimal.h"
#include "common/large_values.h"
#include "support/test_support.h"

#include <gtest/gtest.h>

#include <cstdint>

namespace vofs::testing {
namespace {

// A Decimal of scale 0 and positive sign holding exactly `value` in its low 64 bits.
void ExpectPreciseDecimal(const Variant& result, uint64_t value) {
    ASSERT_EQ(result.Type(), VT_DECIMAL);
    const DECIMAL& number = V_DECIMAL(result.Get());
    EXPECT_EQ(number.scale, 0);
    EXPECT_EQ(number.sign, 0);
    EXPECT_EQ(number.Hi32, 0u);
    EXPECT_EQ(JoinWords(number.Mid32, number.Lo32), value);
}

TEST(LargeValues, SizesAreLongsUntilTheHighWordIsUsed) {
    struct Case {
        uint64_t value;
        bool asLong;
        LONG longValue;  // when asLong
    };
    const Case cases[] = {
        {0, true, 0},
        {5, true, 5},
        {0x7FFFFFFF, true, 0x7FFFFFFF},
        {0x80000000, true, static_cast<LONG>(0x80000000)},  // 2^31 comes back negative
        {0xC0000000, true, -0x40000000},                    // 3 GB
        {0xFFFFFFFF, true, -1},
        {0x100000000, false, 0},                             // 2^32: the first Decimal
        {5ULL << 30, false, 0},                              // 5 GB
        {UINT64_MAX, false, 0},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.value);
        const Variant result = SizeValue(c.value);
        if (c.asLong) {
            ASSERT_EQ(result.Type(), VT_I4);
            EXPECT_EQ(V_I4(result.Get()), c.longValue);
        } else {
            ExpectPreciseDecimal(result, c.value);
        }
    }
}

TEST(LargeValues, PreciseValuesAreUnsignedDecimals) {
    const uint64_t values[] = {0, 1, 0xFFFFFFFF, 0x100000000, 4294967301, 0x8000000000000000, UINT64_MAX};
    for (uint64_t value : values) {
        SCOPED_TRACE(value);
        ExpectPreciseDecimal(PreciseValue(value), value);
    }
}

TEST(LargeValues, PositionsComeFromLongsDecimalsAndOtherNumbers) {
    DECIMAL fraction{};
    VarDecFromR8(2.5, &fraction);
    DECIMAL negative = DecimalFromUnsigned(1ULL << 40);
    negative.sign = DECIMAL_NEG;
    Variant byReference;
    Variant target = Variant::FromDecimal(DecimalFromUnsigned(1ULL << 33));
    V_VT(byReference.Get()) = VT_BYREF | VT_VARIANT;
    V_VARIANTREF(byReference.Get()) = target.Get();

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
        {"variable passed by reference", std::move(byReference), 1LL << 33},
    };
    for (Case& c : cases) {
        EXPECT_EQ(LargeValueFrom(*c.value.Get()), c.expected) << c.name;
    }
}

TEST(LargeValues, PositionsThatAreNoNumbersOrTooLargeRaise) {
    const Variant tooLarge = Variant::FromDecimal(DecimalFromUnsigned(UINT64_MAX));
    const Variant text = StringValue(L"far");
    EXPECT_EQ(CaughtError([&] { LargeValueFrom(*tooLarge.Get()); }).number, RunTime(6));
    EXPECT_EQ(CaughtError([&] { LargeValueFrom(*text.Get()); }).number, RunTime(13));
}

}  // namespace
}  // namespace vofs::testing
