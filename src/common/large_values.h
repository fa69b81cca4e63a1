#pragma once
// 64-bit values at the boundary. Automation has no unsigned or 64-bit integer that every
// client understands, so the library carries them in two shapes:
//   - precise values (file times, find-record sizes): a Decimal of scale 0 whose
//     mantissa holds the unsigned 64 bits (low word, then middle word; top word 0);
//   - sizes and positions: a Long when the high 32 bits are 0 (the low word's bits as they
//     stand, so 2^31 to 2^32-1 come back negative), otherwise such a Decimal.
// Arguments that carry a 64-bit position or offset may be a Long, a Decimal or any value
// that converts to a 64-bit integer.

#include "common/platform_headers.h"
#include "common/variant.h"

#include <cstdint>

namespace vofs {

constexpr uint64_t JoinWords(DWORD high, DWORD low) { return (static_cast<uint64_t>(high) << 32) | low; }
constexpr DWORD HighWord(uint64_t value) { return static_cast<DWORD>(value >> 32); }
constexpr DWORD LowWord(uint64_t value) { return static_cast<DWORD>(value); }

// The unsigned value as a Decimal of scale 0.
Variant PreciseValue(uint64_t value);

// A size or position: Long when the high word is 0, else a Decimal.
Variant SizeValue(uint64_t value);

// A 64-bit position or offset given by a client. Long and Decimal values are read
// directly (a Decimal's fraction rounds to the nearest integer, halves to even, as the
// automation conversion does); anything else goes through the automation conversion.
// Values out of range raise overflow (6); values that are not numbers, type mismatch (13).
int64_t LargeValueFrom(const VARIANT& value);

}  // namespace vofs
