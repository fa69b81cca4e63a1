// Defines the identifiers (IID_, CLSID_, LIBID_) that the generated headers declare.

#include "common/platform_headers.h"

#include <initguid.h>

#include "vofslib_idl.h"
#include "vofslib_internal_idl.h"
