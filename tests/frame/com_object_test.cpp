// The class template and the server entry points, through the real DLL where it matters.

#include "facade/file_system_lib.h"
#include "frame/module.h"
#include "support/test_support.h"

#include <gtest/gtest.h>

namespace vofs::testing {
namespace {

TEST(ComObject, IdentityInterfacesOwnImplementationAndObjectCount) {
    const long before = module::LiveObjects();
    {
        ComPtr<FileSystemLib> library = FileSystemLib::Make();
        ComPtr<IUnknown> unknown, viaDispatch;
        ComPtr<IDispatch> dispatch;
        ComPtr<_FileSystemLib> typed;
        ComPtr<IPersist> foreign;
        ComPtr<ISupportErrorInfo> errors;
        ASSERT_EQ(library.As(&unknown), S_OK);
        ASSERT_EQ(library.As(&dispatch), S_OK);
        ASSERT_EQ(dispatch.As(&viaDispatch), S_OK);
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
        EXPECT_EQ(module::LiveObjects(), before + 1);
    }
    EXPECT_EQ(module::LiveObjects(), before);
}

// The exported entry points of the built DLL, loaded as a COM runtime would load it.
class ServerEntryPoints : public ::testing::Test {
protected:
    void SetUp() override {
        dll_ = LoadLibraryW((ProgramFolder() + L"\\vofslib.dll").c_str());
        ASSERT_NE(dll_, nullptr);
        getClassObject_ = reinterpret_cast<decltype(getClassObject_)>(
            reinterpret_cast<void*>(GetProcAddress(dll_, "DllGetClassObject")));
        canUnloadNow_ = reinterpret_cast<decltype(canUnloadNow_)>(
            reinterpret_cast<void*>(GetProcAddress(dll_, "DllCanUnloadNow")));
        ASSERT_TRUE(getClassObject_ && canUnloadNow_);
        ASSERT_TRUE(GetProcAddress(dll_, "DllRegisterServer") && GetProcAddress(dll_, "DllUnregisterServer") &&
                    GetProcAddress(dll_, "DllInstall"));
    }
    void TearDown() override {
        if (dll_) FreeLibrary(dll_);
    }

    HMODULE dll_ = nullptr;
    HRESULT(STDAPICALLTYPE* getClassObject_)(REFCLSID, REFIID, void**) = nullptr;
    HRESULT(STDAPICALLTYPE* canUnloadNow_)() = nullptr;
};

TEST_F(ServerEntryPoints, CanUnloadOnlyWhenEveryObjectAndLockIsGone) {
    EXPECT_EQ(canUnloadNow_(), S_OK);
    ComPtr<IClassFactory> factory;
    ASSERT_EQ(getClassObject_(CLSID_FileSystemLib, IID_PPV_ARGS(&factory)), S_OK);
    EXPECT_EQ(canUnloadNow_(), S_FALSE) << "a held class object keeps the module";

    ComPtr<IDispatch> object;
    ASSERT_EQ(factory->CreateInstance(nullptr, IID_PPV_ARGS(&object)), S_OK);
    factory->LockServer(TRUE);
    factory.Reset();
    EXPECT_EQ(canUnloadNow_(), S_FALSE);

    // Use the object as a client would, and leave an error behind on purpose.
    ComPtr<_FileSystemLib> library;
    ASSERT_EQ(object.As(&library), S_OK);
    Bstr temp;
    EXPECT_EQ(library->GetTempFolderPath(temp.Receive()), S_OK);
    EXPECT_FALSE(temp.View().empty());
    EXPECT_TRUE(FAILED(library->put_WideCallSupport(static_cast<WideCallSupportOptions>(9))));
    library.Reset();
    object.Reset();
    EXPECT_EQ(canUnloadNow_(), S_FALSE) << "the server lock is still held";

    ASSERT_EQ(getClassObject_(CLSID_FileSystemLib, IID_PPV_ARGS(&factory)), S_OK);
    factory->LockServer(FALSE);
    factory.Reset();
    EXPECT_EQ(canUnloadNow_(), S_OK);
}

TEST_F(ServerEntryPoints, RefusesClassesCallersCannotCreateAndAggregation) {
    ComPtr<IClassFactory> factory;
    EXPECT_EQ(getClassObject_(CLSID_Path, IID_PPV_ARGS(&factory)), CLASS_E_CLASSNOTAVAILABLE);
    EXPECT_EQ(getClassObject_(IID_IUnknown, IID_PPV_ARGS(&factory)), CLASS_E_CLASSNOTAVAILABLE);
    ASSERT_EQ(getClassObject_(CLSID_FileSystemLib, IID_PPV_ARGS(&factory)), S_OK);
    ComPtr<IUnknown> outer, object;
    factory.As(&outer);
    EXPECT_EQ(factory->CreateInstance(outer.Get(), IID_PPV_ARGS(&object)), CLASS_E_NOAGGREGATION);
    EXPECT_EQ(factory->CreateInstance(nullptr, IID_IClassFactory, reinterpret_cast<void**>(object.GetAddressOf())),
              E_NOINTERFACE);
    factory.Reset();
    outer.Reset();
    EXPECT_EQ(canUnloadNow_(), S_OK) << "failed creations leave nothing alive";
}

}  // namespace
}  // namespace vofs::testing
