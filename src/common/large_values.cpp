#include "common/large_values.h"

#include "common/decimal.h"
#include "common/error.h"

namespace vofs {

Variant PreciseValue(uint64_t value) { return Variant::FromDecimal(DecimalFromUnsigned(value)); }

Variant SizeValue(uint64_t value) {
    if (HighWord(value) == 0) return Variant::FromLong(static_cast<LONG>(LowWord(value)));
    return PreciseValue(value);
}

int64_t LargeValueFrom(const VARIANT& value) {
    Variant actual = Variant::CopyOf(value);
    switch (actual.Type()) {
        case VT_I4: return V_I4(actual.Get());
        case VT_DECIMAL: {
            LONG64 result = 0;
            CheckConversion(VarI8FromDec(&V_DECIMAL(actual.Get()), &result));
            return result;
        }
        default: return V_I8(ConvertTo(*actual.Get(), VT_I8).Get());
    }
}

}  // namespace vofs
