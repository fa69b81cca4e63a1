#include "streams/caller_buffer.h"

#include "common/ansi.h"
#include "common/bstr.h"
#include "common/error.h"

namespace vofs {
namespace {

VARIANT* Given(VARIANT* argument, std::wstring_view source) {
    if (!argument) Raise(RunTimeError::InvalidCall, source);
    return argument;
}

SAFEARRAY* ByteArrayIn(const VARIANT& value) {
    if ((V_VT(&value) & ~VT_BYREF) != (VT_ARRAY | VT_UI1)) return nullptr;
    return V_VT(&value) & VT_BYREF ? *V_ARRAYREF(&value) : V_ARRAY(&value);
}

}  // namespace

using stream_rules::BufferKind;

CallerBuffer::CallerBuffer(VARIANT* argument, std::wstring_view source)
    : value_(Deref(*argument)), array_(ByteArrayIn(value_)) {
    const bool byReference = (V_VT(&value_) & VT_BYREF) != 0;
    switch (V_VT(&value_) & ~VT_BYREF) {
        case VT_I4:
            kind_ = BufferKind::Address;
            // An address travels as a Long; on the 64-bit build it is sign-extended, as
            // the library's own addresses are handed out (long_handles.h).
            address_ = reinterpret_cast<uint8_t*>(
                static_cast<intptr_t>(byReference ? *V_I4REF(&value_) : V_I4(&value_)));
            break;
        case VT_I8:  // a LongPtr of 64-bit VBA
            kind_ = BufferKind::Address;
            address_ = reinterpret_cast<uint8_t*>(
                static_cast<intptr_t>(byReference ? *V_I8REF(&value_) : V_I8(&value_)));
            break;
        case VT_BSTR:
            kind_ = BufferKind::Text;
            text_ = Bstr::View(byReference ? *V_BSTRREF(&value_) : V_BSTR(&value_));
            length_ = text_.size();
            break;
        case VT_ARRAY | VT_UI1:
            if (!array_.Valid()) Raise(RunTimeError::InvalidCall, source);
            kind_ = BufferKind::Bytes;
            address_ = array_.Data();
            length_ = array_.Count();
            break;
        default: Raise(RunTimeError::InvalidCall, source);
    }
}

PlannedTransfer::PlannedTransfer(VARIANT* argument, stream_rules::Direction direction, int32_t offset, int32_t count,
                                 std::wstring_view source)
    : caller_(Given(argument, source), source) {
    const stream_rules::TransferPlan plan =
        stream_rules::PlanTransfer(direction, caller_.Kind(), caller_.Length(), offset, count);
    if (plan.refused) Raise(RunTimeError::InvalidCall, source);
    count_ = plan.count;
    at_ = caller_.Address();
    if (caller_.Kind() == BufferKind::Text) {
        ansi_ = ToUserAnsi(caller_.Text());
        if (ansi_.size() < uint64_t{plan.start} + plan.count) ansi_.resize(uint64_t{plan.start} + plan.count);
        at_ = reinterpret_cast<uint8_t*>(ansi_.data());
    }
    at_ += plan.start;
}

}  // namespace vofs
