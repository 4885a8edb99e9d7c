#!/usr/bin/env bash
# Builds the package for hosts' authors and users: scripts/package.sh
# Prints the path of a ZIP with the DLL, zqsettings, headers, import libraries, CMake package, defaults, schemas, guides.
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"
parse_arguments '' "$@"

"$root/scripts/setup.sh"
cd "$root"
log=$(mktemp)
trap 'rm -f "$log"' EXIT
if ! { cmake --preset release && cmake --build --preset release -j "$(nproc)" &&
  cpack --config build/release/CPackConfig.cmake -B build/package; } >"$log" 2>&1; then
  tail -n 40 "$log" >&2
  echo "package.sh: the package could not be built; the last lines stand above." >&2
  exit 1
fi
ls -1 "$root"/build/package/*.zip
