#pragma once
// The 96-bit automation decimal, through the platform's own decimal routines.

#include "common/platform_headers.h"

#include <cstdint>
#include <string>

namespace vofs {

// Scale 0, positive: the unsigned 64-bit value in the mantissa's low and middle words.
DECIMAL DecimalFromUnsigned(uint64_t value);

// Any automation value as a decimal; what does not convert raises type mismatch or overflow.
DECIMAL ToDecimal(const VARIANT& value);

int CompareDecimals(const DECIMAL& left, const DECIMAL& right);  // -1, 0 or 1
DECIMAL DivideDecimals(const DECIMAL& dividend, const DECIMAL& divisor);
// Rounded to `places` decimals, halves to the even neighbour (as Round does).
DECIMAL RoundDecimal(const DECIMAL& value, int places);

// The value as plain text in the user's locale (no grouping), as CStr gives it.
std::wstring DecimalText(const DECIMAL& value);

// The value with the user's thousands grouping and exactly `places` decimals, halves
// rounded away from zero.
std::wstring GroupedDecimalText(const DECIMAL& value, int places);

}  // namespace vofs
