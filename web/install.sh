#!/usr/bin/env bash
# Fetches the npm packages of a folder as its lock file names them: web/install.sh [FOLDER]
# FOLDER is this one, with the page's packages, or tests/serve.
source "$(dirname "${BASH_SOURCE[0]}")/../scripts/common.sh"
parse_arguments '0..1' "$@"

cd "${arguments[0]:-$root/web}"
# Two presets may be built at once.
exec 9<package-lock.json
flock 9
if [[ node_modules/.installed -nt package-lock.json && node_modules/.installed -nt "$root/web/install.sh" ]]; then
  exit 0
fi
log=$(mktemp)
trap 'rm -f "$log"' EXIT
if ! npm ci --ignore-scripts --no-audit --no-fund --loglevel=error >"$log" 2>&1; then
  tail -n 5 "$log" >&2
  fail "the packages of $PWD cannot be fetched; is the npm registry reachable? Configure with -DZQ_PAGE=OFF for a zqsettings without its page."
fi
touch node_modules/.installed
