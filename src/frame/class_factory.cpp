#include "frame/class_factory.h"

#include "frame/module.h"
#include "frame/unknown_object.h"

namespace vofs {
namespace {

// A class object counts as a live object, so the module stays loaded while a caller
// holds one.
class ClassFactory final : public UnknownObject<ClassFactory, IClassFactory> {
public:
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
    friend class UnknownObject<ClassFactory, IClassFactory>;
    explicit ClassFactory(CreateFunction create) : create_(create) {}

    CreateFunction create_;
};

}  // namespace

HRESULT GetClassObject(REFCLSID clsid, REFIID iid, void** object) {
    if (!object) return E_POINTER;
    *object = nullptr;
    for (const CreatableClass& entry : CreatableClasses()) {
        if (entry.clsid != clsid) continue;
        if (!entry.create) break;
        try {
            return ClassFactory::Make(entry.create)->QueryInterface(iid, object);
        } catch (...) {
            return E_OUTOFMEMORY;
        }
    }
    return CLASS_E_CLASSNOTAVAILABLE;
}

}  // namespace vofs
