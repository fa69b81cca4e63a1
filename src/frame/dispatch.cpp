#include "frame/dispatch.h"

#include "frame/type_library.h"

#include <memory>

namespace vofs {
namespace {

bool IsVariantReference(const ELEMDESC& element) {
    return element.tdesc.vt == VT_PTR && element.tdesc.lptdesc && element.tdesc.lptdesc->vt == VT_VARIANT &&
           (element.paramdesc.wParamFlags & PARAMFLAG_FOUT) != 0;
}

// Temporary copies of by-value arguments, cleared when the call is over.
class ArgumentCopies {
public:
    explicit ArgumentCopies(UINT count) : copies_(std::make_unique<VARIANT[]>(count)), count_(count) {
        for (UINT i = 0; i < count_; ++i) VariantInit(&copies_[i]);
    }
    ~ArgumentCopies() {
        for (UINT i = 0; i < count_; ++i) VariantClear(&copies_[i]);
    }
    ArgumentCopies(const ArgumentCopies&) = delete;
    ArgumentCopies& operator=(const ArgumentCopies&) = delete;
    VARIANT& operator[](UINT index) { return copies_[index]; }

private:
    std::unique_ptr<VARIANT[]> copies_;
    UINT count_;
};

}  // namespace

InterfaceDispatch::InterfaceDispatch(REFIID iid) {
    if (FAILED(TypeInfoOf(iid, &info_))) return;
    TYPEATTR* attributes = nullptr;
    if (FAILED(info_->GetTypeAttr(&attributes))) return;
    const WORD functions = attributes->cFuncs;
    info_->ReleaseTypeAttr(attributes);
    for (UINT index = 0; index < functions; ++index) {
        FUNCDESC* function = nullptr;
        if (FAILED(info_->GetFuncDesc(index, &function))) continue;
        uint32_t positions = 0;
        for (SHORT parameter = 0; parameter < function->cParams && parameter < 32; ++parameter) {
            if (IsVariantReference(function->lprgelemdescParam[parameter])) positions |= 1U << parameter;
        }
        if (positions) references_.push_back({function->memid, positions});
        info_->ReleaseFuncDesc(function);
    }
}

uint32_t InterfaceDispatch::ReferencePositions(DISPID member) const {
    for (const ReferenceParameters& entry : references_) {
        if (entry.member == member) return entry.positions;
    }
    return 0;
}

HRESULT InterfaceDispatch::Invoke(IUnknown* self, DISPID member, WORD flags, DISPPARAMS* params,
                                  VARIANT* result, EXCEPINFO* exception, UINT* argumentError) const {
    if (!info_) return TYPE_E_ELEMENTNOTFOUND;
    const uint32_t positions = params && params->cArgs ? ReferencePositions(member) : 0;
    if (positions == 0) return info_->Invoke(self, member, flags, params, result, exception, argumentError);

    // Arguments arrive last first: parameter p is rgvarg[cArgs - 1 - p].
    const UINT given = params->cArgs;
    std::unique_ptr<VARIANT[]> arguments = std::make_unique<VARIANT[]>(given);
    for (UINT i = 0; i < given; ++i) arguments[i] = params->rgvarg[i];
    ArgumentCopies copies(given);
    for (UINT parameter = 0; parameter < given && parameter < 32; ++parameter) {
        VARIANT& argument = arguments[given - 1 - parameter];
        if ((positions & (1U << parameter)) == 0 || (V_VT(&argument) & VT_BYREF)) continue;
        if (V_VT(&argument) == VT_ERROR && V_ERROR(&argument) == DISP_E_PARAMNOTFOUND) continue;
        VARIANT& copy = copies[given - 1 - parameter];
        if (const HRESULT copied = VariantCopy(&copy, &argument); FAILED(copied)) return copied;
        V_VT(&argument) = VT_BYREF | VT_VARIANT;
        V_VARIANTREF(&argument) = &copy;
    }
    DISPPARAMS adjusted = *params;
    adjusted.rgvarg = arguments.get();
    return info_->Invoke(self, member, flags, &adjusted, result, exception, argumentError);
}

}  // namespace vofs
