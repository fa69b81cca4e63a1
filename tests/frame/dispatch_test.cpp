// Late binding as script hosts use it: names, omitted optional arguments, in/out
// arguments given as variables or literals, and errors through EXCEPINFO.

#include "facade/file_system_lib.h"
#include "support/test_support.h"

#include <gtest/gtest.h>

#include <vector>

namespace vofs::testing {
namespace {

class LateBinding : public ::testing::Test {
protected:
    void SetUp() override { FileSystemLib::Make().As(&object_); }

    DISPID IdOf(const wchar_t* name) {
        DISPID id = DISPID_UNKNOWN;
        LPOLESTR names[] = {const_cast<LPOLESTR>(name)};
        EXPECT_EQ(object_->GetIDsOfNames(IID_NULL, names, 1, LOCALE_USER_DEFAULT, &id), S_OK) << "name lookup";
        return id;
    }

    // Calls a method; arguments are given first to last (DISPPARAMS wants them reversed).
    HRESULT Call(const wchar_t* name, std::vector<VARIANT> arguments, Variant& result, EXCEPINFO& exception,
                 WORD flags = DISPATCH_METHOD) {
        std::vector<VARIANT> reversed(arguments.rbegin(), arguments.rend());
        DISPPARAMS params{reversed.data(), nullptr, static_cast<UINT>(reversed.size()), 0};
        exception = EXCEPINFO{};
        UINT argumentError = 0;
        return object_->Invoke(IdOf(name), IID_NULL, LOCALE_USER_DEFAULT, flags, &params, result.Get(), &exception,
                               &argumentError);
    }

    ComPtr<IDispatch> object_;
};

TEST_F(LateBinding, NamesAreFoundWhateverTheirCase) {
    DISPID exact = IdOf(L"GetTempFolderPath");
    DISPID mixed = IdOf(L"gettempFOLDERpath");
    EXPECT_EQ(exact, mixed);
    ComPtr<ITypeInfo> info;
    ASSERT_EQ(object_->GetTypeInfo(0, LOCALE_USER_DEFAULT, &info), S_OK);
    Bstr name;
    info->GetDocumentation(MEMBERID_NIL, name.Receive(), nullptr, nullptr, nullptr);
    EXPECT_EQ(name.View(), L"_FileSystemLib");
}

TEST_F(LateBinding, OmittedOptionalArgumentsTakeTheirDefaults) {
    Variant result;
    EXCEPINFO exception;
    ASSERT_EQ(Call(L"GetUniqueTempName", {}, result, exception), S_OK);
    const std::wstring name = ToString(*result.Get());
    EXPECT_EQ(name.substr(name.size() - 4), L".tmp");
    EXPECT_NE(name.find(L"~0"), std::wstring::npos);
}

TEST_F(LateBinding, InOutArgumentTakesAVariableOrALiteral) {
    // A variable arrives by reference and sees the value written back.
    Variant variable = Variant::FromLong(-1);
    VARIANT reference;
    V_VT(&reference) = VT_BYREF | VT_VARIANT;
    V_VARIANTREF(&reference) = variable.Get();
    Variant result;
    EXCEPINFO exception;
    ASSERT_EQ(Call(L"SetErrorMode", {reference}, result, exception), S_OK);
    EXPECT_EQ(V_VT(variable.Get()), VT_I4);
    EXPECT_EQ(V_I4(variable.Get()), static_cast<LONG>(0xFFFF8001));

    // A literal arrives by value and works as well.
    Variant literal = Variant::FromLong(0);
    Variant previous;
    ASSERT_EQ(Call(L"SetErrorMode", {*literal.Get()}, previous, exception), S_OK);
    EXPECT_EQ(ToLong(*previous.Get()), static_cast<LONG>(0xFFFF8001));
    EXPECT_EQ(V_I4(literal.Get()), 0) << "the caller's literal is not touched";
}

TEST_F(LateBinding, StrictGivenByReferenceIsRead) {
    Variant strict = Variant::FromBool(true);
    VARIANT reference;
    V_VT(&reference) = VT_BYREF | VT_VARIANT;
    V_VARIANTREF(&reference) = strict.Get();
    Variant folder = Variant::FromString(ProgramFolder());
    Variant result;
    EXCEPINFO exception;
    ASSERT_EQ(Call(L"FileExists", {*folder.Get(), reference}, result, exception), S_OK);
    EXPECT_EQ(V_BOOL(result.Get()), VARIANT_FALSE) << "a folder is not a file when strict";
    ASSERT_EQ(Call(L"FileExists", {*folder.Get()}, result, exception), S_OK);
    EXPECT_EQ(V_BOOL(result.Get()), VARIANT_TRUE);
}

TEST_F(LateBinding, ErrorsArriveThroughExcepinfo) {
    Variant value = Variant::FromLong(9);
    VARIANT arguments[] = {*value.Get()};
    DISPID named = DISPID_PROPERTYPUT;
    DISPPARAMS params{arguments, &named, 1, 1};
    EXCEPINFO exception{};
    UINT argumentError = 0;
    const HRESULT result = object_->Invoke(IdOf(L"WideCallSupport"), IID_NULL, LOCALE_USER_DEFAULT,
                                           DISPATCH_PROPERTYPUT, &params, nullptr, &exception, &argumentError);
    ASSERT_EQ(result, DISP_E_EXCEPTION);
    EXPECT_EQ(exception.scode, RunTime(5));
    EXPECT_EQ(Bstr::View(exception.bstrSource), L"FileSystemLib");
    EXPECT_EQ(Bstr::View(exception.bstrDescription), L"Invalid procedure call or argument");
    SysFreeString(exception.bstrSource);
    SysFreeString(exception.bstrDescription);
    SysFreeString(exception.bstrHelpFile);
}

}  // namespace
}  // namespace vofs::testing
