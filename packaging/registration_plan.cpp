// Prints what registering vofslib.dll writes, for the installers and the side-by-side
// manifests (packaging/package.py): the registration's own values, computed from the type
// library of the DLL named on the command line (of either architecture: it is read as
// data) with the server's path given as text, such as an installer's file reference.
//   vofslib_registration_plan.exe DLL MODULE_TEXT
// One value a line, UTF-8: "shared" or "own", then key, name and data, separated by tabs.

#include "frame/registration.h"

#include <cstdio>
#include <string>
#include <vector>

namespace {

std::string Utf8(const std::wstring& text) {
    const int length = static_cast<int>(text.size());
    std::string bytes(static_cast<size_t>(WideCharToMultiByte(CP_UTF8, 0, text.data(), length, nullptr, 0, nullptr, nullptr)), '\0');
    WideCharToMultiByte(CP_UTF8, 0, text.data(), length, bytes.data(), static_cast<int>(bytes.size()), nullptr, nullptr);
    return bytes;
}

}  // namespace

int wmain(int argc, wchar_t** argv) {
    if (argc != 3) return std::fprintf(stderr, "usage: vofslib_registration_plan DLL MODULE_TEXT\n"), 2;
    ITypeLib* library = nullptr;
    std::vector<vofs::registration::RegistryValue> values;
    HRESULT result = LoadTypeLibEx(argv[1], REGKIND_NONE, &library);
    if (SUCCEEDED(result)) result = vofs::registration::PlanValues(library, argv[2], values);
    if (library) library->Release();
    if (FAILED(result)) return std::fprintf(stderr, "cannot read %ls (0x%08lX)\n", argv[1], static_cast<unsigned long>(result)), 1;
    for (const auto& value : values) {
        std::printf("%s\t%s\t%s\t%s\n", value.shared ? "shared" : "own", Utf8(value.key).c_str(), Utf8(value.name).c_str(),
                    Utf8(value.data).c_str());
    }
    return 0;
}
