#!/usr/bin/env bash
# Builds the packages for hosts' authors and users: scripts/package.sh
# Prints their paths: a ZIP with the DLL, zqsettings, symbols, headers, import libraries, CMake package, defaults, schemas and
# guides; a NuGet package, a vcpkg port and a Conan recipe made of it; the list of parts (SPDX) and the SHA-256 sums.
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"
parse_arguments '' "$@"

"$root/scripts/setup.sh"
cd "$root"
log=$(mktemp)
trap 'rm -f "$log"' EXIT
if ! { cmake --preset release && cmake --build --preset release -j "$(nproc)" &&
  packaging/make_packages.py build/release build/package; } >"$log" 2>&1; then
  tail -n 40 "$log" >&2
  echo "package.sh: the package could not be built; the last lines stand above." >&2
  exit 1
fi
ls -1 "$root"/build/package/*
