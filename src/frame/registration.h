#pragma once
// Registration of the creatable classes, their ProgIDs, the type library and its dual
// interfaces, in the machine's classes or in the current user's. Unregistration removes
// exactly the keys that registration writes.

#include "common/platform_headers.h"

namespace vofs::registration {

enum class Scope { Machine, User };

HRESULT Register(Scope scope);
HRESULT Unregister(Scope scope);

}  // namespace vofs::registration
