#!/usr/bin/env bash
# Makes the pictures of the dashboard in docs/dashboard: scripts/screenshots.sh
# Each view in light and dark, and on a telephone's width; needs the release build.
set -euo pipefail

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
if [[ ${1:-} == --help ]]; then
  sed -n '2,3s/^# //p' "${BASH_SOURCE[0]}"
  exit 0
fi
if [[ $# -gt 0 ]]; then
  echo "screenshots.sh: unknown argument $1; --help lists what it takes." >&2
  exit 2
fi
"$root/scripts/setup.sh"
cd "$root"
cmake --preset release >/dev/null
cmake --build --preset release --target zqsettings >/dev/null
tests/serve/install.sh
node tests/serve/screenshots.mjs build/release docs/dashboard
