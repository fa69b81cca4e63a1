#include "common/long_handles.h"

#include "common/error.h"

namespace vofs {

LONG ExactLong(intptr_t value) {
    const auto narrowed = static_cast<LONG>(value);
    if (static_cast<intptr_t>(narrowed) != value) Raise(RunTimeError::Overflow);
    return narrowed;
}

}  // namespace vofs
