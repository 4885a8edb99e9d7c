#!/usr/bin/env bash
# Runs the long forms of the tests, which test.sh does not: scripts/soak.sh [release|debug] [GTEST_FILTER]
# Runs a quarter of an hour of bad moments for the files (scripts/bad-moments.sh), lifecycles, stops, saves and changes under
# load; then everything together on eight threads, for a minute under ThreadSanitizer and for an hour under Wine, or both for
# ZQ_SOAK_SECONDS; then each command of the tool on each of 1,036 broken files, which takes twenty minutes. Without a filter,
# finally analyses every source with clang-tidy, builds the committed state twice and checks that both builds give the same bytes.
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"
parse_arguments '0..2' "$@"
preset=${arguments[0]:-release}
filter=${arguments[1]:-*}
[[ $preset == release || $preset == debug ]] || fail "there is no preset $preset here; it is release or debug." 2

"$root/scripts/setup.sh"
cd "$root"
build threads
ZQ_SOAK_SECONDS=${ZQ_SOAK_SECONDS:-60} build/threads/bin/concurrency_tests --gtest_brief=1 --gtest_filter="$filter"
build "$preset"
export ZQ_TEST_LONG=1
export ZQ_SOAK_SECONDS=${ZQ_SOAK_SECONDS:-3600}
for program in portable_tests core_tests system_tests tool_tests; do
  scripts/run-tests.sh "build/$preset/bin/$program.exe" --gtest_brief=1 --gtest_filter="$filter"
done
# The speeds and delays of the dashboard, then 1,000 changes a second for ten minutes or ZQ_SERVE_SOAK_SECONDS.
tests/serve/serve_test.sh "build/$preset"
tests/serve/serve_test.sh "build/$preset" tests/serve/soak.mjs
if [[ $filter == "*" ]]; then
  scripts/tidy.sh --all
  scripts/reproducible.sh
fi
