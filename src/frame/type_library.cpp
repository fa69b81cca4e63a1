#include "frame/type_library.h"

#include "frame/module.h"

#include <string>

namespace vofs {
namespace {

// The loaded libraries, shared by every thread: type information is immutable once
// loaded, so only the first load is guarded.
class LoadedLibraries {
public:
    HRESULT Find(REFIID iid, ITypeInfo** info) {
        AcquireSRWLockExclusive(&lock_);
        HRESULT result = EnsureLoaded();
        if (SUCCEEDED(result)) {
            result = published_->GetTypeInfoOfGuid(iid, info);
            if (FAILED(result) && internal_) result = internal_->GetTypeInfoOfGuid(iid, info);
        }
        ReleaseSRWLockExclusive(&lock_);
        return result;
    }

private:
    HRESULT EnsureLoaded() {
        if (published_) return S_OK;
        const HRESULT result = LoadModuleTypeLibrary(TypeLibrary::Published, &published_);
        if (SUCCEEDED(result)) LoadModuleTypeLibrary(TypeLibrary::Internal, &internal_);
        return result;
    }

    SRWLOCK lock_ = SRWLOCK_INIT;
    ComPtr<ITypeLib> published_;
    ComPtr<ITypeLib> internal_;
};

LoadedLibraries& Libraries() {
    static LoadedLibraries libraries;
    return libraries;
}

}  // namespace

HRESULT LoadModuleTypeLibrary(TypeLibrary which, ITypeLib** library) {
    std::wstring path = module::FilePath();
    if (which == TypeLibrary::Internal) path += L"\\2";
    return LoadTypeLibEx(path.c_str(), REGKIND_NONE, library);
}

HRESULT TypeInfoOf(REFIID iid, ITypeInfo** info) {
    if (!info) return E_POINTER;
    *info = nullptr;
    return Libraries().Find(iid, info);
}

}  // namespace vofs
