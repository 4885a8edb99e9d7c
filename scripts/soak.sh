#!/usr/bin/env bash
# Runs the long forms of the tests, by hand: scripts/soak.sh [release|debug] [GTEST_FILTER]
# Some minutes: hundreds of edits by a second process, lifecycles, stops, saves and changes under load; and behind them
# everything at once for an hour, or for as many seconds as ZQ_SOAK_SECONDS says.
set -euo pipefail

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
if [[ ${1:-} == --help ]]; then
  sed -n '2,4s/^# //p' "${BASH_SOURCE[0]}"
  exit 0
fi
preset=${1:-release}
filter=${2:-*}

"$root/scripts/setup.sh"
cd "$root"
cmake --preset "$preset" >/dev/null
cmake --build --preset "$preset"
export ZQ_TEST_LONG=1
export ZQ_SOAK_SECONDS=${ZQ_SOAK_SECONDS:-3600}
for program in core_tests system_tests; do
  scripts/wine-run.sh "build/$preset/bin/$program.exe" --gtest_brief=1 --gtest_filter="$filter"
done
# 1,000 changes a second on the dashboard, for ten minutes or ZQ_SERVE_SOAK_SECONDS.
tests/serve/serve_test.sh "build/$preset" tests/serve/soak.mjs
