#!/usr/bin/env bash
# Builds and tests everything: scripts/test.sh
# Installs what is missing; builds and runs the presets release, debug (both under Wine), native and threads (sanitizers);
# runs the fuzz targets over their corpus and a little beyond; checks the format; analyses changed sources. Ends with 1 at
# the first step that fails and shows its output.
set -euo pipefail

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
if [[ ${1:-} == --help ]]; then
  sed -n '2,5s/^# //p' "${BASH_SOURCE[0]}"
  exit 0
fi

"$root/scripts/setup.sh"
cd "$root"
logs=build/logs
mkdir -p "$logs"

# step NAME COMMAND...: its output goes to a file, and to the console when it fails.
step() {
  local name=$1 log=$logs/$1.log start=$SECONDS
  shift
  printf '%-19s' "$name"
  if "$@" >"$log" 2>&1 </dev/null; then
    printf 'ok %4d s\n' $((SECONDS - start))
  else
    printf 'FAILED\n'
    tail -n 80 "$log"
    echo "test.sh: $name failed; $log holds all of its output." >&2
    exit 1
  fi
}

step wine-prefix scripts/wine-run.sh cmd /c exit
for preset in release debug native threads; do
  step "$preset-configure" cmake --preset "$preset"
  step "$preset-build" cmake --build --preset "$preset" -j "$(nproc)"
  step "$preset-test" ctest --preset "$preset"
done
step fuzz scripts/fuzz.sh --runs 3000
step format scripts/format.sh --check
step tidy scripts/tidy.sh
echo "All passed in $SECONDS s."
