#pragma once
// IEnumVARIANT over a snapshot of values: what NewEnum hands out for For Each over the
// library's collections.

#include "common/variant.h"
#include "frame/unknown_object.h"

#include <vector>

namespace vofs {

class ValueEnumerator final : public UnknownObject<ValueEnumerator, IEnumVARIANT> {
public:
    HRESULT STDMETHODCALLTYPE Next(ULONG wanted, VARIANT* values, ULONG* fetched) override;
    HRESULT STDMETHODCALLTYPE Skip(ULONG count) override;
    HRESULT STDMETHODCALLTYPE Reset() override;
    HRESULT STDMETHODCALLTYPE Clone(IEnumVARIANT** copy) override;

private:
    friend class UnknownObject<ValueEnumerator, IEnumVARIANT>;
    explicit ValueEnumerator(std::vector<Variant> values, size_t position = 0);

    std::vector<Variant> values_;
    size_t position_;
};

}  // namespace vofs
