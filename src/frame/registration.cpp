#include "frame/registration.h"

#include "common/bstr.h"
#include "common/handles.h"
#include "frame/class_table.h"
#include "frame/module.h"
#include "frame/type_library.h"

#include <string>
#include <vector>

namespace vofs::registration {
namespace {

constexpr wchar_t kUniversalMarshaler[] = L"{00020424-0000-0000-C000-000000000046}";

std::wstring GuidText(REFGUID guid) {
    wchar_t text[40] = {};
    StringFromGUID2(guid, text, 40);
    return text;
}

struct Value {
    std::wstring key;
    std::wstring name;  // empty: the key's default value
    std::wstring data;
};

// Everything registration writes under the classes root, and the keys it owns outright.
struct Plan {
    std::vector<Value> values;
    std::vector<std::wstring> ownedKeys;  // deleted whole by unregistration
    std::wstring typeLibraryKey;          // TypeLib\{LIBID}: removed when left empty
};

void AddClasses(Plan& plan, const std::wstring& libraryId, const std::wstring& version,
                const std::wstring& modulePath) {
    for (const CreatableClass& entry : CreatableClasses()) {
        const std::wstring classKey = L"CLSID\\" + GuidText(entry.clsid);
        const std::wstring progId = std::wstring(L"VOFSL.") + entry.name;
        plan.ownedKeys.push_back(classKey);
        plan.ownedKeys.push_back(progId);
        plan.values.push_back({classKey, L"", entry.name});
        plan.values.push_back({classKey + L"\\InprocServer32", L"", modulePath});
        plan.values.push_back({classKey + L"\\InprocServer32", L"ThreadingModel", L"Apartment"});
        plan.values.push_back({classKey + L"\\ProgID", L"", progId});
        plan.values.push_back({classKey + L"\\TypeLib", L"", libraryId});
        plan.values.push_back({classKey + L"\\Version", L"", version});
        plan.values.push_back({progId, L"", entry.name});
        plan.values.push_back({progId + L"\\CLSID", L"", GuidText(entry.clsid)});
    }
}

void AddInterfaces(Plan& plan, ITypeLib* library, const std::wstring& libraryId, const std::wstring& version) {
    const UINT count = library->GetTypeInfoCount();
    for (UINT index = 0; index < count; ++index) {
        ComPtr<ITypeInfo> info;
        if (FAILED(library->GetTypeInfo(index, &info))) continue;
        TYPEATTR* attributes = nullptr;
        if (FAILED(info->GetTypeAttr(&attributes))) continue;
        const bool dual = attributes->typekind == TKIND_DISPATCH && (attributes->wTypeFlags & TYPEFLAG_FDUAL);
        const GUID iid = attributes->guid;
        info->ReleaseTypeAttr(attributes);
        if (!dual) continue;
        Bstr name;
        library->GetDocumentation(static_cast<INT>(index), name.Receive(), nullptr, nullptr, nullptr);
        const std::wstring key = L"Interface\\" + GuidText(iid);
        plan.ownedKeys.push_back(key);
        plan.values.push_back({key, L"", std::wstring(name.View())});
        plan.values.push_back({key + L"\\ProxyStubClsid", L"", kUniversalMarshaler});
        plan.values.push_back({key + L"\\ProxyStubClsid32", L"", kUniversalMarshaler});
        plan.values.push_back({key + L"\\TypeLib", L"", libraryId});
        plan.values.push_back({key + L"\\TypeLib", L"Version", version});
    }
}

HRESULT MakePlan(Plan& plan) {
    ComPtr<ITypeLib> library;
    if (const HRESULT loaded = LoadModuleTypeLibrary(TypeLibrary::Published, &library); FAILED(loaded)) return loaded;
    TLIBATTR* attributes = nullptr;
    if (const HRESULT read = library->GetLibAttr(&attributes); FAILED(read)) return read;
    const std::wstring libraryId = GuidText(attributes->guid);
    const std::wstring version =
        std::to_wstring(attributes->wMajorVerNum) + L"." + std::to_wstring(attributes->wMinorVerNum);
    wchar_t locale[16] = {};
    wsprintfW(locale, L"%x", static_cast<unsigned>(attributes->lcid));
    // The 64-bit DLL carries a 64-bit type library, registered under win64.
    const wchar_t* platform = attributes->syskind == SYS_WIN64 ? L"win64" : L"win32";
    library->ReleaseTLibAttr(attributes);

    Bstr help;
    library->GetDocumentation(-1, nullptr, help.Receive(), nullptr, nullptr);
    const std::wstring modulePath = module::FilePath();
    const std::wstring folder = modulePath.substr(0, modulePath.find_last_of(L'\\'));

    plan.typeLibraryKey = L"TypeLib\\" + libraryId;
    const std::wstring versionKey = plan.typeLibraryKey + L"\\" + version;
    plan.ownedKeys.push_back(versionKey);
    plan.values.push_back({versionKey, L"", std::wstring(help.View())});
    plan.values.push_back({versionKey + L"\\" + locale + L"\\" + platform, L"", modulePath});
    plan.values.push_back({versionKey + L"\\FLAGS", L"", L"0"});
    plan.values.push_back({versionKey + L"\\HELPDIR", L"", folder});

    AddClasses(plan, libraryId, version, modulePath);
    AddInterfaces(plan, library.Get(), libraryId, version);
    return S_OK;
}

HRESULT OpenRoot(Scope scope, RegistryKey& root) {
    HKEY key = nullptr;
    const LONG opened = RegCreateKeyExW(scope == Scope::User ? HKEY_CURRENT_USER : HKEY_LOCAL_MACHINE,
                                        L"Software\\Classes", 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &key, nullptr);
    if (opened != ERROR_SUCCESS) return HRESULT_FROM_WIN32(opened);
    root.Reset(key);
    return S_OK;
}

LONG WriteValue(HKEY root, const Value& value) {
    HKEY created = nullptr;
    LONG result = RegCreateKeyExW(root, value.key.c_str(), 0, nullptr, 0, KEY_SET_VALUE, nullptr, &created, nullptr);
    if (result != ERROR_SUCCESS) return result;
    RegistryKey key(created);
    const auto bytes = static_cast<DWORD>((value.data.size() + 1) * sizeof(wchar_t));
    return RegSetValueExW(key.Get(), value.name.empty() ? nullptr : value.name.c_str(), 0, REG_SZ,
                          reinterpret_cast<const BYTE*>(value.data.c_str()), bytes);
}

bool HasSubkeysOrValues(HKEY root, const std::wstring& path) {
    HKEY opened = nullptr;
    if (RegOpenKeyExW(root, path.c_str(), 0, KEY_READ, &opened) != ERROR_SUCCESS) return true;
    RegistryKey key(opened);
    DWORD subkeys = 0, values = 0;
    if (RegQueryInfoKeyW(key.Get(), nullptr, nullptr, nullptr, &subkeys, nullptr, nullptr, &values, nullptr,
                         nullptr, nullptr, nullptr) != ERROR_SUCCESS) {
        return true;
    }
    return subkeys != 0 || values != 0;
}

void DeleteIfEmpty(HKEY root, const std::wstring& path) {
    if (!HasSubkeysOrValues(root, path)) RegDeleteKeyW(root, path.c_str());
}

}  // namespace

HRESULT Register(Scope scope) {
    Plan plan;
    if (const HRESULT made = MakePlan(plan); FAILED(made)) return made;
    RegistryKey root;
    if (const HRESULT opened = OpenRoot(scope, root); FAILED(opened)) return opened;
    for (const Value& value : plan.values) {
        if (const LONG written = WriteValue(root.Get(), value); written != ERROR_SUCCESS) {
            Unregister(scope);
            return HRESULT_FROM_WIN32(written);
        }
    }
    return S_OK;
}

HRESULT Unregister(Scope scope) {
    Plan plan;
    if (const HRESULT made = MakePlan(plan); FAILED(made)) return made;
    RegistryKey root;
    if (const HRESULT opened = OpenRoot(scope, root); FAILED(opened)) return opened;
    for (const std::wstring& key : plan.ownedKeys) {
        const LONG deleted = RegDeleteTreeW(root.Get(), key.c_str());
        if (deleted == ERROR_SUCCESS) RegDeleteKeyW(root.Get(), key.c_str());
    }
    DeleteIfEmpty(root.Get(), plan.typeLibraryKey);
    // A per-user root may have been empty before registration; leave it as it was.
    for (const wchar_t* container : {L"CLSID", L"TypeLib", L"Interface"}) DeleteIfEmpty(root.Get(), container);
    return S_OK;
}

}  // namespace vofs::registration
