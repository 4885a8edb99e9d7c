#!/usr/bin/env bash
# Fetches the packages of the tests as the lock file names them: tests/serve/install.sh
set -euo pipefail

here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
if [[ ${1:-} == --help ]]; then
  sed -n '2s/^# //p' "${BASH_SOURCE[0]}"
  exit 0
fi
cd "$here"
# Two presets may be built at once.
exec 9<package-lock.json
flock 9
if [[ node_modules/.installed -nt package-lock.json && node_modules/.installed -nt install.sh ]]; then
  exit 0
fi
log=$(mktemp)
trap 'rm -f "$log"' EXIT
if ! npm ci --ignore-scripts --no-audit --no-fund --loglevel=error >"$log" 2>&1; then
  tail -n 5 "$log" >&2
  echo "tests/serve/install.sh: the packages of the tests cannot be fetched; is the npm registry reachable?" >&2
  exit 1
fi
touch node_modules/.installed
