#pragma once
// What the benchmark programs share: seconds from the performance counter, the best of
// several rounds (the least disturbed one), and the stop on a failed call.

#include <windows.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>

namespace {

double Now() {
    static LARGE_INTEGER frequency = [] {
        LARGE_INTEGER f;
        QueryPerformanceFrequency(&f);
        return f;
    }();
    LARGE_INTEGER count;
    QueryPerformanceCounter(&count);
    return static_cast<double>(count.QuadPart) / static_cast<double>(frequency.QuadPart);
}

// The best of `rounds` timings of body().
template <class Body>
double Best(int rounds, Body body) {
    double best = 1e30;
    for (int round = 0; round < rounds; ++round) {
        const double start = Now();
        body();
        best = std::min(best, Now() - start);
    }
    return best;
}

// The best timings of two bodies doing the same work, their rounds taken in turn so that
// both meet the same disturbances (page cache, other load).
struct PairTimes {
    double raw, library;
};
template <class Raw, class Library>
PairTimes BestOfTurns(int rounds, Raw raw, Library library) {
    PairTimes best{1e30, 1e30};
    for (int round = 0; round < rounds; ++round) {
        best.raw = std::min(best.raw, Best(1, raw));
        best.library = std::min(best.library, Best(1, library));
    }
    return best;
}

// Prints the line tools/bench.sh looks for and stops.
[[noreturn]] void Fail(const char* what, HRESULT result) {
    std::printf("FAILED: %s (0x%08lX)\n", what, static_cast<unsigned long>(result));
    std::exit(1);
}

}  // namespace
