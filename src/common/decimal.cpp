#include "common/decimal.h"

#include "common/bstr.h"
#include "common/error.h"
#include "common/variant.h"

#include <string>

namespace vofs {
namespace {

std::wstring LocaleText(LCTYPE type) {
    wchar_t buffer[16] = {};
    GetLocaleInfoW(LOCALE_USER_DEFAULT, type, buffer, 16);
    return buffer;
}

UINT LocaleNumber(LCTYPE type) {
    UINT value = 0;
    GetLocaleInfoW(LOCALE_USER_DEFAULT, type | LOCALE_RETURN_NUMBER, reinterpret_cast<LPWSTR>(&value),
                   sizeof(value) / sizeof(wchar_t));
    return value;
}

// "3;0" gives 3 and "3;2;0" gives 32, the form NUMBERFMT takes.
UINT GroupingOf(const std::wstring& grouping) {
    UINT result = 0;
    for (wchar_t c : grouping) {
        if (c >= L'1' && c <= L'9') result = result * 10 + static_cast<UINT>(c - L'0');
    }
    return result;
}

}  // namespace

DECIMAL DecimalFromUnsigned(uint64_t value) {
    DECIMAL result{};
    result.Lo32 = static_cast<ULONG>(value);
    result.Mid32 = static_cast<ULONG>(value >> 32);
    return result;
}

DECIMAL ToDecimal(const VARIANT& value) {
    const VARIANT& actual = Deref(value);
    if (V_VT(&actual) == VT_DECIMAL) return V_DECIMAL(&actual);
    return V_DECIMAL(ConvertTo(actual, VT_DECIMAL).Get());
}

int CompareDecimals(const DECIMAL& left, const DECIMAL& right) {
    const HRESULT order = VarDecCmp(const_cast<DECIMAL*>(&left), const_cast<DECIMAL*>(&right));
    if (order == VARCMP_LT) return -1;
    if (order == VARCMP_GT) return 1;
    return 0;
}

DECIMAL DivideDecimals(const DECIMAL& dividend, const DECIMAL& divisor) {
    DECIMAL result{};
    CheckConversion(VarDecDiv(const_cast<DECIMAL*>(&dividend), const_cast<DECIMAL*>(&divisor), &result));
    return result;
}

DECIMAL RoundDecimal(const DECIMAL& value, int places) {
    // Done by hand rather than with VarDecRound, which rounds halves away from zero on
    // some platforms (Wine among them).
    DECIMAL power = DecimalFromUnsigned(1);
    const DECIMAL ten = DecimalFromUnsigned(10);
    for (int i = 0; i < places; ++i) CheckConversion(VarDecMul(&power, const_cast<DECIMAL*>(&ten), &power));
    DECIMAL scaled{}, whole{}, fraction{}, half{}, halfWhole{}, twiceHalf{};
    CheckConversion(VarDecMul(const_cast<DECIMAL*>(&value), &power, &scaled));
    CheckConversion(VarDecFix(&scaled, &whole));
    CheckConversion(VarDecSub(&scaled, &whole, &fraction));
    CheckConversion(VarDecAbs(&fraction, &fraction));
    CheckConversion(VarDecFromR8(0.5, &half));
    const int againstHalf = CompareDecimals(fraction, half);
    // whole is odd when 2 * Fix(whole / 2) differs from it.
    const DECIMAL two = DecimalFromUnsigned(2);
    CheckConversion(VarDecDiv(&whole, const_cast<DECIMAL*>(&two), &halfWhole));
    CheckConversion(VarDecFix(&halfWhole, &halfWhole));
    CheckConversion(VarDecMul(&halfWhole, const_cast<DECIMAL*>(&two), &twiceHalf));
    const bool odd = CompareDecimals(twiceHalf, whole) != 0;
    if (againstHalf > 0 || (againstHalf == 0 && odd)) {
        DECIMAL step = DecimalFromUnsigned(1);
        if (scaled.sign & DECIMAL_NEG) step.sign = DECIMAL_NEG;
        CheckConversion(VarDecAdd(&whole, &step, &whole));
    }
    DECIMAL result{};
    CheckConversion(VarDecDiv(&whole, &power, &result));
    return result;
}

std::wstring DecimalText(const DECIMAL& value) {
    Bstr text;
    CheckConversion(VarBstrFromDec(const_cast<DECIMAL*>(&value), LOCALE_USER_DEFAULT, 0, text.Receive()));
    return std::wstring(text.View());
}

std::wstring GroupedDecimalText(const DECIMAL& value, int places) {
    // Plain digits with "." as the decimal point, which GetNumberFormat expects.
    Bstr digits;
    CheckConversion(VarBstrFromDec(const_cast<DECIMAL*>(&value), MAKELCID(MAKELANGID(LANG_ENGLISH, SUBLANG_ENGLISH_US), SORT_DEFAULT), 0, digits.Receive()));

    std::wstring decimalSeparator = LocaleText(LOCALE_SDECIMAL);
    std::wstring thousandSeparator = LocaleText(LOCALE_STHOUSAND);
    NUMBERFMTW format{};
    format.NumDigits = static_cast<UINT>(places);
    format.LeadingZero = LocaleNumber(LOCALE_ILZERO);
    format.Grouping = GroupingOf(LocaleText(LOCALE_SGROUPING));
    format.lpDecimalSep = decimalSeparator.data();
    format.lpThousandSep = thousandSeparator.data();
    format.NegativeOrder = LocaleNumber(LOCALE_INEGNUMBER);

    const int length = GetNumberFormatW(LOCALE_USER_DEFAULT, 0, digits.Get(), &format, nullptr, 0);
    if (length <= 0) return std::wstring(digits.View());
    std::wstring result(static_cast<size_t>(length), L'\0');
    GetNumberFormatW(LOCALE_USER_DEFAULT, 0, digits.Get(), &format, result.data(), length);
    result.resize(static_cast<size_t>(length - 1));
    return result;
}

}  // namespace vofs
