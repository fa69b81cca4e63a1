#pragma once
// The classes that callers may create, with what registration writes for each.

#include "common/platform_headers.h"

#include <span>

namespace vofs {

using CreateFunction = HRESULT (*)(REFIID iid, void** object);

struct CreatableClass {
    const CLSID& clsid;
    const wchar_t* name;    // the ProgID is "VOFSL." + name
    CreateFunction create;  // null while the class is not part of this build
};

std::span<const CreatableClass> CreatableClasses();

// Makes a new object of a library class and hands out the asked-for interface.
template <class T>
HRESULT CreateInstanceOf(REFIID iid, void** object) {
    if (!object) return E_POINTER;
    *object = nullptr;
    try {
        return T::Make()->QueryInterface(iid, object);
    } catch (...) {
        return E_OUTOFMEMORY;
    }
}

}  // namespace vofs
