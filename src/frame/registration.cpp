#include "frame/registration.h"

#include "common/bstr.h"
#include "common/handles.h"
#include "frame/class_table.h"
#include "frame/module.h"
#include "frame/type_library.h"

#include <cwchar>
#include <string>
#include <vector>

namespace vofs::registration {
namespace {

constexpr wchar_t kUniversalMarshaler[] = L"{00020424-0000-0000-C000-000000000046}";
// The other DLL's registry view, where this one's classes and interfaces are not.
constexpr REGSAM kOtherView = sizeof(void*) == 4 ? KEY_WOW64_64KEY : KEY_WOW64_32KEY;

std::wstring GuidText(REFGUID guid) {
    wchar_t text[40] = {};
    StringFromGUID2(guid, text, 40);
    return text;
}

std::wstring Hex(unsigned value) {
    wchar_t text[16] = {};
    std::swprintf(text, 16, L"%x", value);
    return text;
}

// What registration needs to know of the type library.
struct LibraryFacts {
    std::wstring libraryId;
    std::wstring version;      // "1c4.0"
    std::wstring platformKey;  // "409\win32" or "409\win64"
    std::wstring help;
    std::vector<std::pair<GUID, std::wstring>> interfaces;  // the dual ones, with their names

    std::wstring LibraryKey() const { return L"TypeLib\\" + libraryId; }
    std::wstring VersionKey() const { return LibraryKey() + L"\\" + version; }
};

HRESULT ReadFacts(ITypeLib* library, LibraryFacts& facts) {
    TLIBATTR* attributes = nullptr;
    if (const HRESULT read = library->GetLibAttr(&attributes); FAILED(read)) return read;
    facts.libraryId = GuidText(attributes->guid);
    facts.version = Hex(attributes->wMajorVerNum) + L"." + Hex(attributes->wMinorVerNum);
    // A 64-bit DLL carries a 64-bit type library, registered under win64.
    facts.platformKey = Hex(attributes->lcid) + (attributes->syskind == SYS_WIN64 ? L"\\win64" : L"\\win32");
    library->ReleaseTLibAttr(attributes);
    Bstr help;
    library->GetDocumentation(-1, nullptr, help.Receive(), nullptr, nullptr);
    facts.help.assign(help.View());

    for (UINT index = 0, count = library->GetTypeInfoCount(); index < count; ++index) {
        ComPtr<ITypeInfo> info;
        TYPEATTR* type = nullptr;
        if (FAILED(library->GetTypeInfo(index, &info)) || FAILED(info->GetTypeAttr(&type))) continue;
        const bool dual = type->typekind == TKIND_DISPATCH && (type->wTypeFlags & TYPEFLAG_FDUAL);
        const GUID iid = type->guid;
        info->ReleaseTypeAttr(type);
        if (!dual) continue;
        Bstr name;
        library->GetDocumentation(static_cast<INT>(index), name.Receive(), nullptr, nullptr, nullptr);
        facts.interfaces.emplace_back(iid, std::wstring(name.View()));
    }
    return S_OK;
}

std::wstring ClassKey(const CreatableClass& entry) { return L"CLSID\\" + GuidText(entry.clsid); }
std::wstring ProgId(const CreatableClass& entry) { return std::wstring(L"VOFSL.") + entry.name; }

std::vector<RegistryValue> Values(const LibraryFacts& facts, const std::wstring& modulePath) {
    const std::wstring versionKey = facts.VersionKey();
    std::vector<RegistryValue> values = {
        {versionKey, L"", facts.help, true},
        {versionKey + L"\\FLAGS", L"", L"0", true},
        {versionKey + L"\\" + facts.platformKey, L"", modulePath},
    };
    for (const CreatableClass& entry : CreatableClasses()) {
        const std::wstring classKey = ClassKey(entry), progId = ProgId(entry);
        values.insert(values.end(), {
            {classKey, L"", entry.name},
            {classKey + L"\\InprocServer32", L"", modulePath},
            {classKey + L"\\InprocServer32", L"ThreadingModel", L"Apartment"},
            {classKey + L"\\ProgID", L"", progId},
            {classKey + L"\\TypeLib", L"", facts.libraryId},
            {classKey + L"\\Version", L"", facts.version},
            {progId, L"", entry.name, true},
            {progId + L"\\CLSID", L"", GuidText(entry.clsid), true},
        });
    }
    for (const auto& [iid, name] : facts.interfaces) {
        const std::wstring key = L"Interface\\" + GuidText(iid);
        values.insert(values.end(), {
            {key, L"", name},
            {key + L"\\ProxyStubClsid", L"", kUniversalMarshaler},
            {key + L"\\ProxyStubClsid32", L"", kUniversalMarshaler},
            {key + L"\\TypeLib", L"", facts.libraryId},
            {key + L"\\TypeLib", L"Version", facts.version},
        });
    }
    return values;
}

HRESULT ModuleFacts(LibraryFacts& facts) {
    ComPtr<ITypeLib> library;
    if (const HRESULT loaded = LoadModuleTypeLibrary(TypeLibrary::Published, &library); FAILED(loaded)) return loaded;
    return ReadFacts(library.Get(), facts);
}

HRESULT OpenRoot(Scope scope, RegistryKey& root) {
    HKEY key = nullptr;
    const LONG opened = RegCreateKeyExW(scope == Scope::User ? HKEY_CURRENT_USER : HKEY_LOCAL_MACHINE,
                                        L"Software\\Classes", 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &key, nullptr);
    if (opened != ERROR_SUCCESS) return HRESULT_FROM_WIN32(opened);
    root.Reset(key);
    return S_OK;
}

LONG WriteValue(HKEY root, const RegistryValue& value) {
    HKEY created = nullptr;
    LONG result = RegCreateKeyExW(root, value.key.c_str(), 0, nullptr, 0, KEY_SET_VALUE, nullptr, &created, nullptr);
    if (result != ERROR_SUCCESS) return result;
    RegistryKey key(created);
    const auto bytes = static_cast<DWORD>((value.data.size() + 1) * sizeof(wchar_t));
    return RegSetValueExW(key.Get(), value.name.empty() ? nullptr : value.name.c_str(), 0, REG_SZ,
                          reinterpret_cast<const BYTE*>(value.data.c_str()), bytes);
}

bool KeyExists(HKEY root, const std::wstring& path, REGSAM view = 0) {
    HKEY opened = nullptr;
    if (RegOpenKeyExW(root, path.c_str(), 0, KEY_READ | view, &opened) != ERROR_SUCCESS) return false;
    RegCloseKey(opened);
    return true;
}

// The names of a key's subkeys (none when it cannot be opened).
std::vector<std::wstring> Subkeys(HKEY root, const std::wstring& path) {
    std::vector<std::wstring> names;
    HKEY opened = nullptr;
    if (RegOpenKeyExW(root, path.c_str(), 0, KEY_READ, &opened) != ERROR_SUCCESS) return names;
    RegistryKey key(opened);
    wchar_t name[256];
    for (DWORD index = 0, length = 256; RegEnumKeyExW(key.Get(), index, name, &length, nullptr, nullptr, nullptr,
                                                      nullptr) == ERROR_SUCCESS;
         ++index, length = 256) {
        names.emplace_back(name, length);
    }
    return names;
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

void DeleteTree(HKEY root, const std::wstring& path) {
    if (RegDeleteTreeW(root, path.c_str()) == ERROR_SUCCESS) RegDeleteKeyW(root, path.c_str());
}

void DeleteIfEmpty(HKEY root, const std::wstring& path) {
    if (!HasSubkeysOrValues(root, path)) RegDeleteKeyW(root, path.c_str());
}

// As the platform unregisters a type library: this platform's path key, then the version
// key when no other platform's path remains below it (FLAGS and HELPDIR do not count).
void UnregisterTypeLibrary(HKEY root, const LibraryFacts& facts) {
    const std::wstring versionKey = facts.VersionKey();
    const std::wstring platformKey = versionKey + L"\\" + facts.platformKey;
    RegDeleteKeyW(root, platformKey.c_str());
    DeleteIfEmpty(root, platformKey.substr(0, platformKey.rfind(L'\\')));
    for (const std::wstring& name : Subkeys(root, versionKey)) {
        if (_wcsicmp(name.c_str(), L"FLAGS") != 0 && _wcsicmp(name.c_str(), L"HELPDIR") != 0) return;
    }
    DeleteTree(root, versionKey);
    DeleteIfEmpty(root, facts.LibraryKey());
}

}  // namespace

HRESULT PlanValues(ITypeLib* library, const std::wstring& modulePath, std::vector<RegistryValue>& values) {
    LibraryFacts facts;
    if (const HRESULT read = ReadFacts(library, facts); FAILED(read)) return read;
    values = Values(facts, modulePath);
    return S_OK;
}

HRESULT Register(Scope scope) {
    LibraryFacts facts;
    if (const HRESULT made = ModuleFacts(facts); FAILED(made)) return made;
    RegistryKey root;
    if (const HRESULT opened = OpenRoot(scope, root); FAILED(opened)) return opened;
    for (const RegistryValue& value : Values(facts, module::FilePath())) {
        if (const LONG written = WriteValue(root.Get(), value); written != ERROR_SUCCESS) {
            Unregister(scope);
            return HRESULT_FROM_WIN32(written);
        }
    }
    return S_OK;
}

HRESULT Unregister(Scope scope) {
    LibraryFacts facts;
    if (const HRESULT made = ModuleFacts(facts); FAILED(made)) return made;
    RegistryKey root;
    if (const HRESULT opened = OpenRoot(scope, root); FAILED(opened)) return opened;
    for (const CreatableClass& entry : CreatableClasses()) DeleteTree(root.Get(), ClassKey(entry));
    for (const auto& [iid, name] : facts.interfaces) DeleteTree(root.Get(), L"Interface\\" + GuidText(iid));
    // A ProgID serves the other DLL's class of the same identifier too, while it is there.
    for (const CreatableClass& entry : CreatableClasses()) {
        if (!KeyExists(root.Get(), ClassKey(entry), kOtherView)) DeleteTree(root.Get(), ProgId(entry));
    }
    UnregisterTypeLibrary(root.Get(), facts);
    // A per-user root may have been empty before registration; leave it as it was.
    for (const wchar_t* container : {L"CLSID", L"TypeLib", L"Interface"}) DeleteIfEmpty(root.Get(), container);
    return S_OK;
}

}  // namespace vofs::registration
