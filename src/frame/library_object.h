#pragma once
// The private way back from an interface pointer to the library's own object. Every
// library object answers QueryInterface for ILibraryObject; a foreign implementation of a
// published interface does not, and so is recognised as foreign.

#include "common/platform_headers.h"

namespace vofs {

// The common base of every library object, reached through ILibraryObject.
class LibraryObject {
public:
    virtual ~LibraryObject() = default;
    // The class name the object answers to (and raises its errors under).
    virtual const wchar_t* ClassName() const noexcept = 0;
};

}  // namespace vofs

MIDL_INTERFACE("C4F2F991-B7E6-4E09-A794-491B595E47E5")
ILibraryObject : public IUnknown {
public:
    virtual vofs::LibraryObject* STDMETHODCALLTYPE Self() = 0;
};
__CRT_UUID_DECL(ILibraryObject, 0xC4F2F991, 0xB7E6, 0x4E09, 0xA7, 0x94, 0x49, 0x1B, 0x59, 0x5E, 0x47, 0xE5)

namespace vofs {

// The library object behind an interface pointer when it is of class T, else null. The
// caller keeps its own reference; none is added.
template <class T>
T* ImplementationOf(IUnknown* unknown) {
    if (!unknown) return nullptr;
    ComPtr<ILibraryObject> library;
    if (FAILED(unknown->QueryInterface(IID_PPV_ARGS(&library)))) return nullptr;
    return dynamic_cast<T*>(library->Self());
}

}  // namespace vofs
