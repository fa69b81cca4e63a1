#include "support/test_support.h"

#include <atomic>
#include <filesystem>
#include <fstream>
#include <sstream>

namespace vofs::testing {

ErrorRecord TakeError(HRESULT number) {
    ComPtr<IErrorInfo> info;
    Bstr source, description;
    if (GetErrorInfo(0, &info) == S_OK && info) {
        info->GetSource(source.Receive());
        info->GetDescription(description.Receive());
    }
    return {number, std::wstring(source.View()), std::wstring(description.View())};
}

std::wstring Raised(std::wstring_view source, HRESULT number) {
    wchar_t text[16] = {};
    swprintf(text, 16, L" 0x%08lX", static_cast<unsigned long>(number));
    return std::wstring(source) + text;
}

std::string FileContents(const std::wstring& path) {
    std::ostringstream bytes;
    bytes << std::ifstream(std::filesystem::path(path), std::ios::binary).rdbuf();
    return bytes.str();
}

std::wstring ProgramFolder() {
    wchar_t path[MAX_PATH] = {};
    GetModuleFileNameW(nullptr, path, MAX_PATH);
    std::wstring folder = path;
    return folder.substr(0, folder.find_last_of(L'\\'));
}

ScratchFolder::ScratchFolder() {
    static std::atomic<int> counter{0};
    wchar_t temp[MAX_PATH] = {};
    GetTempPathW(MAX_PATH, temp);
    path_ = std::wstring(temp) + L"vofs-test-" + std::to_wstring(GetCurrentProcessId()) + L"-" + std::to_wstring(++counter);
    CreateDirectoryW(path_.c_str(), nullptr);
}

ScratchFolder::~ScratchFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
}

std::wstring ScratchFolder::WriteFile(const std::wstring& name, const std::string& content) const {
    const std::wstring path = *this / name;
    std::ofstream(std::filesystem::path(path), std::ios::binary) << content;
    return path;
}

std::wstring ScratchFolder::MakeFolder(const std::wstring& name) const {
    const std::wstring path = *this / name;
    CreateDirectoryW(path.c_str(), nullptr);
    return path;
}

namespace {
template <class Fill>
Variant Made(VARTYPE type, Fill fill) {
    Variant result;
    V_VT(result.Get()) = type;
    fill(*result.Get());
    return result;
}
}  // namespace

Variant DoubleValue(double value) { return Made(VT_R8, [&](VARIANT& v) { V_R8(&v) = value; }); }
Variant NullValue() { return Made(VT_NULL, [](VARIANT&) {}); }
Variant Missing() { return Made(VT_ERROR, [](VARIANT& v) { V_ERROR(&v) = DISP_E_PARAMNOTFOUND; }); }
Variant ByReference(Variant& target) {
    return Made(VT_BYREF | VT_VARIANT, [&](VARIANT& v) { V_VARIANTREF(&v) = target.Get(); });
}
Variant Coerced(const Variant& value, VARTYPE type) {
    Variant result;
    EXPECT_EQ(VariantChangeType(result.Get(), const_cast<VARIANT*>(value.Get()), 0, type), S_OK);
    return result;
}

std::string Narrow(std::wstring_view text) {
    std::string result;
    for (wchar_t c : text) result += c < 128 ? static_cast<char>(c) : '?';
    return result;
}

uint64_t PreciseOf(const Variant& value) {
    EXPECT_EQ(value.Type(), VT_DECIMAL);
    const DECIMAL& number = V_DECIMAL(value.Get());
    EXPECT_EQ(number.scale + number.sign + number.Hi32, 0u);
    return uint64_t{number.Mid32} << 32 | number.Lo32;
}

}  // namespace vofs::testing

// Every test runs on a single-threaded apartment, as the library's objects do in a script host.
int main(int argc, char** argv) {
    CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
    testing::InitGoogleTest(&argc, argv);
    const int result = RUN_ALL_TESTS();
    CoUninitialize();
    return result;
}
