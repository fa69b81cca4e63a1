// Entry point of the C++ tests: every test runs on a single-threaded apartment, as the
// library's objects do in a script host.

#include "common/platform_headers.h"

#include <gtest/gtest.h>

int main(int argc, char** argv) {
    CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
    testing::InitGoogleTest(&argc, argv);
    const int result = RUN_ALL_TESTS();
    CoUninitialize();
    return result;
}
