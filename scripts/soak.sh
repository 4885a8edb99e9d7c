#!/usr/bin/env bash
# Runs the long forms of the tests, by hand: scripts/soak.sh [release|debug] [GTEST_FILTER]
# Some minutes: hundreds of edits by a second process, lifecycles, stops, saves and changes under load.
set -euo pipefail

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
if [[ ${1:-} == --help ]]; then
  sed -n '2,3s/^# //p' "${BASH_SOURCE[0]}"
  exit 0
fi
preset=${1:-release}
filter=${2:-*}

"$root/scripts/setup.sh"
cd "$root"
cmake --preset "$preset" >/dev/null
cmake --build --preset "$preset"
export ZQ_TEST_LONG=1
for program in core_tests system_tests; do
  scripts/wine-run.sh "build/$preset/bin/$program.exe" --gtest_brief=1 --gtest_filter="$filter"
done
