// The entry points of the in-process server (exported by name through vofslib.def).

#include "frame/class_factory.h"
#include "frame/module.h"
#include "frame/registration.h"

#include <cwchar>

using vofs::registration::Scope;

extern "C" {

HRESULT STDAPICALLTYPE DllGetClassObject(REFCLSID clsid, REFIID iid, void** object) {
    return vofs::GetClassObject(clsid, iid, object);
}

HRESULT STDAPICALLTYPE DllCanUnloadNow() {
    return vofs::module::CanUnload() ? S_OK : S_FALSE;
}

HRESULT STDAPICALLTYPE DllRegisterServer() {
    return vofs::registration::Register(Scope::Machine);
}

HRESULT STDAPICALLTYPE DllUnregisterServer() {
    return vofs::registration::Unregister(Scope::Machine);
}

// regsvr32 /n /i:user registers for the current user only (and /u /n /i:user undoes it).
HRESULT STDAPICALLTYPE DllInstall(BOOL install, LPCWSTR commandLine) {
    const Scope scope = commandLine && _wcsicmp(commandLine, L"user") == 0 ? Scope::User : Scope::Machine;
    return install ? vofs::registration::Register(scope) : vofs::registration::Unregister(scope);
}

}  // extern "C"
