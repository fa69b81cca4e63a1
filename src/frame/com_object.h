#pragma once
// The one class template behind every library class: reference counting, QueryInterface
// over the listed dual interfaces, ISupportErrorInfo, IDispatch per interface, the way
// back to the implementation object, and the boundary that turns exceptions into
// automation errors.
//
//   class Path final : public ComObject<Path, _Path, _IPath> {
//   public:
//       static constexpr wchar_t kClassName[] = L"Path";
//       HRESULT STDMETHODCALLTYPE get_Name(BSTR* value) override {
//           return Get(value, [&] { return Name(); });
//       }
//       ...
//   };
//
// The first interface is the default one (IDispatch and IUnknown resolve to it, and
// errors carry its IID). Objects are made with Make(), which hands out the first
// reference. A constructor must not hand out `this` as a counted reference.
//
// Methods of two interfaces with the same name and signature share one implementation.
// Where they must answer differently, the class lists an interface face instead of the
// interface: a class derived from InterfaceFace<I> that implements the member for that
// interface alone (see FolderEnumerator).

#include "common/bstr.h"
#include "common/error.h"
#include "common/thread_state.h"
#include "common/variant.h"
#include "frame/dispatch.h"
#include "frame/library_object.h"
#include "frame/module.h"

#include <string>
#include <string_view>
#include <tuple>
#include <type_traits>
#include <utility>

namespace vofs {

// ---- results handed to [out, retval] parameters

inline void ClearOut(VARIANT* out) { VariantInit(out); }
template <class T>
void ClearOut(T* out) {
    *out = T{};
}

inline void Store(BSTR* out, std::wstring_view text) { *out = Bstr(text).Detach(); }
inline void Store(BSTR* out, Bstr text) { *out = text.Detach(); }
inline void Store(VARIANT_BOOL* out, bool value) { *out = value ? VARIANT_TRUE : VARIANT_FALSE; }
inline void Store(LONG* out, LONG value) { *out = value; }
inline void Store(DATE* out, DATE value) { *out = value; }
inline void Store(VARIANT* out, Variant value) { value.MoveTo(out); }
template <class Enum>
    requires std::is_enum_v<Enum>
void Store(Enum* out, long value) {
    *out = static_cast<Enum>(value);
}
template <class Interface, class Object>
    requires std::is_convertible_v<Object*, Interface*>
void Store(Interface** out, const ComPtr<Object>& object) {
    Interface* raw = object.Get();
    if (raw) raw->AddRef();
    *out = raw;
}

// Object-typed results ([out, retval] IDispatch**): the object's default interface.
template <class Object>
void Store(IDispatch** out, const ComPtr<Object>& object) {
    IDispatch* raw = object ? object->AsDispatch() : nullptr;
    if (raw) raw->AddRef();
    *out = raw;
}

// ---- interface faces

// The base of an adapter that implements some members of one interface on their own.
template <class I>
class InterfaceFace : public DispatchOf<I> {
public:
    using Interface = I;
};

// What a class lists: a plain interface (dispatched as it is) or a face of one.
template <class Listed>
struct InterfaceSlot {
    using Base = DispatchOf<Listed>;
    using Interface = Listed;
};
template <class Listed>
    requires requires { typename Listed::Interface; }
struct InterfaceSlot<Listed> {
    using Base = Listed;
    using Interface = typename Listed::Interface;
};

// ---- the class template

template <class Derived, class... Interfaces>
class ComObject : public InterfaceSlot<Interfaces>::Base...,
                  public ISupportErrorInfo,
                  public ILibraryObject,
                  public LibraryObject {
public:
    using DefaultInterface = typename InterfaceSlot<std::tuple_element_t<0, std::tuple<Interfaces...>>>::Interface;

    // A new object; the returned pointer holds its only reference. (Objects start with
    // no reference and the ComPtr constructor adds the first: MinGW's ComPtr::Attach
    // adds a reference too, unlike Microsoft's, so it cannot adopt a new object.)
    template <class... Args>
    static ComPtr<Derived> Make(Args&&... args) {
        return ComPtr<Derived>(new Derived(std::forward<Args>(args)...));
    }

    // IUnknown
    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** out) override {
        if (!out) return E_POINTER;
        *out = nullptr;
        if (iid == IID_IUnknown || iid == IID_IDispatch) {
            *out = static_cast<DefaultInterface*>(this);
        } else if (!(Offer<typename InterfaceSlot<Interfaces>::Interface>(iid, out) || ...)) {
            if (iid == IID_ISupportErrorInfo) {
                *out = static_cast<ISupportErrorInfo*>(this);
            } else if (iid == __uuidof(ILibraryObject)) {
                *out = static_cast<ILibraryObject*>(this);
            } else {
                return E_NOINTERFACE;
            }
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

    // ISupportErrorInfo: every interface of the library reports errors this way.
    HRESULT STDMETHODCALLTYPE InterfaceSupportsErrorInfo(REFIID) override { return S_OK; }

    // ILibraryObject
    LibraryObject* STDMETHODCALLTYPE Self() override { return this; }

    // LibraryObject
    const wchar_t* ClassName() const noexcept override { return Derived::kClassName; }

    // The object as its default interface, for Object-typed results.
    IDispatch* AsDispatch() { return static_cast<DefaultInterface*>(this); }

protected:
    template <class I>
    bool Offer(REFIID iid, void** out) {
        if (iid != __uuidof(I)) return false;
        *out = static_cast<I*>(this);
        return true;
    }

    ComObject() {
        ThisThread();
        module::ObjectCreated();
    }
    ~ComObject() override { module::ObjectDestroyed(); }

    // Runs a method body inside the error boundary.
    template <class Body>
    HRESULT Run(Body&& body) noexcept {
        return Boundary(Derived::kClassName, __uuidof(DefaultInterface), std::forward<Body>(body));
    }

    // Runs a body that computes a result and stores it in an [out, retval] parameter.
    template <class Out, class Body>
    HRESULT Get(Out* out, Body&& body) noexcept {
        if (!out) return E_POINTER;
        ClearOut(out);
        return Run([&] { Store(out, body()); });
    }

private:
    LONG references_ = 0;
};

}  // namespace vofs
