#include "facade/byte_display.h"

#include "common/decimal.h"

namespace vofs {
namespace {

struct Unit {
    uint64_t bytes;
    const wchar_t* suffix;
};

constexpr Unit kTerabyte{1ULL << 40, L" TB"};
constexpr Unit kGigabyte{1ULL << 30, L" GB"};
constexpr Unit kMegabyte{1ULL << 20, L" MB"};
constexpr Unit kKilobyte{1ULL << 10, L" KB"};

bool AtLeast(const DECIMAL& value, uint64_t bound) { return CompareDecimals(value, DecimalFromUnsigned(bound)) >= 0; }

// Whole units when two decimals would show only zeros, else two decimals. Terabytes are
// rounded (halves to even) before formatting, the smaller units are not: kept so.
std::wstring InUnit(const DECIMAL& value, const Unit& unit, bool roundFirst) {
    const DECIMAL quotient = DivideDecimals(value, DecimalFromUnsigned(unit.bytes));
    const DECIMAL twoPlaces = RoundDecimal(quotient, 2);
    if (CompareDecimals(RoundDecimal(quotient, 0), twoPlaces) == 0) {
        return GroupedDecimalText(quotient, 0) + unit.suffix;
    }
    return GroupedDecimalText(roundFirst ? twoPlaces : quotient, 2) + unit.suffix;
}

std::wstring Zero(long displayType) {
    if ((displayType & kDisplayAsExplorer) == 0) return L"0 KB";
    if (displayType & kDisplayAsDrive) return L"0 GB";
    if (displayType & kDisplayAsFolder) return L"0 MB";
    return L"0 KB";
}

}  // namespace

std::wstring FormatByteDisplay(const VARIANT& input, long displayType) {
    const DECIMAL value = ToDecimal(input);
    if (AtLeast(value, kTerabyte.bytes)) return InUnit(value, kTerabyte, true);
    if (AtLeast(value, kGigabyte.bytes)) return InUnit(value, kGigabyte, false);
    if (AtLeast(value, kMegabyte.bytes)) return InUnit(value, kMegabyte, false);
    if (AtLeast(value, kKilobyte.bytes)) {
        const DECIMAL kilobytes = DivideDecimals(value, DecimalFromUnsigned(kKilobyte.bytes));
        return GroupedDecimalText(RoundDecimal(kilobytes, 0), 0) + kKilobyte.suffix;
    }
    const int sign = CompareDecimals(value, DecimalFromUnsigned(0));
    if (sign > 0 && (displayType & kDisplayAsExplorer)) return L"1 KB";
    if (CompareDecimals(value, DecimalFromUnsigned(1)) > 0) return GroupedDecimalText(value, 0) + L" bytes";
    if (sign > 0) return DecimalText(value) + L" byte";
    if (sign == 0) return Zero(displayType);
    return L"";
}

}  // namespace vofs
