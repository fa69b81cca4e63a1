#pragma once
// Helpers shared by the C++ tests.

#include "common/bstr.h"
#include "common/error.h"
#include "common/platform_headers.h"
#include "common/thread_state.h"
#include "common/variant.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <string_view>

namespace vofs::testing {

// The error a failed call left: its HRESULT and the thread's error information.
struct ErrorRecord {
    HRESULT number = S_OK;
    std::wstring source;
    std::wstring description;
};
ErrorRecord TakeError(HRESULT number);
// "Source 0x800A0005": where an error came from and its number, as one comparable text.
std::wstring Raised(std::wstring_view source, HRESULT number);
inline std::wstring Raised(const ErrorRecord& error) { return Raised(error.source, error.number); }

// The error an AutomationError-throwing library routine raised.
template <class Call>
ErrorRecord CaughtError(Call call) {
    try {
        call();
    } catch (const AutomationError& error) {
        return {error.Number(), error.Source(), error.Description()};
    }
    return {};
}

inline constexpr HRESULT RunTime(long number) { return static_cast<HRESULT>(0x800A0000UL | number); }
inline constexpr HRESULT System(long code) { return static_cast<HRESULT>(0x80070000UL + code); }

// A file's bytes.
std::string FileContents(const std::wstring& path);

// The folder of the running test program (the DLL is built next to it).
std::wstring ProgramFolder();

// A fresh folder under the temporary folder, removed with its contents at the end.
class ScratchFolder {
public:
    ScratchFolder();
    ~ScratchFolder();
    ScratchFolder(const ScratchFolder&) = delete;
    ScratchFolder& operator=(const ScratchFolder&) = delete;
    const std::wstring& Path() const { return path_; }
    // Path() + "\" + name
    std::wstring operator/(const std::wstring& name) const { return path_ + L"\\" + name; }
    // Writes a file with the given bytes below the folder.
    std::wstring WriteFile(const std::wstring& name, const std::string& content = {}) const;
    std::wstring MakeFolder(const std::wstring& name) const;

private:
    std::wstring path_;
};

// Restores this thread's WideCallSupport setting at the end of a test.
class WideCallSettingGuard {
public:
    WideCallSettingGuard() : saved_(ThisThread().wideCallSupport) {}
    ~WideCallSettingGuard() { ThisThread().wideCallSupport = saved_; }

private:
    long saved_;
};

inline Variant LongValue(LONG value) { return Variant::FromLong(value); }
inline Variant StringValue(const std::wstring& value) { return Variant::FromString(value); }
Variant DoubleValue(double value);
Variant NullValue();
// The value converted as oleaut32 converts it (VariantChangeType).
Variant Coerced(const Variant& value, VARTYPE type);
// An optional argument left out, as a script host passes it.
Variant Missing();
// A script variable passed to a member: a reference to the Variant that holds its value.
Variant ByReference(Variant& target);

std::string Narrow(std::wstring_view text);

// The value of an unsigned Decimal of scale 0, the shape precise values and large sizes take.
uint64_t PreciseOf(const Variant& value);

// The text or value an interface member hands out through its last parameter, which must
// succeed: TextOf(path, &_Path::get_Name), ValueOf<LONG>(path, &_Path::get_SegmentCount).
template <class Object, class Member, class... Arguments>
std::wstring TextOf(Object* object, Member member, Arguments... arguments) {
    Bstr text;
    EXPECT_EQ((object->*member)(arguments..., text.Receive()), S_OK);
    return std::wstring(text.View());
}
template <class Value, class Object, class Member, class... Arguments>
Value ValueOf(Object* object, Member member, Arguments... arguments) {
    Value value{};
    EXPECT_EQ((object->*member)(arguments..., &value), S_OK);
    return value;
}

}  // namespace vofs::testing
