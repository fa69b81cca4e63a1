#pragma once
// Owning VARIANT and the small helpers for reading script arguments.

#include "common/platform_headers.h"

#include <string>
#include <utility>

namespace vofs {

class Variant {
public:
    Variant() { VariantInit(&value_); }
    Variant(Variant&& other) noexcept : value_(other.value_) { VariantInit(&other.value_); }
    Variant& operator=(Variant&& other) noexcept {
        if (this != &other) {
            VariantClear(&value_);
            value_ = other.value_;
            VariantInit(&other.value_);
        }
        return *this;
    }
    Variant(const Variant&) = delete;
    Variant& operator=(const Variant&) = delete;
    ~Variant() {
        if (V_VT(&value_) != VT_EMPTY) VariantClear(&value_);
    }

    static Variant FromLong(LONG number);
    static Variant FromDecimal(const DECIMAL& number);
    static Variant FromString(std::wstring_view text);
    static Variant FromBool(bool value);
    // An object reference (a new reference is taken).
    static Variant FromObject(IDispatch* object);
    // A copy of any value, references followed.
    static Variant CopyOf(const VARIANT& value);

    VARIANT* Get() { return &value_; }
    const VARIANT* Get() const { return &value_; }
    VARTYPE Type() const { return V_VT(&value_); }
    // Hands the value to an [out] VARIANT* that holds nothing that needs freeing.
    void MoveTo(VARIANT* out) {
        *out = value_;
        VariantInit(&value_);
    }

private:
    VARIANT value_;
};

// The value a VARIANT stands for, following VT_BYREF | VT_VARIANT links.
const VARIANT& Deref(const VARIANT& value);

// True for a Decimal with a scale past 28 or stray sign bits: no number at all.
// oleaut32's conversions are not safe on one (Wine's read past their digit buffer), so
// every conversion of a caller's value refuses it first.
bool IsMalformedDecimal(const VARIANT& value);

// True for an optional argument that the caller left out.
bool IsMissing(const VARIANT& value);

// Converts to a type by the automation rules; failures raise the run-time error a script
// would see (type mismatch, overflow).
Variant ConvertTo(const VARIANT& value, VARTYPE type);
bool ToBool(const VARIANT& value);
// Writes a result back into an in/out argument: into the variable a by-reference
// argument points to (converted to that variable's type when it is typed), or into the
// argument itself.
void WriteBack(VARIANT* argument, const VARIANT& value);
LONG ToLong(const VARIANT& value);
std::wstring ToString(const VARIANT& value);

}  // namespace vofs
