#include "common/byte_array.h"

#include "common/error.h"

#include <cstring>

namespace vofs {

Variant ZeroByteArray(size_t count) {
    SAFEARRAY* array = SafeArrayCreateVector(VT_UI1, 0, static_cast<ULONG>(count));
    if (!array) Raise(RunTimeError::OutOfMemory);
    Variant result;
    V_VT(result.Get()) = VT_ARRAY | VT_UI1;
    V_ARRAY(result.Get()) = array;
    return result;
}

Variant ByteArrayOf(std::span<const uint8_t> bytes) {
    Variant result = ZeroByteArray(bytes.size());
    if (!bytes.empty()) {
        ArrayData data(V_ARRAY(result.Get()));
        std::memcpy(data.Data(), bytes.data(), bytes.size());
    }
    return result;
}

ArrayData::ArrayData(SAFEARRAY* array) {
    if (!array || SafeArrayGetDim(array) != 1 || FAILED(SafeArrayAccessData(array, &data_))) {
        data_ = nullptr;
        return;
    }
    array_ = array;
    count_ = array->rgsabound[0].cElements;
}

ArrayData::~ArrayData() {
    if (array_) SafeArrayUnaccessData(array_);
}

}  // namespace vofs
