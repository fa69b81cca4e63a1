#include "frame/member_table.h"

#include "common/bstr.h"

#include <algorithm>
#include <optional>

namespace vofs {
namespace {

constexpr wchar_t Folded(wchar_t c) { return c >= L'A' && c <= L'Z' ? static_cast<wchar_t>(c + (L'a' - L'A')) : c; }

// Type information is read through small owners that give back what they borrowed.
class TypeAttributes {
public:
    explicit TypeAttributes(ITypeInfo* info) : info_(info) {
        if (FAILED(info_->GetTypeAttr(&attributes_))) attributes_ = nullptr;
    }
    ~TypeAttributes() {
        if (attributes_) info_->ReleaseTypeAttr(attributes_);
    }
    TypeAttributes(const TypeAttributes&) = delete;
    TypeAttributes& operator=(const TypeAttributes&) = delete;
    const TYPEATTR* operator->() const { return attributes_; }
    explicit operator bool() const { return attributes_ != nullptr; }

private:
    ITypeInfo* info_;
    TYPEATTR* attributes_ = nullptr;
};

class FunctionDescription {
public:
    FunctionDescription(ITypeInfo* info, UINT index) : info_(info) {
        if (FAILED(info_->GetFuncDesc(index, &function_))) function_ = nullptr;
    }
    ~FunctionDescription() {
        if (function_) info_->ReleaseFuncDesc(function_);
    }
    FunctionDescription(const FunctionDescription&) = delete;
    FunctionDescription& operator=(const FunctionDescription&) = delete;
    const FUNCDESC* operator->() const { return function_; }
    const FUNCDESC& operator*() const { return *function_; }
    explicit operator bool() const { return function_ != nullptr; }

private:
    ITypeInfo* info_;
    FUNCDESC* function_ = nullptr;
};

// The interface view of a dual interface, whose functions carry their vtable slots.
ComPtr<ITypeInfo> InterfaceView(ITypeInfo* info) {
    TypeAttributes attributes(info);
    if (!attributes) return nullptr;
    if (attributes->typekind == TKIND_INTERFACE) return ComPtr<ITypeInfo>(info);
    if (attributes->typekind != TKIND_DISPATCH || !(attributes->wTypeFlags & TYPEFLAG_FDUAL)) return nullptr;
    HREFTYPE reference = 0;
    ComPtr<ITypeInfo> view;
    if (FAILED(info->GetRefTypeOfImplType(-1, &reference)) || FAILED(info->GetRefTypeInfo(reference, &view))) {
        return nullptr;
    }
    return view;
}

// The type a parameter or result is declared with, enumerations and aliases resolved.
std::optional<ValueType> TypeOf(ITypeInfo* owner, const TYPEDESC& desc) {
    switch (desc.vt) {
        case VT_PTR:
            if (desc.lptdesc->vt == VT_VARIANT) return ValueType{ValueKind::VariantRef, VT_VARIANT, IID_NULL};
            if (desc.lptdesc->vt == VT_USERDEFINED) {
                std::optional<ValueType> pointed = TypeOf(owner, *desc.lptdesc);
                if (pointed && pointed->kind == ValueKind::Interface) return pointed;
            }
            return std::nullopt;
        case VT_VARIANT: return ValueType{ValueKind::Variant, VT_VARIANT, IID_NULL};
        case VT_DISPATCH: return ValueType{ValueKind::Interface, VT_DISPATCH, IID_IDispatch};
        case VT_UNKNOWN: return ValueType{ValueKind::Interface, VT_UNKNOWN, IID_IUnknown};
        case VT_USERDEFINED: {
            ComPtr<ITypeInfo> referenced;
            if (FAILED(owner->GetRefTypeInfo(desc.hreftype, &referenced))) return std::nullopt;
            TypeAttributes attributes(referenced.Get());
            if (!attributes) return std::nullopt;
            switch (attributes->typekind) {
                case TKIND_ENUM: return ValueType{ValueKind::Scalar, VT_I4, IID_NULL};
                case TKIND_ALIAS: return TypeOf(referenced.Get(), attributes->tdescAlias);
                case TKIND_DISPATCH:
                case TKIND_INTERFACE: {
                    // Every interface of the contract is dual, so its pointer is an IDispatch.
                    const bool dispatch =
                        attributes->typekind == TKIND_DISPATCH || (attributes->wTypeFlags & TYPEFLAG_FDUAL);
                    return ValueType{ValueKind::Interface, static_cast<VARTYPE>(dispatch ? VT_DISPATCH : VT_UNKNOWN),
                                     attributes->guid};
                }
                default: return std::nullopt;
            }
        }
        case VT_BSTR:
        case VT_I2:
        case VT_I4:
        case VT_R4:
        case VT_R8:
        case VT_CY:
        case VT_DATE:
        case VT_BOOL:
        case VT_UI1:
        case VT_DECIMAL: return ValueType{ValueKind::Scalar, desc.vt, IID_NULL};
        case VT_INT: return ValueType{ValueKind::Scalar, VT_I4, IID_NULL};
        default: return std::nullopt;
    }
}

// The parameter's declared default, converted once to the parameter's own type.
void ReadDefault(const ELEMDESC& element, Parameter& parameter) {
    const PARAMDESC& desc = element.paramdesc;
    if (!(desc.wParamFlags & PARAMFLAG_FHASDEFAULT) || !desc.pparamdescex) return;
    parameter.hasDefault = true;
    const VARIANT& declared = desc.pparamdescex->varDefaultValue;
    switch (parameter.type.kind) {
        case ValueKind::Interface: break;  // a default interface pointer can only be null
        case ValueKind::Scalar:
            if (FAILED(VariantChangeType(parameter.defaultValue.Get(), const_cast<VARIANT*>(&declared), 0,
                                         parameter.type.type))) {
                parameter.hasDefault = false;
            }
            break;
        default:
            parameter.defaultValue = Variant::CopyOf(declared);
            break;
    }
}

Member ReadMember(ITypeInfo* view, const FUNCDESC& function) {
    Member member;
    member.id = function.memid;
    member.kind = function.invkind;
    // The low two bits of a stored slot offset are not part of it.
    member.vtableOffset = static_cast<ULONG_PTR>(function.oVft) & ~ULONG_PTR{3};
    member.callable = function.callconv == CC_STDCALL && function.elemdescFunc.tdesc.vt == VT_HRESULT;

    BSTR names[64] = {};
    UINT named = 0;
    view->GetNames(function.memid, names, 64, &named);
    for (SHORT index = 0; index < function.cParams; ++index) {
        const ELEMDESC& element = function.lprgelemdescParam[index];
        if (element.paramdesc.wParamFlags & PARAMFLAG_FRETVAL) {
            // [out, retval] T*: the result is T (a Variant for VARIANT*).
            member.hasResult = true;
            const std::optional<ValueType> pointed =
                element.tdesc.vt == VT_PTR ? TypeOf(view, *element.tdesc.lptdesc) : std::nullopt;
            if (pointed) member.result = *pointed;
            if (!pointed) member.callable = false;
            continue;
        }
        const std::optional<ValueType> type = TypeOf(view, element.tdesc);
        if (!type) member.callable = false;
        Parameter parameter;
        if (type) parameter.type = *type;
        parameter.optional = (element.paramdesc.wParamFlags & PARAMFLAG_FOPT) != 0;
        if (static_cast<UINT>(index) + 1 < named && names[index + 1]) parameter.name = Bstr::View(names[index + 1]);
        ReadDefault(element, parameter);
        member.parameters.push_back(std::move(parameter));
    }
    for (UINT i = 0; i < named; ++i) SysFreeString(names[i]);
    return member;
}

}  // namespace

bool NamesEqual(std::wstring_view left, std::wstring_view right) noexcept {
    return left.size() == right.size() &&
           std::equal(left.begin(), left.end(), right.begin(), [](wchar_t a, wchar_t b) { return Folded(a) == Folded(b); });
}

size_t MemberTable::FoldedHash::operator()(std::wstring_view name) const noexcept {
    size_t hash = 2166136261u;  // FNV-1a
    for (wchar_t c : name) hash = (hash ^ static_cast<size_t>(Folded(c))) * 16777619u;
    return hash;
}

bool MemberTable::FoldedEqual::operator()(std::wstring_view left, std::wstring_view right) const noexcept {
    return NamesEqual(left, right);
}

int Member::ParameterNamed(std::wstring_view name) const {
    for (size_t index = 0; index < parameters.size(); ++index) {
        if (NamesEqual(parameters[index].name, name)) return static_cast<int>(index);
    }
    return -1;
}

MemberTable::MemberTable(ITypeInfo* info) {
    if (info) Read(info);
}

void MemberTable::Read(ITypeInfo* info) {
    const ComPtr<ITypeInfo> view = InterfaceView(info);
    if (!view) return;
    TypeAttributes attributes(view.Get());
    if (!attributes) return;
    for (UINT index = 0; index < attributes->cFuncs; ++index) {
        FunctionDescription function(view.Get(), index);
        if (!function) continue;
        members_.push_back(ReadMember(view.Get(), *function));
        Bstr name;
        if (SUCCEEDED(view->GetDocumentation(function->memid, name.Receive(), nullptr, nullptr, nullptr))) {
            names_.emplace(std::wstring(name.View()), function->memid);
        }
    }
    std::stable_sort(members_.begin(), members_.end(),
                     [](const Member& left, const Member& right) { return left.id < right.id; });
}

const Member* MemberTable::Find(DISPID id, WORD flags) const {
    auto it = std::lower_bound(members_.begin(), members_.end(), id,
                               [](const Member& member, DISPID wanted) { return member.id < wanted; });
    for (; it != members_.end() && it->id == id; ++it) {
        if (static_cast<WORD>(it->kind) & flags) return &*it;
    }
    return nullptr;
}

const Member* MemberTable::AnyWithId(DISPID id) const {
    auto it = std::lower_bound(members_.begin(), members_.end(), id,
                               [](const Member& member, DISPID wanted) { return member.id < wanted; });
    return it != members_.end() && it->id == id ? &*it : nullptr;
}

DISPID MemberTable::IdOfName(std::wstring_view name) const {
    const auto it = names_.find(name);
    return it == names_.end() ? DISPID_UNKNOWN : it->second;
}

}  // namespace vofs
