#include "frame/argument_coercion.h"

namespace vofs {
namespace {

HRESULT Refusal(HRESULT result) { return result == DISP_E_OVERFLOW ? DISP_E_OVERFLOW : DISP_E_TYPEMISMATCH; }

// A scalar already of the wanted type, or a reference to one, passes without a copy.
bool PassDirectly(const VARIANT& argument, VARTYPE type, VARIANT& passed) {
    if (V_VT(&argument) == type) {
        passed = argument;
        return true;
    }
    if (V_VT(&argument) != (VT_BYREF | type) || !V_BYREF(&argument)) return false;
    V_VT(&passed) = type;
    switch (type) {
        case VT_BSTR: V_BSTR(&passed) = *V_BSTRREF(&argument); break;
        case VT_I4: V_I4(&passed) = *V_I4REF(&argument); break;
        case VT_BOOL: V_BOOL(&passed) = *V_BOOLREF(&argument); break;
        default: return false;
    }
    return true;
}

HRESULT CoerceScalar(const VARIANT& argument, VARTYPE type, VARIANT& passed, Variant& owned) {
    if (PassDirectly(argument, type, passed)) return S_OK;
    if (IsMalformedDecimal(Deref(argument))) return DISP_E_TYPEMISMATCH;
    const HRESULT converted = VariantChangeType(owned.Get(), const_cast<VARIANT*>(&argument), 0, type);
    if (FAILED(converted)) return Refusal(converted);
    passed = *owned.Get();
    return S_OK;
}

HRESULT CoerceReference(const VARIANT& argument, VARIANT& passed, Variant& owned) {
    V_VT(&passed) = VT_BYREF | VT_VARIANT;
    if (V_VT(&argument) == (VT_BYREF | VT_VARIANT)) {
        if (!V_VARIANTREF(&argument)) return DISP_E_TYPEMISMATCH;
        V_VARIANTREF(&passed) = V_VARIANTREF(&argument);
    } else if (V_VT(&argument) & VT_BYREF) {
        // A typed variable (VB's ByRef x As Long): the member writes back through it.
        if (!V_BYREF(&argument)) return DISP_E_TYPEMISMATCH;
        V_VARIANTREF(&passed) = const_cast<VARIANT*>(&argument);
    } else {
        // A literal: the member gets a copy it may write to, dropped after the call.
        if (const HRESULT copied = VariantCopy(owned.Get(), const_cast<VARIANT*>(&argument)); FAILED(copied)) {
            return Refusal(copied);
        }
        V_VARIANTREF(&passed) = owned.Get();
    }
    return S_OK;
}

HRESULT CoerceInterface(const VARIANT& argument, const ValueType& type, VARIANT& passed, Variant& owned) {
    const VARIANT& value = Deref(argument);
    IUnknown* object = nullptr;
    switch (V_VT(&value)) {
        case VT_DISPATCH:
        case VT_UNKNOWN: object = V_UNKNOWN(&value); break;
        case VT_BYREF | VT_DISPATCH:
        case VT_BYREF | VT_UNKNOWN:
            if (!V_BYREF(&value)) return DISP_E_TYPEMISMATCH;
            object = *V_UNKNOWNREF(&value);
            break;
        default: return DISP_E_TYPEMISMATCH;
    }
    V_VT(&passed) = VT_UNKNOWN;
    V_UNKNOWN(&passed) = nullptr;
    if (!object) return S_OK;  // Nothing
    void* asked = nullptr;
    if (FAILED(object->QueryInterface(type.iid, &asked)) || !asked) return DISP_E_TYPEMISMATCH;
    // Kept as an IUnknown reference to the asked-for interface, released after the call.
    V_VT(owned.Get()) = VT_UNKNOWN;
    V_UNKNOWN(owned.Get()) = static_cast<IUnknown*>(asked);
    V_UNKNOWN(&passed) = static_cast<IUnknown*>(asked);
    return S_OK;
}

}  // namespace

bool IsOmitted(const VARIANT& argument) {
    const VARIANT& value = Deref(argument);
    return V_VT(&value) == VT_ERROR && V_ERROR(&value) == DISP_E_PARAMNOTFOUND;
}

HRESULT CoerceArgument(const VARIANT& argument, const ValueType& type, VARIANT& passed, Variant& owned) {
    switch (type.kind) {
        case ValueKind::Scalar: return CoerceScalar(argument, type.type, passed, owned);
        case ValueKind::Variant: passed = argument; return S_OK;
        case ValueKind::VariantRef: return CoerceReference(argument, passed, owned);
        case ValueKind::Interface: return CoerceInterface(argument, type, passed, owned);
    }
    return DISP_E_TYPEMISMATCH;
}

HRESULT OmittedArgument(const Parameter& parameter, VARIANT& passed, Variant& owned) {
    if (!parameter.optional && !parameter.hasDefault) return DISP_E_PARAMNOTOPTIONAL;
    switch (parameter.type.kind) {
        case ValueKind::Interface:
            V_VT(&passed) = VT_UNKNOWN;
            V_UNKNOWN(&passed) = nullptr;
            return S_OK;
        case ValueKind::Scalar:
            if (!parameter.hasDefault) return DISP_E_PARAMNOTOPTIONAL;
            passed = *parameter.defaultValue.Get();
            return S_OK;
        default: break;
    }
    if (parameter.hasDefault) {
        owned = Variant::CopyOf(*parameter.defaultValue.Get());
    } else {
        V_VT(owned.Get()) = VT_ERROR;
        V_ERROR(owned.Get()) = DISP_E_PARAMNOTFOUND;
    }
    if (parameter.type.kind == ValueKind::Variant) {
        passed = *owned.Get();
    } else {
        V_VT(&passed) = VT_BYREF | VT_VARIANT;
        V_VARIANTREF(&passed) = owned.Get();
    }
    return S_OK;
}

VARTYPE CallType(const ValueType& type) {
    switch (type.kind) {
        case ValueKind::Scalar: return type.type;
        case ValueKind::Variant: return VT_VARIANT;
        case ValueKind::VariantRef: return VT_BYREF | VT_VARIANT;
        case ValueKind::Interface: return VT_UNKNOWN;
    }
    return VT_EMPTY;
}

}  // namespace vofs
