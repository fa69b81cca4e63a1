#!/usr/bin/env bash
# Installs every Debian package the build, the demo and the tests need, and nothing when
# all of them are already there. Run as root (or with sudo available).
set -euo pipefail

packages=(
  cmake ninja-build git
  g++-mingw-w64-i686 binutils-mingw-w64-i686
  g++-mingw-w64-x86-64 binutils-mingw-w64-x86-64 mingw-w64-tools
  wine wine32:i386 libwine:i386 wine64 libwine:amd64 libwine-dev
  googletest
  xvfb xauth
  python3 python3-pyftpdlib vsftpd
  clang libclang-rt-14-dev
  wixl msitools zip graphviz
)

as_root() { if [ "$(id -u)" -eq 0 ]; then "$@"; else sudo "$@"; fi; }

missing=()
for p in "${packages[@]}"; do
  status=$(dpkg-query -W -f='${Status}' "$p" 2>/dev/null || true)
  [ "$status" = "install ok installed" ] || missing+=("$p")
done
if [ ${#missing[@]} -eq 0 ]; then
  exit 0
fi
echo "setup: installing ${missing[*]}"

if ! dpkg --print-foreign-architectures | grep -qx i386; then
  as_root dpkg --add-architecture i386
fi

export DEBIAN_FRONTEND=noninteractive
apt_install() { as_root apt-get "$@" install -y --no-install-recommends "${missing[@]}"; }

# The mirror's i386 index of the security suite is sometimes out of step with the amd64
# one; apt then fails with a size mismatch or unmet dependencies for wine32. The retry
# uses the machine's own sources minus every security stanza, in a private state folder.
without_security() {
  local dir lists
  dir=$(mktemp -d); lists=$(mktemp -d); mkdir -p "$lists/partial"
  if [ -f /etc/apt/sources.list ]; then
    grep -v -E '^\s*deb.*-security' /etc/apt/sources.list > "$dir/main.list" || true
  fi
  for f in /etc/apt/sources.list.d/*.sources; do
    [ -e "$f" ] || continue
    # deb822 files: stanzas are separated by blank lines; drop those naming a security suite.
    awk 'BEGIN { RS=""; ORS="\n\n" } !/Suites:[^\n]*-security/' "$f" > "$dir/$(basename "$f")"
  done
  for f in /etc/apt/sources.list.d/*.list; do
    [ -e "$f" ] || continue
    grep -v -E '^\s*deb.*-security' "$f" > "$dir/$(basename "$f")" || true
  done
  local opts=(-o Dir::Etc::SourceList=/dev/null -o Dir::Etc::SourceParts="$dir" -o Dir::State::Lists="$lists")
  as_root apt-get "${opts[@]}" update
  as_root apt-get "${opts[@]}" install -y --no-install-recommends "${missing[@]}"
}

if as_root apt-get update && apt_install; then
  exit 0
fi
echo "setup: plain install failed; retrying without the security suite"
without_security
