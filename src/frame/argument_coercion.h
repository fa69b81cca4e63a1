#pragma once
// One caller's argument made into what a member's parameter takes, by the automation
// conversion rules, before the member runs. A refusal is never an exception: it is the
// dispatch error a caller expects (type mismatch or overflow), for the argument's position.

#include "frame/member_table.h"

namespace vofs {

// Converts `argument` (a caller's VARIANT, never changed) for a parameter of `type`.
// `passed` receives what the member gets, shallow: it may share the argument's own
// string or point into `owned`, which keeps whatever the conversion made (a converted
// string, a queried interface, a copy of a literal given for an in/out parameter) until
// the call is over. Returns S_OK, DISP_E_TYPEMISMATCH or DISP_E_OVERFLOW.
HRESULT CoerceArgument(const VARIANT& argument, const ValueType& type, VARIANT& passed, Variant& owned);

// What `passed` holds for a parameter that the caller left out: the declared default, or
// for a Variant "missing" (DISP_E_PARAMNOTFOUND). DISP_E_PARAMNOTOPTIONAL when the
// parameter cannot be left out.
HRESULT OmittedArgument(const Parameter& parameter, VARIANT& passed, Variant& owned);

// True for an argument that stands for an omitted one (VT_ERROR DISP_E_PARAMNOTFOUND).
bool IsOmitted(const VARIANT& argument);

// The argument type the call itself is made with for a parameter of this type.
VARTYPE CallType(const ValueType& type);

}  // namespace vofs
