// Late binding as script hosts use it, and as hostile callers abuse it: names, omitted
// and named arguments, in/out arguments given as variables or literals, refusals with the
// argument's position, errors through EXCEPINFO, and nothing kept after any call.

#include "facade/file_system_lib.h"
#include "support/test_support.h"

#include <gtest/gtest.h>

#include <vector>

namespace vofs::testing {
namespace {

struct Outcome {
    HRESULT result;
    UINT argumentError;
    Variant value;
    std::wstring source, description;
};

DISPID IdOf(IDispatch* object, const wchar_t* name) {
    DISPID id = DISPID_UNKNOWN;
    LPOLESTR names[] = {const_cast<LPOLESTR>(name)};
    object->GetIDsOfNames(IID_NULL, names, 1, LOCALE_USER_DEFAULT, &id);
    return id;
}

// Calls a member by name with arguments given first to last (by reference where asked);
// `named` names the leading arguments' parameter positions.
Outcome Call(IDispatch* object, const wchar_t* name, std::vector<VARIANT> arguments, WORD flags = DISPATCH_METHOD,
             std::vector<DISPID> named = {}) {
    std::vector<VARIANT> reversed(arguments.rbegin(), arguments.rend());
    std::vector<DISPID> names(named.rbegin(), named.rend());
    DISPPARAMS params{reversed.data(), names.data(), static_cast<UINT>(reversed.size()), static_cast<UINT>(names.size())};
    EXCEPINFO exception{};
    Outcome outcome{S_OK, ~0u, {}, {}, {}};
    outcome.result = object->Invoke(IdOf(object, name), IID_NULL, LOCALE_USER_DEFAULT, flags, &params,
                                    outcome.value.Get(), &exception, &outcome.argumentError);
    outcome.source = Bstr::View(exception.bstrSource);
    outcome.description = Bstr::View(exception.bstrDescription);
    if (exception.scode) outcome.result = exception.scode;
    for (BSTR text : {exception.bstrSource, exception.bstrDescription, exception.bstrHelpFile}) SysFreeString(text);
    return outcome;
}

VARIANT Date(double value) { VARIANT v{}; V_VT(&v) = VT_DATE, V_DATE(&v) = value; return v; }
VARIANT Long(LONG value) { VARIANT v{}; V_VT(&v) = VT_I4, V_I4(&v) = value; return v; }
VARIANT Object(IDispatch* object) { VARIANT v{}; V_VT(&v) = VT_DISPATCH, V_DISPATCH(&v) = object; return v; }  // borrowed
VARIANT Reference(Variant& target) { VARIANT v{}; V_VT(&v) = VT_BYREF | VT_VARIANT, V_VARIANTREF(&v) = target.Get(); return v; }
VARIANT MalformedDecimal() { VARIANT v{}; V_DECIMAL(&v).scale = 40, V_VT(&v) = VT_DECIMAL; return v; }  // scale above 28

class LateBinding : public ::testing::Test {
protected:
    void SetUp() override {
        FileSystemLib::Make().As(&lib_);
        volumes_.Attach(V_DISPATCH(Call(lib_.Get(), L"Volumes", {}, DISPATCH_PROPERTYGET).value.Get()));
        volumes_->AddRef();
    }
    // A string argument, kept until the test ends.
    VARIANT Text(const std::wstring& text) { return *texts_.emplace_back(Variant::FromString(text)).Get(); }

    ComPtr<IDispatch> lib_, volumes_;
    std::vector<Variant> texts_;
};

TEST_F(LateBinding, NamesAndParameterNamesAreFoundWhateverTheirCase) {
    EXPECT_EQ(IdOf(lib_.Get(), L"GetTempFolderPath"), IdOf(lib_.Get(), L"gettempFOLDERpath"));
    EXPECT_EQ(IdOf(lib_.Get(), L"NoSuchMember"), DISPID_UNKNOWN);
    LPOLESTR names[] = {const_cast<LPOLESTR>(L"fileexists"), const_cast<LPOLESTR>(L"STRICT")};
    DISPID ids[2];
    ASSERT_EQ(lib_->GetIDsOfNames(IID_NULL, names, 2, LOCALE_USER_DEFAULT, ids), S_OK);
    EXPECT_EQ(ids[1], 1);
}

TEST_F(LateBinding, ArgumentsBindByPositionNameDefaultOrReference) {
    const std::wstring name = ToString(*Call(lib_.Get(), L"GetUniqueTempName", {}).value.Get());
    EXPECT_EQ(name.substr(name.size() - 4), L".tmp") << "omitted arguments take their defaults";

    const std::wstring folder = ProgramFolder();
    Variant strict = Variant::FromBool(true);
    auto named = Call(lib_.Get(), L"FileExists", {Reference(strict), Text(folder)}, DISPATCH_METHOD, {1, 0});
    EXPECT_EQ(V_BOOL(named.value.Get()), VARIANT_FALSE) << "named, and strict read through its reference";
    EXPECT_EQ(V_BOOL(Call(lib_.Get(), L"FileExists", {Text(folder)}).value.Get()), VARIANT_TRUE);

    Variant mode = Variant::FromLong(-1);  // a variable sees the value written back, a literal does not change
    Call(lib_.Get(), L"SetErrorMode", {Reference(mode)});
    EXPECT_EQ(V_I4(mode.Get()), static_cast<LONG>(0xFFFF8001));
    Variant literal = Variant::FromLong(0);
    EXPECT_EQ(ToLong(*Call(lib_.Get(), L"SetErrorMode", {*literal.Get()}).value.Get()), static_cast<LONG>(0xFFFF8001));
    EXPECT_EQ(V_I4(literal.Get()), 0);
}

TEST_F(LateBinding, RefusedCallsNameTheArgumentAndKeepNoReference) {
    VARIANT nothing{}, volumes = Object(volumes_.Get());
    V_VT(&nothing) = VT_ERROR, V_ERROR(&nothing) = DISP_E_PARAMNOTFOUND;
    Variant malformed;
    *malformed.Get() = MalformedDecimal();
    struct Case {
        IDispatch* object;
        const wchar_t* member;
        std::vector<VARIANT> arguments;
        HRESULT expected;
        UINT position;  // in rgvarg, which holds the last argument first
    } cases[] = {
        {volumes_.Get(), L"BindToVolume", {Date(1e10)}, DISP_E_TYPEMISMATCH, 0},
        {lib_.Get(), L"FormatByteDisplay", {Text(L"1"), MalformedDecimal()}, DISP_E_TYPEMISMATCH, 0},
        {lib_.Get(), L"FtpConnect", {Text(L"h"), nothing, nothing, MalformedDecimal(), nothing}, DISP_E_TYPEMISMATCH, 1},
        {lib_.Get(), L"NameFromPath", {Reference(malformed)}, DISP_E_TYPEMISMATCH, 0},
        {lib_.Get(), L"FtpConnect", {Text(L"h"), nothing, nothing, nothing, nothing, nothing, nothing, volumes},
         DISP_E_TYPEMISMATCH, 0},
        {lib_.Get(), L"GetPathObject", {}, DISP_E_PARAMNOTOPTIONAL, ~0u},
        {lib_.Get(), L"GetPathObject", {nothing}, DISP_E_PARAMNOTOPTIONAL, ~0u},
        {volumes_.Get(), L"Item", {volumes, Text(L"x")}, RunTime(91), ~0u},  // Item(volumes) is Nothing
        {lib_.Get(), L"NormalizePath", {Text(L"a"), volumes}, DISP_E_BADPARAMCOUNT, ~0u},
    };
    volumes_->AddRef();
    const ULONG references = volumes_->Release();
    for (const Case& c : cases) {
        const Outcome outcome = Call(c.object, c.member, c.arguments, DISPATCH_METHOD | DISPATCH_PROPERTYGET);
        EXPECT_EQ(outcome.result, c.expected) << c.member;
        if (c.position != ~0u) {
            EXPECT_EQ(outcome.argumentError, c.position) << c.member;
        }
    }
    volumes_->AddRef();
    EXPECT_EQ(volumes_->Release(), references) << "no argument is kept by a refused call";
}

TEST_F(LateBinding, ExtraArgumentsGoToTheResultsDefaultMember) {
    const VARIANT one = Long(1);
    auto byPosition = Call(lib_.Get(), L"Volumes", {one}, DISPATCH_METHOD | DISPATCH_PROPERTYGET);
    EXPECT_EQ(byPosition.result, S_OK);
    EXPECT_EQ(byPosition.value.Type(), VT_DISPATCH);

    auto ftp = Call(lib_.Get(), L"GetPathObject", {Text(L"ftp://host")});
    auto parent = Call(V_DISPATCH(ftp.value.Get()), L"Parent", {one}, DISPATCH_METHOD | DISPATCH_PROPERTYGET);
    EXPECT_EQ(parent.result, RunTime(91)) << "Nothing has no default member";
    EXPECT_EQ(parent.source + L"|" + parent.description, L"Path|Object variable not set");
    auto name = Call(V_DISPATCH(ftp.value.Get()), L"Name", {one}, DISPATCH_METHOD | DISPATCH_PROPERTYGET);
    EXPECT_EQ(name.result, DISP_E_BADPARAMCOUNT) << "a text has no default member";
}

TEST_F(LateBinding, MemberErrorsArriveThroughExcepinfo) {
    auto put = Call(lib_.Get(), L"WideCallSupport", {Long(9)}, DISPATCH_PROPERTYPUT, {DISPID_PROPERTYPUT});
    EXPECT_EQ(put.result, RunTime(5));
    EXPECT_EQ(put.source + L"|" + put.description, L"FileSystemLib|Invalid procedure call or argument");
}

}  // namespace
}  // namespace vofs::testing
