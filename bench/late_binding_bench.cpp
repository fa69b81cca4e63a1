// Late-bound call costs of the registered library, measured in one run against the raw
// platform calls and against the peer (Scripting.FileSystemObject) doing the same work.
// Every figure is the best of several rounds, in nanoseconds (per call for the per-call
// figures); tools/bench.sh prints ratios.
//   vofslib_bench.exe FOLDER     FOLDER holds the files of the walk; a file in it is
//                                used for the per-call figures

#include <windows.h>
#include <oleauto.h>

#include "bench_support.h"

#include <algorithm>
#include <cstdio>
#include <string>
#include <vector>

namespace {


// An object called by name, with its ids looked up once (as a compiled client does).
class LateBound {
public:
    explicit LateBound(IDispatch* object = nullptr) : object_(object) {}
    LateBound(const LateBound&) = delete;
    LateBound(LateBound&& other) noexcept : object_(other.object_) { other.object_ = nullptr; }
    ~LateBound() {
        if (object_) object_->Release();
    }
    static LateBound Create(const wchar_t* progId) {
        CLSID clsid;
        if (FAILED(CLSIDFromProgID(progId, &clsid))) Fail("CLSIDFromProgID", E_FAIL);
        IDispatch* object = nullptr;
        const HRESULT made = CoCreateInstance(clsid, nullptr, CLSCTX_INPROC_SERVER, IID_IDispatch,
                                              reinterpret_cast<void**>(&object));
        if (FAILED(made)) Fail("CoCreateInstance", made);
        return LateBound(object);
    }

    DISPID Id(const wchar_t* name) const {
        DISPID id = 0;
        LPOLESTR names[] = {const_cast<LPOLESTR>(name)};
        if (FAILED(object_->GetIDsOfNames(IID_NULL, names, 1, LOCALE_USER_DEFAULT, &id))) Fail("GetIDsOfNames", E_FAIL);
        return id;
    }
    // Calls a member with arguments given first to last; returns the result.
    VARIANT Call(DISPID id, WORD flags, std::vector<VARIANT> arguments = {}) const {
        std::reverse(arguments.begin(), arguments.end());
        DISPPARAMS params{arguments.data(), nullptr, static_cast<UINT>(arguments.size()), 0};
        VARIANT result;
        VariantInit(&result);
        const HRESULT called =
            object_->Invoke(id, IID_NULL, LOCALE_USER_DEFAULT, flags, &params, &result, nullptr, nullptr);
        if (FAILED(called)) Fail("Invoke", called);
        return result;
    }
    VARIANT Get(DISPID id, std::vector<VARIANT> arguments = {}) const {
        return Call(id, DISPATCH_PROPERTYGET | DISPATCH_METHOD, std::move(arguments));
    }
    LateBound Object(DISPID id, std::vector<VARIANT> arguments = {}) const {
        VARIANT result = Get(id, std::move(arguments));
        if (V_VT(&result) != VT_DISPATCH) Fail("an object result", E_FAIL);
        return LateBound(V_DISPATCH(&result));
    }

private:
    IDispatch* object_;
};

VARIANT Text(const std::wstring& text) {
    VARIANT value;
    V_VT(&value) = VT_BSTR;
    V_BSTR(&value) = SysAllocString(text.c_str());
    return value;
}

void Drop(VARIANT value) { VariantClear(&value); }

void Report(const char* name, double seconds) { std::printf("%s %.0f\n", name, seconds * 1e9); }

}  // namespace

int wmain(int argc, wchar_t** argv) {
    if (argc < 2) {
        std::printf("usage: vofslib_bench FOLDER\n");
        return 2;
    }
    CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
    const std::wstring folder = argv[1];
    const std::wstring sample = folder + L"\\file00001.txt";
    constexpr int kRounds = 5;
    // The callers' own strings, made once, as a script's variables are.
    VARIANT folderText = Text(folder), sampleText = Text(sample);
    {
        // The walk: every entry's name and size.
        const double raw = Best(kRounds, [&] {
            WIN32_FIND_DATAW entry;
            HANDLE search = FindFirstFileW((folder + L"\\*.*").c_str(), &entry);
            size_t total = 0;
            do {
                total += wcslen(entry.cFileName) + entry.nFileSizeLow;
            } while (FindNextFileW(search, &entry));
            FindClose(search);
            if (total == 0) Fail("the raw walk", E_FAIL);
        });
        Report("walk.raw", raw);

        LateBound lib = LateBound::Create(L"VOFSL.FileSystemLib");
        const DISPID enumFolder = lib.Id(L"EnumFolder");
        LateBound probe = lib.Object(enumFolder, {folderText});
        const DISPID name = probe.Id(L"Name"), size = probe.Id(L"Size"), next = probe.Id(L"GetNextItem");
        const double library = Best(kRounds, [&] {
            LateBound entries = lib.Object(enumFolder, {folderText});
            for (;;) {
                Drop(entries.Get(name));
                Drop(entries.Get(size));
                VARIANT more = entries.Call(next, DISPATCH_METHOD);
                if (!V_BOOL(&more)) break;
            }
        });
        Report("walk.vofslib", library);

        // Per-call costs: a trivial property get, and a path's text members.
        constexpr int kCalls = 100000;
        LateBound path = lib.Object(lib.Id(L"GetPathObject"), {sampleText});
        const DISPID pathName = path.Id(L"Name");
        Report("get.vofslib", Best(kRounds, [&] {
                   for (int i = 0; i < kCalls; ++i) Drop(path.Get(pathName));
               }) / kCalls);
        LateBound fso = LateBound::Create(L"Scripting.FileSystemObject");
        LateBound file = fso.Object(fso.Id(L"GetFile"), {sampleText});
        const DISPID fileName = file.Id(L"Name");
        Report("get.fso", Best(kRounds, [&] {
                   for (int i = 0; i < kCalls; ++i) Drop(file.Get(fileName));
               }) / kCalls);

        constexpr int kPaths = 20000;
        const DISPID getPath = lib.Id(L"GetPathObject");
        const DISPID pathMembers[] = {path.Id(L"Name"), path.Id(L"Extension"), path.Id(L"RootPath"),
                                      path.Id(L"RelativePath"), path.Id(L"FullPath")};
        Report("path5.vofslib", Best(kRounds, [&] {
                   for (int i = 0; i < kPaths; ++i) {
                       LateBound made = lib.Object(getPath, {sampleText});
                       for (DISPID member : pathMembers) Drop(made.Get(member));
                   }
               }) / kPaths);
        const DISPID fsoMembers[] = {fso.Id(L"GetFileName"), fso.Id(L"GetExtensionName"), fso.Id(L"GetBaseName"),
                                     fso.Id(L"GetParentFolderName"), fso.Id(L"GetDriveName")};
        Report("path5.fso", Best(kRounds, [&] {
                   for (int i = 0; i < kPaths; ++i) {
                       for (DISPID member : fsoMembers) Drop(fso.Call(member, DISPATCH_METHOD, {sampleText}));
                   }
               }) / kPaths);
    }
    VariantClear(&folderText);
    VariantClear(&sampleText);
    CoUninitialize();
    return 0;
}
