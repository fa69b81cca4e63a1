#pragma once
// Registration of the creatable classes, their ProgIDs, the type library and its dual
// interfaces, in the machine's classes or in the current user's, as the platform's own
// type-library registration writes them (a version key is hexadecimal: 452.0 is "1c4.0";
// no HELPDIR, for the library has no help file and both DLLs share the version key).
//
// On 64-bit Windows the classes and interfaces of the 32-bit and of the 64-bit DLL live in
// a registry view each, while ProgIDs and the type library's version key are shared by
// both: unregistration removes a shared key only when the other DLL's registration no
// longer needs it, so either DLL can be removed without breaking the other.

#include "common/platform_headers.h"

#include <string>
#include <vector>

namespace vofs::registration {

enum class Scope { Machine, User };

// One value below the classes root (an empty name is the key's default value). `shared`
// marks the values that both DLLs write alike into keys the two views share.
struct RegistryValue {
    std::wstring key;
    std::wstring name;
    std::wstring data;
    bool shared = false;
};

// Every value that registering the server at `modulePath`, whose type library is
// `library`, writes. Installers are generated from this too, so they write the same.
HRESULT PlanValues(ITypeLib* library, const std::wstring& modulePath, std::vector<RegistryValue>& values);

HRESULT Register(Scope scope);
HRESULT Unregister(Scope scope);

}  // namespace vofs::registration
