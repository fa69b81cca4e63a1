// A hostile late-bound client of the real DLL, loaded by path (no registration needed).
//   dispatch_fuzzer.exe DLL SANDBOX fuzz SEED CALLS   random calls (argument counts, types,
//       names, flags) of every member of every dual interface of the objects reached
//   dispatch_fuzzer.exe DLL SANDBOX cycle ROUNDS      rounds of create, use and release
// Exit 1 for a call failing without error information or anything left behind, 3 for a
// crash, 4 for a hang, each naming the call. Arguments name only SANDBOX (a folder with a
// drive of its own); objects whose item lies outside it are not kept.

#include <windows.h>
#include <oleauto.h>
#include <psapi.h>
#include <wrl/client.h>

#include <atomic>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <random>
#include <string>
#include <vector>

using Microsoft::WRL::ComPtr;

namespace {

// A VARIANT cleared when it goes.
struct Var : VARIANT {
    Var() { VariantInit(this); }
    ~Var() { VariantClear(this); }
    Var(const Var&) = delete;
    Var& operator=(const Var&) = delete;
    IDispatch* Object() const { return vt == VT_DISPATCH ? pdispVal : nullptr; }
};

std::wstring g_sandbox;
std::atomic<ULONGLONG> g_callStart{0};
char g_call[1024];  // the call being made, for the crash and hang reports

[[noreturn]] void Stop(int code, const char* what) {
    std::fprintf(stderr, "%s during call: %s\n", what, g_call);
    std::fflush(stderr);
    TerminateProcess(GetCurrentProcess(), code);
    for (;;) {}
}

// A crash is reported with the module and offset where it happened.
LONG WINAPI OnCrash(EXCEPTION_POINTERS* e) {
    const auto address = reinterpret_cast<const char*>(e->ExceptionRecord->ExceptionAddress);
    HMODULE module = nullptr;
    char name[MAX_PATH] = "?";
    if (GetModuleHandleExA(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT, address, &module))
        GetModuleFileNameA(module, name, MAX_PATH);
    std::snprintf(g_call + std::strlen(g_call), 400, " (exception 0x%08lX at %s+0x%llx)", e->ExceptionRecord->ExceptionCode,
                  name, static_cast<unsigned long long>(address - reinterpret_cast<const char*>(module)));
    Stop(3, "CRASH");
}

DWORD WINAPI Watchdog(void*) {
    for (;;) {
        Sleep(1000);
        const ULONGLONG start = g_callStart;
        if (start && GetTickCount64() - start > 60000) Stop(4, "HANG");
    }
}

struct Object {
    ComPtr<IDispatch> dispatch;
    ComPtr<ITypeInfo> info;  // the interface's dispatch view
    std::wstring name;
};

// Every dual interface of the DLL's type library, by which objects are explored.
std::vector<std::pair<IID, ComPtr<ITypeInfo>>> g_interfaces;

std::wstring NameOf(ITypeInfo* info, MEMBERID id) {
    BSTR name = nullptr;
    info->GetDocumentation(id, &name, nullptr, nullptr, nullptr);
    std::wstring text = name ? name : L"?";
    SysFreeString(name);
    return text;
}

// Calls a member by name; the arguments are given last first, and consumed.
HRESULT Method(IDispatch* object, const wchar_t* name, VARIANT* result, std::vector<VARIANT> args = {},
               WORD flags = DISPATCH_METHOD | DISPATCH_PROPERTYGET) {
    DISPID id, put = DISPID_PROPERTYPUT;
    LPOLESTR names[] = {const_cast<LPOLESTR>(name)};
    HRESULT hr = object ? object->GetIDsOfNames(IID_NULL, names, 1, 0, &id) : E_POINTER;
    DISPPARAMS params{args.data(), &put, static_cast<UINT>(args.size()), flags == DISPATCH_PROPERTYPUT ? 1u : 0u};
    if (SUCCEEDED(hr)) hr = object->Invoke(id, IID_NULL, 0, flags, &params, result, nullptr, nullptr);
    for (VARIANT& arg : args) VariantClear(&arg);
    return hr;
}

// An item outside the sandbox is never kept: a destructive member must not reach it.
bool InsideSandbox(IUnknown* object) {
    ComPtr<IDispatch> item;
    static const IID folderItem = [] {
        for (auto& [iid, info] : g_interfaces) if (NameOf(info.Get(), MEMBERID_NIL) == L"_IFolderItem") return iid;
        return IID_NULL;
    }();
    if (FAILED(object->QueryInterface(folderItem, reinterpret_cast<void**>(item.GetAddressOf())))) return true;
    Var path, text;
    return SUCCEEDED(Method(item.Get(), L"Path", &path)) && path.Object() &&
           SUCCEEDED(Method(path.Object(), L"FullPath", &text)) && text.vt == VT_BSTR &&
           _wcsnicmp(text.bstrVal, g_sandbox.c_str(), g_sandbox.size()) == 0;
}

// The sandbox's few files and folders, made again now and then (members delete them).
void MakeSandboxFiles() {
    CreateDirectoryW((g_sandbox + L"a").c_str(), nullptr);
    CreateDirectoryW((g_sandbox + L"a\\b").c_str(), nullptr);
    for (const wchar_t* name : {L"a\\x.txt", L"a\\b\\y.bin", L"z.txt"}) {
        HANDLE file = CreateFileW((g_sandbox + name).c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, 0, nullptr);
        DWORD written;
        if (file != INVALID_HANDLE_VALUE) WriteFile(file, "content\r\n", 9, &written, nullptr), CloseHandle(file);
    }
}

VARIANT Text(const std::wstring& text) { VARIANT v; V_VT(&v) = VT_BSTR, V_BSTR(&v) = SysAllocString(text.c_str()); return v; }
VARIANT Long(LONG number) { VARIANT v; V_VT(&v) = VT_I4, V_I4(&v) = number; return v; }

class Fuzzer {
public:
    Fuzzer(unsigned seed) : random_(seed) {}

    // Keeps an object under each dual interface it answers; takes a few items of an enumerator.
    void Admit(IUnknown* object) {
        if (!object || !InsideSandbox(object)) return;
        for (auto& [iid, info] : g_interfaces) {
            ComPtr<IDispatch> face;
            if (SUCCEEDED(object->QueryInterface(iid, reinterpret_cast<void**>(face.GetAddressOf())))) {
                Keep({face, info, NameOf(info.Get(), MEMBERID_NIL)});
            }
        }
        ComPtr<IEnumVARIANT> items;
        if (SUCCEEDED(object->QueryInterface(IID_PPV_ARGS(&items)))) {
            VARIANT got[3] = {};
            ULONG count = 0;
            items->Next(Pick(4), got, &count);
            if (Pick(2)) items->Reset();
            for (ULONG i = 0; i < count && i < 3; ++i) {
                if (V_VT(&got[i]) == VT_DISPATCH) Admit(V_DISPATCH(&got[i]));
                VariantClear(&got[i]);
            }
        }
    }

    // The objects admitted so far stay for the whole campaign.
    void KeepAsRoots() { roots_ = pool_.size(); }

    void Run(unsigned calls, unsigned& unexplained) {
        for (unsigned n = 0; n < calls && !pool_.empty(); ++n) {
            if (n % 500 == 0) MakeSandboxFiles();
            Object target = pool_[Pick(Pick(4) ? pool_.size() : roots_)];
            TYPEATTR* type;
            target.info->GetTypeAttr(&type);
            const UINT functions = type->cFuncs;
            target.info->ReleaseTypeAttr(type);
            FUNCDESC* f;
            if (functions == 0 || FAILED(target.info->GetFuncDesc(Pick(functions), &f))) continue;
            const std::wstring member = NameOf(target.info.Get(), f->memid);
            if (member != L"BrowseToFolder") unexplained += !CallOnce(target, *f, member);  // modal dialog
            target.info->ReleaseFuncDesc(f);
        }
    }

    void Clear() { pool_.clear(); }

private:
    size_t Pick(size_t n) { return n ? random_() % n : 0; }

    void Keep(Object object) {
        if (reached_.find(object.name + L" ") == std::wstring::npos) reached_ += object.name + L" ";
        if (pool_.size() < 48) pool_.push_back(std::move(object));
        else pool_[roots_ + Pick(pool_.size() - roots_)] = std::move(object);
    }

    // Arguments that would be the caller's own fault get harmless values: a number as a
    // stream buffer is a raw address in this process; a length or seek target over 1 MB
    // (or over 16 blank lines of a long NewLine) makes gigabytes a folder copy writes out;
    // a server or proxy could be any host, so sessions go to loopback, half of them to the
    // anonymous-only server (VOFS_VSFTPD_PORT), where nothing can be deleted or renamed.
    void KeepHarmless(IDispatch* library, const std::wstring& member, VARIANT* args, VARIANT* referenced, UINT count) {
        const auto argument = [&](UINT parameter) -> VARIANT& {
            VARIANT& given = args[count - 1 - parameter];
            return V_VT(&given) == (VT_BYREF | VT_VARIANT) ? referenced[count - 1 - parameter] : given;
        };
        const auto replace = [](VARIANT& value, VARIANT replacement) { VariantClear(&value), value = replacement; };
        if (count == 0) return;
        VARIANT& first = argument(0);
        if (member == L"FtpConnect" || member == L"ProxyAddress") {
            replace(first, Text(L"127.0.0.1"));
            static wchar_t port[16] = L"";
            static const LONG ftpPort = GetEnvironmentVariableW(L"VOFS_VSFTPD_PORT", port, 16) ? _wtol(port) : 0L;
            if (member != L"FtpConnect" || count < 8 || !ftpPort || Pick(2)) return;
            VARIANT anonymous, missing;
            V_VT(&anonymous) = VT_BOOL, V_BOOL(&anonymous) = VARIANT_TRUE;
            V_VT(&missing) = VT_ERROR, V_ERROR(&missing) = DISP_E_PARAMNOTFOUND;
            const VARIANT session[] = {{}, {}, {}, anonymous, Long(0), Long(1), Long(ftpPort), missing};
            for (UINT parameter = 1; parameter < 8; ++parameter)
                if (Pick(4)) replace(argument(parameter), session[parameter]);
            // Wine's WinInet refuses proxy credentials on FTP sessions (12009): the default
            // proxy record these sessions use loses its user name.
            Var proxy;
            if (SUCCEEDED(Method(library, L"DefaultProxy", &proxy)) && proxy.Object())
                Method(proxy.Object(), L"UserID", nullptr, {Text(L"")}, DISPATCH_PROPERTYPUT);
            return;
        }
        const bool transfer = member == L"ReadStream" || member == L"WriteStream";
        VARIANT number;
        VariantInit(&number);
        const double limit = member == L"WriteBlankLines" ? 16 : member == L"SetLength" || member == L"SeekPosition" ? 1 << 20 : 0;
        const bool large = limit && SUCCEEDED(VariantChangeType(&number, &first, 0, VT_R8)) && std::fabs(V_R8(&number)) > limit;
        if (large) replace(first, Long(static_cast<LONG>(random_() % static_cast<unsigned>(limit))));
        if (transfer && (V_VT(&first) == VT_I4 || V_VT(&first) == VT_I8)) replace(first, Text(L"buffer"));
    }

    std::wstring RandomText() {
        static const wchar_t* known[] = {L"", L"a", L"a\\x.txt", L"a\\b", L"z.txt", L"..", L".", L"*", L"*.txt",
                                         L"a\\..\\..\\..", L"ftp://host/a/b", L"ftp://u:p@host:21/x", L"\\\\srv\\sh\\x",
                                         L"con", L"a\\b\\c\\d\\e", L"\\", L"a/b", L"%TEMP%", L"?", L"\x00e9\x4e2d"};
        if (Pick(50) == 0) return LongText();
        if (Pick(3)) {
            std::wstring text = known[Pick(std::size(known))];
            return Pick(2) ? g_sandbox + text : text;
        }
        static const wchar_t alphabet[] = L"ab.\\/ *?<>|~%\t\x00e9";
        std::wstring text(Pick(Pick(8) ? 12 : 400), L'a');
        for (wchar_t& c : text) c = alphabet[Pick(std::size(alphabet) - 1)];
        return text;
    }

    // Texts longer than the platform carries: a chain of 35,000 folders below the sandbox,
    // 70,000 letters, and a name just over 32,767 characters.
    std::wstring LongText() {
        switch (Pick(3)) {
        case 0: {
            std::wstring chain = g_sandbox;
            for (int i = 0; i < 35000; ++i) chain += L"a\\";
            return chain;
        }
        case 1: return std::wstring(70000, L'a');
        default: return g_sandbox + std::wstring(32768 + Pick(3), L'n');
        }
    }

    // A value of the declared type half the time, of any type otherwise.
    void RandomValue(VARIANT& v, VARTYPE declared) {
        static const double doubles[] = {0, 0.5, -1, 1e10, -1e300, INFINITY, -INFINITY, NAN, 45000.25};
        static const LONG longs[] = {0, 1, -1, 2, 3, 5, 18, 0x7FFFFFFF, LONG(0x80000000), 65536};
        int choice = static_cast<int>(Pick(15));
        if (Pick(2)) {
            choice = declared == VT_BSTR ? 7 : declared == VT_BOOL ? 8 : declared == VT_PTR ? 11
                   : declared == VT_R8 || declared == VT_DATE ? 5 : declared == VT_VARIANT ? choice : 3;
        }
        switch (choice) {
        case 0: V_VT(&v) = VT_EMPTY; break;
        case 1: V_VT(&v) = VT_NULL; break;
        case 2: V_VT(&v) = VT_ERROR, V_ERROR(&v) = DISP_E_PARAMNOTFOUND; break;
        case 3: V_VT(&v) = VT_I4, V_I4(&v) = longs[Pick(std::size(longs))]; break;
        case 4: V_VT(&v) = VT_I2, V_I2(&v) = static_cast<SHORT>(random_()); break;
        case 5: V_VT(&v) = Pick(2) ? VT_R8 : VT_DATE, V_R8(&v) = doubles[Pick(std::size(doubles))]; break;
        case 6: V_VT(&v) = VT_BSTR, V_BSTR(&v) = nullptr; break;
        case 7: V_VT(&v) = VT_BSTR, V_BSTR(&v) = SysAllocString(RandomText().c_str()); break;
        case 8: V_VT(&v) = VT_BOOL, V_BOOL(&v) = Pick(2) ? VARIANT_TRUE : static_cast<VARIANT_BOOL>(random_()); break;
        case 9: {
            DECIMAL d;  // often malformed: scale above 28, stray sign bits
            for (auto* b = reinterpret_cast<unsigned char*>(&d); b < reinterpret_cast<unsigned char*>(&d + 1); ++b)
                *b = static_cast<unsigned char>(Pick(3) ? 0 : random_());
            V_DECIMAL(&v) = d, V_VT(&v) = VT_DECIMAL;
            break;
        }
        case 10: V_VT(&v) = VT_CY, V_CY(&v).int64 = static_cast<LONGLONG>(random_()); break;
        case 11:
        case 12:
            V_VT(&v) = choice == 11 ? VT_DISPATCH : VT_UNKNOWN;
            V_DISPATCH(&v) = Pick(6) ? pool_[Pick(pool_.size())].dispatch.Get() : nullptr;
            if (V_DISPATCH(&v)) V_DISPATCH(&v)->AddRef();
            break;
        case 13: V_VT(&v) = VT_I8, V_I8(&v) = static_cast<LONGLONG>(random_()); break;
        default: {
            V_VT(&v) = VT_ARRAY | VT_UI1;
            V_ARRAY(&v) = SafeArrayCreateVector(VT_UI1, 0, static_cast<ULONG>(Pick(16)));
        }
        }
    }

    // Makes one call; false when it failed without explaining itself.
    bool CallOnce(const Object& target, const FUNCDESC& f, const std::wstring& member) {
        UINT declared = 0;
        while (declared < UINT(f.cParams) && !(f.lprgelemdescParam[declared].paramdesc.wParamFlags & PARAMFLAG_FRETVAL))
            ++declared;
        const UINT count = Pick(5) ? declared : static_cast<UINT>(Pick(declared + 3));
        std::vector<VARIANT> args(count), referenced(count);
        for (UINT i = 0; i < count; ++i) {
            const UINT parameter = count - 1 - i;  // rgvarg holds the last argument first
            const VARTYPE type = parameter < declared ? f.lprgelemdescParam[parameter].tdesc.vt : VT_VARIANT;
            VariantInit(&args[i]), VariantInit(&referenced[i]);
            if (Pick(8) == 0) {
                RandomValue(referenced[i], type);
                V_VT(&args[i]) = VT_BYREF | VT_VARIANT, V_VARIANTREF(&args[i]) = &referenced[i];
            } else {
                RandomValue(args[i], type);
            }
        }
        KeepHarmless(target.dispatch.Get(), member, args.data(), referenced.data(), count);
        WORD flags = f.invkind == INVOKE_FUNC ? DISPATCH_METHOD : static_cast<WORD>(f.invkind);
        if (Pick(10) == 0) flags = static_cast<WORD>(1 + Pick(8));
        std::vector<DISPID> names;
        if (flags & (DISPATCH_PROPERTYPUT | DISPATCH_PROPERTYPUTREF) && count) names.push_back(DISPID_PROPERTYPUT);
        else if (count && Pick(8) == 0) names.assign(1 + Pick(count), 0), names[0] = static_cast<DISPID>(Pick(count + 1));
        for (size_t i = 1; i < names.size(); ++i) names[i] = static_cast<DISPID>((names[0] + i) % (count + 1));
        DISPPARAMS params{args.data(), names.data(), count, static_cast<UINT>(names.size())};

        std::snprintf(g_call, sizeof g_call, "%ls.%ls flags %u, %u arguments (%u named)", target.name.c_str(),
                      member.c_str(), flags, count, static_cast<unsigned>(names.size()));
        for (UINT i = count; i-- > 0;) {
            const VARIANT& value = V_VT(&args[i]) == (VT_BYREF | VT_VARIANT) ? referenced[i] : args[i];
            std::snprintf(g_call + std::strlen(g_call), 24, " %svt%u", &value == &args[i] ? "" : "ref ", V_VT(&value));
            if (V_VT(&value) == VT_BSTR && V_BSTR(&value))
                std::snprintf(g_call + std::strlen(g_call), 48, " \"%.40ls\"", V_BSTR(&value));
        }
        Var result;
        EXCEPINFO exception{};
        UINT argumentError = ~0u;
        g_callStart = GetTickCount64();
        const HRESULT hr = target.dispatch->Invoke(f.memid, IID_NULL, 0, flags, &params, Pick(20) ? &result : nullptr,
                                                   &exception, &argumentError);
        g_callStart = 0;

        if (exception.pfnDeferredFillIn) exception.pfnDeferredFillIn(&exception);
        const bool described = (exception.scode || exception.wCode) && exception.bstrSource && *exception.bstrSource &&
                               exception.bstrDescription && *exception.bstrDescription;
        bool explained = SUCCEEDED(hr) || (hr == DISP_E_EXCEPTION && described) || hr == DISP_E_PARAMNOTOPTIONAL ||
                         hr == DISP_E_BADPARAMCOUNT || hr == DISP_E_MEMBERNOTFOUND || hr == DISP_E_NONAMEDARGS;
        if (hr == DISP_E_TYPEMISMATCH || hr == DISP_E_OVERFLOW || hr == DISP_E_PARAMNOTFOUND)
            explained = argumentError < count;
        ++outcomes_[SUCCEEDED(hr) ? 0 : hr == DISP_E_EXCEPTION ? 1 : 2];
        if (!explained) std::fprintf(stderr, "UNEXPLAINED 0x%08lX: %s\n", hr, g_call);
        SysFreeString(exception.bstrSource), SysFreeString(exception.bstrDescription);
        SysFreeString(exception.bstrHelpFile);
        if (result.vt == VT_DISPATCH || result.vt == VT_UNKNOWN) Admit(result.punkVal);
        for (UINT i = 0; i < count; ++i) VariantClear(&referenced[i]), VariantClear(&args[i]);
        return explained;
    }

    std::mt19937 random_;
    std::vector<Object> pool_;
    size_t roots_ = 0;

public:
    unsigned outcomes_[3] = {};  // succeeded, raised an automation error, refused by dispatch
    std::wstring reached_;  // the interfaces called
};

// Reads the parameterless properties of an object (every one, or only the first when
// `depth` is negative), and `depth` levels of the objects they give.
void Read(IDispatch* object, int depth) {
    ComPtr<ITypeInfo> info;
    TYPEATTR* type;
    if (!object || FAILED(object->GetTypeInfo(0, 0, &info)) || FAILED(info->GetTypeAttr(&type))) return;
    for (UINT i = 0; i < type->cFuncs; ++i) {
        FUNCDESC* f;
        if (FAILED(info->GetFuncDesc(i, &f))) continue;
        if (f->invkind == INVOKE_PROPERTYGET && f->cParams == 0) {
            Var result;
            DISPPARAMS none{};
            if (SUCCEEDED(object->Invoke(f->memid, IID_NULL, 0, DISPATCH_PROPERTYGET, &none, &result, nullptr, nullptr)) &&
                result.Object() && depth > 0)
                Read(result.Object(), depth - 1);
            if (depth < 0) i = type->cFuncs;
        }
        info->ReleaseFuncDesc(f);
    }
    info->ReleaseTypeAttr(type);
}

struct Usage { long handles; long long bytes; };

// Wine answers 0 to GetProcessHandleCount and to PrivateUsage, so handles are counted by
// the number a new handle gets (the lowest free slot, which open handles push up) and
// memory by the committed total.
Usage MeasureUsage() {
    HANDLE probe = nullptr;
    DuplicateHandle(GetCurrentProcess(), GetCurrentProcess(), GetCurrentProcess(), &probe, 0, FALSE,
                    DUPLICATE_SAME_ACCESS);
    const long slot = static_cast<long>(reinterpret_cast<ULONG_PTR>(probe) / 4);
    CloseHandle(probe);
    PROCESS_MEMORY_COUNTERS memory{};
    GetProcessMemoryInfo(GetCurrentProcess(), &memory, sizeof memory);
    return {slot, static_cast<long long>(memory.PagefileUsage)};
}

// One round: every creatable class made and read, and the objects a script reaches from
// them (an item, its folder's walk, a path, a volume of the collection) made, read and
// released. A deep round also reads what their object properties lead to.
bool CycleRound(const std::vector<ComPtr<IClassFactory>>& factories, bool deep) {
    const int depth = deep ? 1 : -1;
    for (const auto& factory : factories) {
        ComPtr<IDispatch> object;
        if (FAILED(factory->CreateInstance(nullptr, IID_PPV_ARGS(&object)))) return false;
        Read(object.Get(), depth);
        Var item, parent, walk, path, volume;
        VARIANT one{};
        V_VT(&one) = VT_I4, V_I4(&one) = 1;
        if (SUCCEEDED(Method(object.Get(), L"Item", &volume, {one}))) Read(volume.Object(), depth);
        if (SUCCEEDED(Method(object.Get(), L"GetFolderItem", &item, {Text(g_sandbox + L"a\\x.txt")}))) {
            Read(item.Object(), depth);
            if (SUCCEEDED(Method(item.Object(), L"Parent", &parent))) Method(parent.Object(), L"EnumFolder", &walk);
            for (Var more; walk.Object() && SUCCEEDED(Method(walk.Object(), L"GetNextItem", &more)) && more.boolVal;
                 VariantClear(&more))
                Read(walk.Object(), depth);
            if (SUCCEEDED(Method(object.Get(), L"GetPathObject", &path, {Text(g_sandbox + L"a\\x.txt")})))
                Read(path.Object(), depth);
        }
    }
    return true;
}

}  // namespace

int wmain(int argc, wchar_t** argv) {
    if (argc < 5) return std::fprintf(stderr, "usage: dispatch_fuzzer DLL SANDBOX fuzz SEED CALLS | cycle ROUNDS\n"), 2;
    SetUnhandledExceptionFilter(OnCrash);
    SetErrorMode(SEM_FAILCRITICALERRORS | SEM_NOGPFAULTERRORBOX);
    CloseHandle(CreateThread(nullptr, 0, Watchdog, nullptr, 0, nullptr));
    g_sandbox = argv[2];
    if (g_sandbox.back() != L'\\') g_sandbox += L'\\';
    SetCurrentDirectoryW(g_sandbox.c_str());
    CoInitialize(nullptr);

    HMODULE dll = LoadLibraryW(argv[1]);
    auto getClass = reinterpret_cast<HRESULT(WINAPI*)(REFCLSID, REFIID, void**)>(GetProcAddress(dll, "DllGetClassObject"));
    auto canUnload = reinterpret_cast<HRESULT(WINAPI*)()>(GetProcAddress(dll, "DllCanUnloadNow"));
    ComPtr<ITypeLib> library;
    if (!getClass || !canUnload || FAILED(LoadTypeLibEx(argv[1], REGKIND_NONE, &library)))
        return std::fprintf(stderr, "cannot load %ls\n", argv[1]), 2;
    std::vector<ComPtr<IClassFactory>> factories;
    for (UINT i = 0; i < library->GetTypeInfoCount(); ++i) {
        ComPtr<ITypeInfo> info;
        TYPEATTR* type;
        library->GetTypeInfo(i, &info);
        info->GetTypeAttr(&type);
        ComPtr<IClassFactory> factory;
        if (type->typekind == TKIND_DISPATCH && (type->wTypeFlags & TYPEFLAG_FDUAL)) g_interfaces.push_back({type->guid, info});
        if (type->typekind == TKIND_COCLASS && (type->wTypeFlags & TYPEFLAG_FCANCREATE) &&
            SUCCEEDED(getClass(type->guid, IID_PPV_ARGS(&factory))))
            factories.push_back(factory);
        info->ReleaseTypeAttr(type);
    }
    library.Reset();

    unsigned findings = 0;
    const std::wstring mode = argv[3];
    if (mode == L"fuzz" && argc >= 6) {
        const unsigned seed = static_cast<unsigned>(_wtoi(argv[4])), calls = static_cast<unsigned>(_wtoi(argv[5]));
        Fuzzer fuzzer(seed);
        for (auto& factory : factories) {
            ComPtr<IUnknown> object;
            if (SUCCEEDED(factory->CreateInstance(nullptr, IID_PPV_ARGS(&object)))) fuzzer.Admit(object.Get());
        }
        fuzzer.KeepAsRoots();
        fuzzer.Run(calls, findings);
        fuzzer.Clear();
        std::printf("seed %u: %u calls from %zu creatable classes: %u succeeded, %u raised an automation error, "
                    "%u refused by dispatch, %u without error information\n", seed, calls, factories.size(),
                    fuzzer.outcomes_[0], fuzzer.outcomes_[1], fuzzer.outcomes_[2], findings);
        std::printf("interfaces reached: %ls\n", fuzzer.reached_.c_str());
    } else if (mode == L"cycle") {
        MakeSandboxFiles();
        // Handles and memory are measured after a first hundred rounds have filled the
        // caches (BSTR cache, type information) and again at the end: a round that leaves
        // anything behind makes them grow with the round count.
        const int rounds = _wtoi(argv[4]);
        Usage settled{};
        for (int round = 0; round < rounds; ++round) {
            if (round == 100) settled = MeasureUsage();
            if (!CycleRound(factories, round % 100 == 0)) return std::fprintf(stderr, "round %d: a class could not be made\n", round), 1;
        }
        const Usage end = MeasureUsage();
        std::printf("%d rounds over %zu classes; from round 100 to the end: handles %+ld, committed memory %+lld KB\n",
                    rounds, factories.size(), end.handles - settled.handles, (end.bytes - settled.bytes) / 1024);
        if (rounds > 100 && (end.handles - settled.handles > 16 || end.bytes - settled.bytes > (4LL << 20)))
            ++findings, std::fprintf(stderr, "LEAK: handles or memory grow with the rounds\n");
    }
    factories.clear();
    g_interfaces.clear();
    CoFreeUnusedLibraries();
    if (canUnload() != S_OK) ++findings, std::fprintf(stderr, "LEAK: DllCanUnloadNow answers S_FALSE after the run\n");
    for (const wchar_t* name : {L"a\\b\\y.bin", L"a\\x.txt", L"z.txt"}) {
        const std::wstring file = g_sandbox + name;
        // Calls may have made it read-only, or replaced it with a folder of that name; only
        // an open handle keeps a file.
        const DWORD attributes = GetFileAttributesW(file.c_str());
        if (attributes == INVALID_FILE_ATTRIBUTES || (attributes & FILE_ATTRIBUTE_DIRECTORY)) continue;
        if (!SetFileAttributesW(file.c_str(), FILE_ATTRIBUTE_NORMAL) || !DeleteFileW(file.c_str()))
            ++findings, std::fprintf(stderr, "LEAK: %ls cannot be deleted (error %lu)\n", file.c_str(), GetLastError());
    }
    std::fflush(stdout);
    return findings ? 1 : 0;
}
