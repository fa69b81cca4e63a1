#include "common/variant.h"

#include "common/bstr.h"
#include "common/error.h"

namespace vofs {

Variant Variant::FromLong(LONG number) {
    Variant result;
    V_VT(result.Get()) = VT_I4;
    V_I4(result.Get()) = number;
    return result;
}

Variant Variant::FromDecimal(const DECIMAL& number) {
    Variant result;
    V_DECIMAL(result.Get()) = number;
    V_VT(result.Get()) = VT_DECIMAL;  // after the copy: the type word shares DECIMAL's first bytes
    return result;
}

Variant Variant::FromString(std::wstring_view text) {
    Variant result;
    V_BSTR(result.Get()) = Bstr(text).Detach();
    V_VT(result.Get()) = VT_BSTR;
    return result;
}

Variant Variant::FromBool(bool value) {
    Variant result;
    V_VT(result.Get()) = VT_BOOL;
    V_BOOL(result.Get()) = value ? VARIANT_TRUE : VARIANT_FALSE;
    return result;
}

Variant Variant::FromObject(IDispatch* object) {
    Variant result;
    if (object) object->AddRef();
    V_VT(result.Get()) = VT_DISPATCH;
    V_DISPATCH(result.Get()) = object;
    return result;
}

Variant Variant::CopyOf(const VARIANT& value) {
    Variant result;
    CheckConversion(VariantCopyInd(result.Get(), const_cast<VARIANT*>(&Deref(value))));
    return result;
}

const VARIANT& Deref(const VARIANT& value) {
    const VARIANT* current = &value;
    while (V_VT(current) == (VT_BYREF | VT_VARIANT) && V_VARIANTREF(current)) current = V_VARIANTREF(current);
    return *current;
}

bool IsMissing(const VARIANT& value) {
    const VARIANT& v = Deref(value);
    return V_VT(&v) == VT_ERROR && V_ERROR(&v) == DISP_E_PARAMNOTFOUND;
}

bool IsMalformedDecimal(const VARIANT& value) {
    return V_VT(&value) == VT_DECIMAL && (V_DECIMAL(&value).scale > 28 || (V_DECIMAL(&value).sign & 0x7F) != 0);
}

Variant ConvertTo(const VARIANT& value, VARTYPE type) {
    const VARIANT& source = Deref(value);
    if (IsMalformedDecimal(source)) CheckConversion(DISP_E_TYPEMISMATCH);
    Variant result;
    CheckConversion(VariantChangeType(result.Get(), const_cast<VARIANT*>(&source), 0, type));
    return result;
}

void WriteBack(VARIANT* argument, const VARIANT& value) {
    if (!argument) return;
    VARIANT* target = argument;
    while (V_VT(target) == (VT_BYREF | VT_VARIANT) && V_VARIANTREF(target)) target = V_VARIANTREF(target);
    if (!(V_VT(target) & VT_BYREF)) {
        Variant copy = Variant::CopyOf(value);
        VariantClear(target);
        copy.MoveTo(target);
        return;
    }
    // A typed reference: convert to the variable's own type and store through it.
    const VARTYPE type = V_VT(target) & ~VT_BYREF;
    Variant converted = ConvertTo(value, type);
    switch (type) {
        case VT_I2: *V_I2REF(target) = V_I2(converted.Get()); break;
        case VT_I4: *V_I4REF(target) = V_I4(converted.Get()); break;
        case VT_UI1: *V_UI1REF(target) = V_UI1(converted.Get()); break;
        case VT_R4: *V_R4REF(target) = V_R4(converted.Get()); break;
        case VT_R8: *V_R8REF(target) = V_R8(converted.Get()); break;
        case VT_DATE: *V_DATEREF(target) = V_DATE(converted.Get()); break;
        case VT_CY: *V_CYREF(target) = V_CY(converted.Get()); break;
        case VT_BOOL: *V_BOOLREF(target) = V_BOOL(converted.Get()); break;
        case VT_DECIMAL: *V_DECIMALREF(target) = V_DECIMAL(converted.Get()); break;
        case VT_BSTR:
            SysFreeString(*V_BSTRREF(target));
            *V_BSTRREF(target) = V_BSTR(converted.Get());
            V_VT(converted.Get()) = VT_EMPTY;
            break;
        default: Raise(RunTimeError::TypeMismatch);
    }
}

bool ToBool(const VARIANT& value) { return V_BOOL(ConvertTo(value, VT_BOOL).Get()) != VARIANT_FALSE; }

LONG ToLong(const VARIANT& value) { return V_I4(ConvertTo(value, VT_I4).Get()); }

std::wstring ToString(const VARIANT& value) {
    return std::wstring(Bstr::View(V_BSTR(ConvertTo(value, VT_BSTR).Get())));
}

}  // namespace vofs
