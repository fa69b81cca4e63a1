#pragma once
// The class object that DllGetClassObject hands out for each creatable class.

#include "frame/class_table.h"

namespace vofs {

// Answers DllGetClassObject for a class identifier.
HRESULT GetClassObject(REFCLSID clsid, REFIID iid, void** object);

}  // namespace vofs
