#include "frame/value_enumerator.h"

#include <algorithm>

namespace vofs {

ValueEnumerator::ValueEnumerator(std::vector<Variant> values, size_t position)
    : values_(std::move(values)), position_(position) {}

HRESULT ValueEnumerator::Next(ULONG wanted, VARIANT* values, ULONG* fetched) {
    if (!values || (wanted > 1 && !fetched)) return E_POINTER;
    ULONG count = 0;
    for (; count < wanted && position_ < values_.size(); ++count, ++position_) {
        VariantInit(&values[count]);
        if (const HRESULT copied = VariantCopy(&values[count], values_[position_].Get()); FAILED(copied)) {
            for (ULONG i = 0; i < count; ++i) VariantClear(&values[i]);
            if (fetched) *fetched = 0;
            return copied;
        }
    }
    if (fetched) *fetched = count;
    return count == wanted ? S_OK : S_FALSE;
}

HRESULT ValueEnumerator::Skip(ULONG count) {
    const size_t left = values_.size() - position_;
    position_ += std::min<size_t>(count, left);
    return count <= left ? S_OK : S_FALSE;
}

HRESULT ValueEnumerator::Reset() {
    position_ = 0;
    return S_OK;
}

HRESULT ValueEnumerator::Clone(IEnumVARIANT** copy) {
    if (!copy) return E_POINTER;
    *copy = nullptr;
    try {
        std::vector<Variant> values;
        values.reserve(values_.size());
        for (const Variant& value : values_) values.push_back(Variant::CopyOf(*value.Get()));
        *copy = Make(std::move(values), position_).Detach();
        return S_OK;
    } catch (...) {
        return E_OUTOFMEMORY;
    }
}

}  // namespace vofs
