#pragma once
// The interfaces, enumerations and class identifiers of the published contract and of
// the library's internal records, as generated from idl/ by the build.

#include "common/platform_headers.h"

#include "vofslib_idl.h"
#include "vofslib_internal_idl.h"
