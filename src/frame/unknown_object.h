#pragma once
// Reference counting and QueryInterface for the library's few objects that are not
// automation objects (class objects, enumerators). Like every library object they count
// as live objects of the module. Objects are made with Make(), which hands out the first
// reference.

#include "frame/module.h"

#include <utility>

namespace vofs {

template <class Derived, class First, class... Rest>
class UnknownObject : public First, public Rest... {
public:
    template <class... Args>
    static ComPtr<Derived> Make(Args&&... args) {
        return ComPtr<Derived>(new Derived(std::forward<Args>(args)...));
    }

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** out) override {
        if (!out) return E_POINTER;
        *out = nullptr;
        if (iid == IID_IUnknown || iid == __uuidof(First)) {
            *out = static_cast<First*>(this);
        } else if (!((iid == __uuidof(Rest) ? (*out = static_cast<Rest*>(this), true) : false) || ...)) {
            return E_NOINTERFACE;
        }
        AddRef();
        return S_OK;
    }
    ULONG STDMETHODCALLTYPE AddRef() override { return static_cast<ULONG>(InterlockedIncrement(&references_)); }
    ULONG STDMETHODCALLTYPE Release() override {
        const LONG remaining = InterlockedDecrement(&references_);
        if (remaining == 0) delete static_cast<Derived*>(this);
        return static_cast<ULONG>(remaining);
    }

protected:
    UnknownObject() { module::ObjectCreated(); }
    virtual ~UnknownObject() { module::ObjectDestroyed(); }

private:
    LONG references_ = 0;
};

}  // namespace vofs
