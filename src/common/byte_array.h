#pragma once
// Byte arrays (Variant type 8209, VT_ARRAY | VT_UI1) as streams hand them over.

#include "common/variant.h"

#include <cstdint>
#include <span>

namespace vofs {

// A new one-dimensional, zero-based Byte array holding `bytes`.
Variant ByteArrayOf(std::span<const uint8_t> bytes);

// A new one-dimensional, zero-based Byte array of `count` zero bytes.
Variant ZeroByteArray(size_t count);

// The data of a one-dimensional array, locked while the object lives. `array` may be
// null or of other dimensions: then Valid() is false.
class ArrayData {
public:
    explicit ArrayData(SAFEARRAY* array);
    ~ArrayData();
    ArrayData(const ArrayData&) = delete;
    ArrayData& operator=(const ArrayData&) = delete;

    bool Valid() const { return array_ != nullptr; }
    uint8_t* Data() const { return static_cast<uint8_t*>(data_); }
    uint64_t Count() const { return count_; }

private:
    SAFEARRAY* array_ = nullptr;
    void* data_ = nullptr;
    uint64_t count_ = 0;
};

}  // namespace vofs
