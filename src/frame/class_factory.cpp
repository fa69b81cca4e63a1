#include "frame/class_factory.h"

#include "frame/module.h"

#include <new>

namespace vofs {
namespace {

// A class object counts as a live object, so the module stays loaded while a caller
// holds one.
class ClassFactory final : public IClassFactory {
public:
    explicit ClassFactory(CreateFunction create) : create_(create) { module::ObjectCreated(); }
    ~ClassFactory() { module::ObjectDestroyed(); }
    ClassFactory(const ClassFactory&) = delete;
    ClassFactory& operator=(const ClassFactory&) = delete;

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** out) override {
        if (!out) return E_POINTER;
        if (iid == IID_IUnknown || iid == IID_IClassFactory) {
            *out = static_cast<IClassFactory*>(this);
            AddRef();
            return S_OK;
        }
        *out = nullptr;
        return E_NOINTERFACE;
    }
    ULONG STDMETHODCALLTYPE AddRef() override { return static_cast<ULONG>(InterlockedIncrement(&references_)); }
    ULONG STDMETHODCALLTYPE Release() override {
        const LONG remaining = InterlockedDecrement(&references_);
        if (remaining == 0) delete this;
        return static_cast<ULONG>(remaining);
    }

    HRESULT STDMETHODCALLTYPE CreateInstance(IUnknown* outer, REFIID iid, void** object) override {
        if (!object) return E_POINTER;
        *object = nullptr;
        if (outer) return CLASS_E_NOAGGREGATION;
        return create_(iid, object);
    }
    HRESULT STDMETHODCALLTYPE LockServer(BOOL lock) override {
        if (lock) {
            module::Lock();
        } else {
            module::Unlock();
        }
        return S_OK;
    }

private:
    CreateFunction create_;
    LONG references_ = 1;
};

}  // namespace

HRESULT GetClassObject(REFCLSID clsid, REFIID iid, void** object) {
    if (!object) return E_POINTER;
    *object = nullptr;
    for (const CreatableClass& entry : CreatableClasses()) {
        if (entry.clsid != clsid) continue;
        if (!entry.create) break;
        auto* factory = new (std::nothrow) ClassFactory(entry.create);
        if (!factory) return E_OUTOFMEMORY;
        const HRESULT result = factory->QueryInterface(iid, object);
        factory->Release();
        return result;
    }
    return CLASS_E_CLASSNOTAVAILABLE;
}

}  // namespace vofs
