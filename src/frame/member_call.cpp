#include "frame/member_call.h"

#include "frame/argument_coercion.h"

#include <new>

namespace vofs {

MemberCall::MemberCall(const Member& member, const DISPPARAMS& params)
    : member_(member), params_(params), count_(member.parameters.size()) {
    if (count_ > kInlineSlots) {
        extra_ = std::make_unique<Slot[]>(count_);
        slots_ = extra_.get();
    } else {
        slots_ = reinterpret_cast<Slot*>(inline_);
        for (size_t index = 0; index < count_; ++index) new (&slots_[index]) Slot();
    }
}

MemberCall::~MemberCall() {
    if (extra_) return;
    for (size_t index = 0; index < count_; ++index) slots_[index].~Slot();
}

const VARIANT* MemberCall::ArgumentFor(size_t parameter, UINT* position, HRESULT* error) const {
    const UINT named = params_.cNamedArgs;
    const UINT positional = params_.cArgs - named;
    // Positional arguments arrive last first, after the named ones.
    if (parameter < positional) {
        *position = params_.cArgs - 1 - static_cast<UINT>(parameter);
        return &params_.rgvarg[*position];
    }
    const bool isPut = member_.kind == INVOKE_PROPERTYPUT || member_.kind == INVOKE_PROPERTYPUTREF;
    const DISPID wanted = isPut && parameter + 1 == member_.parameters.size() ? DISPID_PROPERTYPUT
                                                                             : static_cast<DISPID>(parameter);
    const VARIANT* found = nullptr;
    for (UINT index = 0; index < named; ++index) {
        if (params_.rgdispidNamedArgs[index] != wanted) continue;
        if (found) {
            *position = index;
            *error = DISP_E_PARAMNOTFOUND;  // the same parameter named twice
            return nullptr;
        }
        *position = index;
        found = &params_.rgvarg[index];
    }
    return found;
}

HRESULT MemberCall::Bind(UINT* argumentError) {
    const size_t count = member_.parameters.size();
    const UINT named = params_.cNamedArgs;
    if (params_.cArgs - named > count) return DISP_E_BADPARAMCOUNT;
    // Every named argument must name a parameter that no positional argument took.
    const bool isPut = member_.kind == INVOKE_PROPERTYPUT || member_.kind == INVOKE_PROPERTYPUTREF;
    for (UINT index = 0; index < named; ++index) {
        const DISPID id = params_.rgdispidNamedArgs[index];
        const bool known = (id == DISPID_PROPERTYPUT && isPut) ||
                           (id >= static_cast<DISPID>(params_.cArgs - named) && id < static_cast<DISPID>(count) &&
                            !(isPut && id + 1 == static_cast<DISPID>(count)));
        if (!known) {
            if (argumentError) *argumentError = index;
            return DISP_E_PARAMNOTFOUND;
        }
    }
    for (size_t parameter = 0; parameter < count; ++parameter) {
        Slot& slot = SlotAt(parameter);
        const Parameter& declared = member_.parameters[parameter];
        UINT position = 0;
        HRESULT error = S_OK;
        const VARIANT* argument = ArgumentFor(parameter, &position, &error);
        HRESULT bound = error;
        if (SUCCEEDED(bound)) {
            bound = !argument || IsOmitted(*argument) ? OmittedArgument(declared, slot.passed, slot.owned)
                                                      : CoerceArgument(*argument, declared.type, slot.passed, slot.owned);
        }
        if (FAILED(bound)) {
            if (argumentError && (argument || FAILED(error))) *argumentError = position;
            return bound;
        }
    }
    return S_OK;
}

HRESULT MemberCall::Call(IUnknown* self, VARIANT* result) {
    const size_t count = member_.parameters.size();
    const size_t total = count + (member_.hasResult ? 1 : 0);
    VARTYPE inlineTypes[kInlineSlots + 1];
    VARIANTARG* inlinePointers[kInlineSlots + 1];
    std::unique_ptr<VARTYPE[]> extraTypes;
    std::unique_ptr<VARIANTARG*[]> extraPointers;
    VARTYPE* types = inlineTypes;
    VARIANTARG** pointers = inlinePointers;
    if (total > kInlineSlots + 1) {
        extraTypes = std::make_unique<VARTYPE[]>(total);
        extraPointers = std::make_unique<VARIANTARG*[]>(total);
        types = extraTypes.get();
        pointers = extraPointers.get();
    }
    for (size_t parameter = 0; parameter < count; ++parameter) {
        types[parameter] = CallType(member_.parameters[parameter].type);
        pointers[parameter] = &SlotAt(parameter).passed;
    }

    // The [out, retval] argument points at the result's own storage: the whole VARIANT
    // for a Variant result, its value field for any other.
    Variant produced;
    VARIANT resultPointer;
    if (member_.hasResult) {
        const bool whole = member_.result.kind == ValueKind::Variant;
        V_VT(&resultPointer) = static_cast<VARTYPE>(VT_BYREF | (whole ? VARTYPE{VT_VARIANT} : CallType(member_.result)));
        V_BYREF(&resultPointer) = whole ? static_cast<void*>(produced.Get()) : &V_BYREF(produced.Get());
        types[count] = V_VT(&resultPointer);
        pointers[count] = &resultPointer;
    }

    VARIANT returned;
    VariantInit(&returned);
    // The HRESULT comes back as VT_ERROR, the return type DispCallFunc takes for it.
    const HRESULT dispatched = DispCallFunc(self, member_.vtableOffset, CC_STDCALL, VT_ERROR,
                                            static_cast<UINT>(total), types, pointers, &returned);
    if (FAILED(dispatched)) return dispatched;
    const HRESULT outcome = V_ERROR(&returned);
    if (FAILED(outcome) || !member_.hasResult) return outcome;
    if (member_.result.kind != ValueKind::Variant) V_VT(produced.Get()) = CallType(member_.result);
    if (member_.result.kind == ValueKind::Interface) V_VT(produced.Get()) = member_.result.type;
    if (result) produced.MoveTo(result);
    return outcome;
}

}  // namespace vofs
