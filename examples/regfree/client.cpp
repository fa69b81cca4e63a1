// A program that uses vofslib without registering it. Its own manifest (embedded) names
// the assembly VOSTREL.vofslib, and that assembly's manifest, beside vofslib.dll in the
// program's folder, lists the library's classes and type library: Windows finds
// VOFSL.FileSystemLib there, and nothing is read from or written to the registry.
// The program calls the library late-bound through IDispatch, as a script would, and
// early-bound through the type library's interface, as a compiled client would.

#include <windows.h>
#include <oleauto.h>

#include <initguid.h>

#include "vofslib_idl.h"

#include <cstdio>
#include <string>

namespace {

int failures = 0;

void Check(const char* what, const std::wstring& actual, const std::wstring& expected) {
    const bool same = actual == expected;
    failures += !same;
    std::printf("%s %s: %ls\n", same ? "ok  " : "FAIL", what, actual.c_str());
}

std::wstring Take(BSTR text) {
    std::wstring value = text ? text : L"";
    SysFreeString(text);
    return value;
}

}  // namespace

int wmain() {
    CoInitialize(nullptr);
    CLSID clsid;
    IDispatch* library = nullptr;
    HRESULT result = CLSIDFromProgID(L"VOFSL.FileSystemLib", &clsid);
    if (SUCCEEDED(result)) {
        result = CoCreateInstance(clsid, nullptr, CLSCTX_INPROC_SERVER, IID_IDispatch, reinterpret_cast<void**>(&library));
    }
    if (FAILED(result)) return std::printf("FAIL: VOFSL.FileSystemLib cannot be created (0x%08lX)\n", result), 1;

    // Late-bound: a member by name, an argument by value.
    LPOLESTR name = const_cast<LPOLESTR>(L"NormalizePath");
    DISPID id = 0;
    VARIANT argument, answer;
    VariantInit(&answer);
    V_VT(&argument) = VT_BSTR, V_BSTR(&argument) = SysAllocString(L"C:\\Reports");
    DISPPARAMS parameters{&argument, nullptr, 1, 0};
    result = library->GetIDsOfNames(IID_NULL, &name, 1, LOCALE_USER_DEFAULT, &id);
    if (SUCCEEDED(result)) {
        result = library->Invoke(id, IID_NULL, LOCALE_USER_DEFAULT, DISPATCH_METHOD, &parameters, &answer, nullptr, nullptr);
    }
    Check("IDispatch NormalizePath", SUCCEEDED(result) && V_VT(&answer) == VT_BSTR ? V_BSTR(&answer) : L"(failed)",
          L"C:\\Reports\\");
    VariantClear(&argument), VariantClear(&answer);

    // Early-bound: the type library's interface, and an object the library hands out.
    _FileSystemLib* early = nullptr;
    _Path* path = nullptr;
    BSTR text = nullptr, given = SysAllocString(L"C:\\Reports\\2026\\summary.txt");  // an [in] text stays the caller's
    result = library->QueryInterface(IID__FileSystemLib, reinterpret_cast<void**>(&early));
    if (SUCCEEDED(result)) result = early->GetPathObject(given, &path);
    SysFreeString(given);
    if (SUCCEEDED(result)) result = path->get_Name(&text);
    Check("_FileSystemLib GetPathObject, _Path Name", SUCCEEDED(result) ? Take(text) : L"(failed)", L"summary.txt");

    if (path) path->Release();
    if (early) early->Release();
    library->Release();
    CoUninitialize();
    std::printf(failures ? "REGFREE FAILED\n" : "REGFREE PASSED\n");
    return failures ? 1 : 0;
}
