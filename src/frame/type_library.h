#pragma once
// The library's type libraries, read from the module's own resources: the published one
// (resource 1, the contract callers see) and the internal one (resource 2, for the record
// classes that the library hands out but does not publish).

#include "common/platform_headers.h"

namespace vofs {

enum class TypeLibrary { Published = 1, Internal = 2 };

// Loads a type library from the module's resources (a new reference each call).
HRESULT LoadModuleTypeLibrary(TypeLibrary which, ITypeLib** library);

// The type information of an interface of either library; null when it is in neither.
// Loaded once per interface and kept until the module unloads.
HRESULT TypeInfoOf(REFIID iid, ITypeInfo** info);

}  // namespace vofs
