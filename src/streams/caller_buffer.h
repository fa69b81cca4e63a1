#pragma once
// The Buffer argument of the byte streams' ReadStream and WriteStream, read by its Variant
// type (a typed variable's reference followed): an address (a Long, or a LongLong from
// 64-bit VBA), a String or a one-dimensional Byte array (locked while the object lives).
// Any other kind, and an array of other dimensions, raises error 5 under the stream's
// source.

#include "common/byte_array.h"
#include "common/variant.h"
#include "streams/stream_rules.h"

#include <cstdint>
#include <string>
#include <string_view>

namespace vofs {

class CallerBuffer {
public:
    CallerBuffer(VARIANT* argument, std::wstring_view source);

    stream_rules::BufferKind Kind() const { return kind_; }
    // Characters of a String, elements of an array; 0 for an address.
    uint64_t Length() const { return length_; }
    uint8_t* Address() const { return address_; }
    std::wstring_view Text() const { return text_; }

private:
    const VARIANT& value_;
    ArrayData array_;
    stream_rules::BufferKind kind_ = stream_rules::BufferKind::Other;
    uint8_t* address_ = nullptr;
    std::wstring_view text_;
    uint64_t length_ = 0;
};

// The bytes one transfer moves: the buffer contract's plan applied to the caller's buffer
// (error 5 when it is refused or missing), a String staged through its ANSI bytes (read
// into and dropped, or written from).
class PlannedTransfer {
public:
    PlannedTransfer(VARIANT* argument, stream_rules::Direction direction, int32_t offset, int32_t count,
                    std::wstring_view source);
    PlannedTransfer(const PlannedTransfer&) = delete;
    PlannedTransfer& operator=(const PlannedTransfer&) = delete;

    const CallerBuffer& Caller() const { return caller_; }
    // The bytes to move (0: nothing) and where they start.
    uint32_t Count() const { return count_; }
    uint8_t* At() const { return at_; }

private:
    CallerBuffer caller_;
    std::string ansi_;
    uint8_t* at_ = nullptr;
    uint32_t count_ = 0;
};

}  // namespace vofs
