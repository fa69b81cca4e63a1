#!/usr/bin/env bash
# Registration round trip through regsvr32, as an installer would run it:
#   machine-wide:  regsvr32 DLL       / regsvr32 /u DLL
#   per user:      regsvr32 /n /i:user DLL / regsvr32 /u /n /i:user DLL
# Each registration must write the class, ProgID, type-library and interface keys into
# its own hive and nothing into the other; each unregistration must leave the hive
# exactly as it was before (compared as full exports). Ends with the DLL registered
# machine-wide, for the script clients that follow.
#   registration_round_trip.sh DLL WORK_DIR
set -euo pipefail
# shellcheck source=../support/wine_loader.sh
. "$(dirname "$0")/../support/wine_loader.sh"

dll=$1
work=$2
rm -rf "$work" && mkdir -p "$work" && cd "$work"

machine='HKEY_LOCAL_MACHINE\Software\Classes'
user='HKEY_CURRENT_USER\Software\Classes'
failures=0
fail() { echo "FAIL: $*"; failures=$((failures + 1)); }

snapshot() {  # HIVE FILE: the hive's export as UTF-8 text
  wine regedit /E "$2.utf16" "$1"
  iconv -f UTF-16LE -t UTF-8 "$2.utf16" | tr -d '\r' > "$2"
  rm -f "$2.utf16"
}

expect_keys() {  # FILE WHAT: the keys every registration writes
  local file=$1 what=$2 key
  for key in \
      'VOFSL.FileSystemLib]' 'VOFSL.Volumes]' 'VOFSL.Volume]' 'VOFSL.FtpFileStream]' \
      'CLSID\{1DBBA3A2-A309-4112-BAD5-3312F231088A}\InprocServer32]' \
      'CLSID\{FADF5CBE-F6A2-4639-B8ED-CD81765E62BF}\ProgID]' \
      "TypeLib\\{D1978849-DDB6-4CFB-9A30-E38C45EE0243}\\1c4.0\\409\\$platform]" \
      'Interface\{DF8B7B87-EA13-4F6E-9B7F-A8D26DBD0DF9}\TypeLib]'; do
    grep -qiF "\\$key" "$file" || fail "$what: key $key missing"
  done
  grep -qiF '"ThreadingModel"="Apartment"' "$file" || fail "$what: ThreadingModel Apartment missing"
  grep -qiF 'VOFSL.Path]' "$file" && fail "$what: a class that callers cannot create was registered"
  return 0
}

regsvr() { wine regsvr32 /s "$@"; }
# The 64-bit DLL carries a 64-bit type library (and registers in the 64-bit view, which
# the 64-bit regsvr32 and regedit see).
platform=win32
[ "${VOFS_ARCH:-x86}" = x64 ] && platform=win64

regsvr /u "$dll" || true
regsvr /u /n /i:user "$dll" || true
snapshot "$machine" machine-before.reg
snapshot "$user" user-before.reg

# machine-wide
regsvr "$dll" || fail "regsvr32 failed"
snapshot "$machine" machine-registered.reg
snapshot "$user" user-while-machine.reg
expect_keys machine-registered.reg "machine registration"
cmp -s user-before.reg user-while-machine.reg || fail "machine registration wrote into the user's classes"
regsvr /u "$dll" || fail "regsvr32 /u failed"
snapshot "$machine" machine-after.reg
diff -u machine-before.reg machine-after.reg > machine.diff || fail "machine unregistration left changes (machine.diff)"

# per user
regsvr /n /i:user "$dll" || fail "regsvr32 /n /i:user failed"
snapshot "$user" user-registered.reg
snapshot "$machine" machine-while-user.reg
expect_keys user-registered.reg "per-user registration"
cmp -s machine-before.reg machine-while-user.reg || fail "per-user registration wrote into the machine's classes"
regsvr /u /n /i:user "$dll" || fail "regsvr32 /u /n /i:user failed"
snapshot "$user" user-after.reg
diff -u user-before.reg user-after.reg > user.diff || fail "per-user unregistration left changes (user.diff)"

# leave the DLL registered for the script clients
regsvr "$dll" || fail "final registration failed"

if [ "$failures" -ne 0 ]; then
  cat machine.diff user.diff 2>/dev/null | head -40
  exit 1
fi
echo "registration round trip passed"
