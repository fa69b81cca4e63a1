// The class template and the server entry points, through the real DLL where it matters.

#include "facade/file_system_lib.h"
#include "support/test_support.h"

namespace vofs::testing {
namespace {

TEST(ComObject, IdentityInterfacesAndOwnImplementation) {
    ComPtr<FileSystemLib> library = FileSystemLib::Make();
    ComPtr<IUnknown> unknown, viaDispatch;
    ComPtr<IDispatch> dispatch;
    ComPtr<_FileSystemLib> typed;
    ComPtr<IPersist> foreign;
    ComPtr<ISupportErrorInfo> errors;
    ASSERT_EQ(library.As(&unknown) | library.As(&dispatch) | dispatch.As(&viaDispatch), S_OK);
    EXPECT_EQ(unknown.Get(), viaDispatch.Get());
    EXPECT_EQ(unknown.As(&typed), S_OK);
    EXPECT_EQ(unknown.As(&foreign), E_NOINTERFACE);
    ASSERT_EQ(unknown.As(&errors), S_OK);
    EXPECT_EQ(errors->InterfaceSupportsErrorInfo(IID__FileSystemLib), S_OK);

    EXPECT_EQ(ImplementationOf<FileSystemLib>(dispatch.Get()), library.Get());
    ComPtr<ICreateErrorInfo> other;
    ASSERT_EQ(CreateErrorInfo(&other), S_OK);
    EXPECT_EQ(ImplementationOf<FileSystemLib>(other.Get()), nullptr) << "a foreign object is recognised";
    EXPECT_EQ(ImplementationOf<FileSystemLib>(nullptr), nullptr);
}

// The exported entry points of the built DLL, loaded as a COM runtime would load it.
TEST(ServerEntryPoints, ClassObjectsCreationAndUnloading) {
    HMODULE dll = LoadLibraryW((ProgramFolder() + L"\\vofslib.dll").c_str());
    ASSERT_NE(dll, nullptr);
    auto entry = [&](const char* name) { return reinterpret_cast<void*>(GetProcAddress(dll, name)); };
    auto getClassObject = reinterpret_cast<HRESULT(STDAPICALLTYPE*)(REFCLSID, REFIID, void**)>(entry("DllGetClassObject"));
    auto canUnloadNow = reinterpret_cast<HRESULT(STDAPICALLTYPE*)()>(entry("DllCanUnloadNow"));
    ASSERT_TRUE(getClassObject && canUnloadNow && entry("DllRegisterServer") && entry("DllUnregisterServer") &&
                entry("DllInstall"));

    ComPtr<IClassFactory> factory;
    ComPtr<IUnknown> outer, refused;
    EXPECT_EQ(getClassObject(CLSID_Path, IID_PPV_ARGS(&factory)), CLASS_E_CLASSNOTAVAILABLE) << "not creatable";
    EXPECT_EQ(getClassObject(IID_IUnknown, IID_PPV_ARGS(&factory)), CLASS_E_CLASSNOTAVAILABLE);
    EXPECT_EQ(canUnloadNow(), S_OK);
    ASSERT_EQ(getClassObject(CLSID_FileSystemLib, IID_PPV_ARGS(&factory)), S_OK);
    EXPECT_EQ(canUnloadNow(), S_FALSE) << "a held class object keeps the module";
    factory.As(&outer);
    EXPECT_EQ(factory->CreateInstance(outer.Get(), IID_PPV_ARGS(&refused)), CLASS_E_NOAGGREGATION);
    EXPECT_EQ(factory->CreateInstance(nullptr, IID_IClassFactory, reinterpret_cast<void**>(refused.GetAddressOf())),
              E_NOINTERFACE);
    outer.Reset();

    // A created object used as a client would, leaving an error behind, and a server lock.
    ComPtr<_FileSystemLib> library;
    ASSERT_EQ(factory->CreateInstance(nullptr, IID_PPV_ARGS(&library)), S_OK);
    factory->LockServer(TRUE);
    factory.Reset();
    Bstr temp;
    EXPECT_EQ(library->GetTempFolderPath(temp.Receive()), S_OK);
    EXPECT_TRUE(FAILED(library->put_WideCallSupport(static_cast<WideCallSupportOptions>(9))));
    library.Reset();
    EXPECT_EQ(canUnloadNow(), S_FALSE) << "the server lock is still held";
    ASSERT_EQ(getClassObject(CLSID_FileSystemLib, IID_PPV_ARGS(&factory)), S_OK);
    factory->LockServer(FALSE);
    factory.Reset();
    EXPECT_EQ(canUnloadNow(), S_OK);
    FreeLibrary(dll);
}

}  // namespace
}  // namespace vofs::testing
