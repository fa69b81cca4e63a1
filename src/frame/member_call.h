#pragma once
// One late-bound call of a member: the caller's arguments bound to the member's
// parameters (positional and named, omitted ones filled in), each converted before the
// member runs, then the member called through its vtable slot and its result handed
// back as a VARIANT. Whatever the binding made is released when the call object goes,
// whether the call ran, failed or was refused.

#include "frame/member_table.h"

#include <memory>

namespace vofs {

class MemberCall {
public:
    MemberCall(const Member& member, const DISPPARAMS& params);
    ~MemberCall();
    MemberCall(const MemberCall&) = delete;
    MemberCall& operator=(const MemberCall&) = delete;

    // Binds and converts the arguments. On a refusal returns the dispatch error, with the
    // position in rgvarg of the refused argument in *argumentError where there is one.
    HRESULT Bind(UINT* argumentError);

    // Calls the bound member on `self` (the interface the member belongs to). Returns the
    // member's own HRESULT; on success the result (if any) goes to `result`, or is
    // released when the caller asked for none.
    HRESULT Call(IUnknown* self, VARIANT* result);

private:
    // A slot's `owned` is empty unless the binding made something for it; slots are set
    // up only for the member's own parameters.
    struct Slot {
        VARIANT passed;  // what the member receives (shallow)
        Variant owned;   // what the binding made for it
    };
    static constexpr size_t kInlineSlots = 12;

    Slot& SlotAt(size_t index) { return slots_[index]; }
    // The caller's argument for a parameter, or null when it was not given.
    const VARIANT* ArgumentFor(size_t parameter, UINT* position, HRESULT* error) const;

    const Member& member_;
    const DISPPARAMS& params_;
    // Storage for the slots: inline for the usual counts, on the heap beyond them.
    alignas(Slot) unsigned char inline_[kInlineSlots * sizeof(Slot)];
    std::unique_ptr<Slot[]> extra_;
    Slot* slots_;
    size_t count_;
};

}  // namespace vofs
