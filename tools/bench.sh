#!/usr/bin/env bash
# Speed figures, kept apart from the test command: builds both DLLs, then for every
# architecture that runs here registers the DLL in its Wine prefix and measures late
# binding in one run against the raw platform calls and against the peer
# (Scripting.FileSystemObject), from C++ and from VBScript, the streams (byte
# transfers, lines, blank lines, folder copy) against the raw platform calls, and an FTP
# session (connect, list 1,000 entries, disconnect) against the raw WinInet calls, on a
# loopback server of its own. Prints each figure and ratio.
set -euo pipefail
cd "$(dirname "$0")/.."
root=$PWD
tools/build.sh >/dev/null

ratio() { awk -v a="$1" -v b="$2" 'BEGIN { printf "%.2f", a / b }'; }

for arch in x86 x64; do
  if ! loader=$(tests/support/wine_arch.sh "$arch"); then
    echo "=== $arch: skipped ($loader)"
    continue
  fi
  build="$root/build/$arch"
  export WINEPREFIX="$build/wineprefix" WINELOADER="$loader" VOFS_ARCH="$arch"
  export WINEDEBUG=-all WINEDLLOVERRIDES="mscoree,mshtml="
  . tests/support/wine_loader.sh
  # WinInet keeps every download in the URL cache, which nothing trims: each run starts empty.
  rm -rf "$WINEPREFIX"/drive_c/users/*/AppData/Local/Microsoft/Windows/INetCache
  tests/support/wine_session.sh start "$build/bin" >/dev/null
  trap 'tests/support/wine_session.sh stop' EXIT
  wine regsvr32 /s "$build/bin/vofslib.dll"

  tree="$build/bench-tree"
  if [ ! -f "$tree/file10000.txt" ]; then
    rm -rf "$tree" && mkdir -p "$tree"
    for i in $(seq -f '%05g' 1 10000); do printf 'entry %s\n' "$i" > "$tree/file$i.txt"; done
  fi
  folder=$(winepath -w "$tree")
  results="$build/bench-results.txt"
  {
    wine "$build/bin/vofslib_bench.exe" "$folder"
    wine cscript //nologo bench/scripts/walk.vbs "$folder"
    wine cscript //nologo bench/scripts/path_calls.vbs "$folder\\file00001.txt"
    mkdir -p "$build/bench-scratch"
    wine "$build/bin/vofslib_streams_bench.exe" "$(winepath -w "$build/bench-scratch")"
    servers="$build/bench-ftp"
    /usr/bin/python3 tools/ftp_servers.py start "$servers" 900 >/dev/null
    mkdir -p "$servers/main/bench1000"
    for i in $(seq -f '%04g' 1 1000); do : > "$servers/main/bench1000/entry$i.txt"; done
    . "$servers/servers.env"
    wine "$build/bin/vofslib_ftp_bench.exe" "$VOFS_FTP_PORT" /bench1000
    /usr/bin/python3 tools/ftp_servers.py stop "$servers"
  } 2>/dev/null | tr -d '\r' > "$results"
  get() { awk -v k="$1" '$1 == k { print $2 }' "$results"; }
  if grep -q FAILED "$results"; then cat "$results"; exit 1; fi

  echo "=== $arch (Wine loader $loader)"
  sed 's/^/  /; s/$/ ns/' "$results"
  raw=$(get walk.raw)
  echo "  walk of 10,000 entries, Name and Size:"
  echo "    from C++, library / raw FindFirstFileW-FindNextFileW loop:  $(ratio "$(get walk.vofslib)" "$raw")x"
  echo "    from VBScript, library / raw loop:                           $(ratio "$(get vbs.walk.vofslib)" "$raw")x"
  echo "    from VBScript, the peer's Files walk / library walk:          $(ratio "$(get vbs.walk.fso)" "$(get vbs.walk.vofslib)")x faster"
  echo "  a trivial late-bound property get from C++, library / peer:    $(ratio "$(get get.vofslib)" "$(get get.fso)")x"
  echo "  GetPathObject and five reads vs the peer's five text calls (rate, library / peer):"
  echo "    from C++:      $(ratio "$(get path5.fso)" "$(get path5.vofslib)")x"
  echo "    from VBScript: $(ratio "$(get vbs.path5.fso)" "$(get vbs.path5.vofslib)")x"
  echo "  streams from C++ through the interfaces, library / raw platform calls (time):"
  echo "    256 MiB written in 64 KiB byte arrays:    $(ratio "$(get stream.write.vofslib)" "$(get stream.write.raw)")x"
  echo "    256 MiB read in 64 KiB byte arrays:       $(ratio "$(get stream.read.vofslib)" "$(get stream.read.raw)")x"
  echo "    ReadLine over 20 MB of 80-byte lines:     $(ratio "$(get readline.vofslib)" "$(get readline.raw)")x"
  echo "    CopyFolder of 1,000 files, 100 MiB:       $(ratio "$(get copyfolder.vofslib)" "$(get copyfolder.raw)")x"
  echo "    WriteBlankLines of 64 Mi lines, 128 MiB:  $(ratio "$(get blanklines.vofslib)" "$(get blanklines.raw)")x"
  echo "  FTP over loopback, library / raw WinInet (time):"
  echo "    listing 1,000 entries (EnumFolder):       $(ratio "$(get ftp.list.vofslib)" "$(get ftp.list.raw)")x"
  echo "    64 MiB upload in 64 KiB byte arrays:      $(ratio "$(get ftp.upload.vofslib)" "$(get ftp.upload.raw)")x"
  echo "    64 MiB download in 64 KiB byte arrays:    $(ratio "$(get ftp.download.vofslib)" "$(get ftp.download.raw)")x"
  tests/support/wine_session.sh stop
  trap - EXIT
done
