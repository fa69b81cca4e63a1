# Sourced by the test scripts: every Wine program runs under the loader of the
# architecture under test (WINELOADER), named directly, because Debian's `wine` wrapper
# always picks the 32-bit loader when it is installed, whether or not it can run.
wine() { "${WINELOADER:?WINELOADER must name the Wine loader of the architecture under test}" "$@"; }
winepath() { wine winepath "$@"; }
