#!/usr/bin/env bash
# Edits, holds and damages the module's files at bad moments: scripts/bad-moments.sh [--write] [SEED]
# Tests one kind of moment at a time, each with three durations, then 3,000 moments mixed at random by several processes:
# editors, savers, scanners, a second module, a full disk, kills. Takes a quarter of an hour. Prints a table and the seed, which
# repeats the run.
#   --write   also puts the table into docs/testing.md
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"
parse_arguments '--write 0..1' "$@"
require_number SEED "${arguments[0]:-}"

"$root/scripts/setup.sh"
cd "$root"
build release --target ZQModSettings system_tests core_tests
export ZQ_TEST_LONG=1
export ZQ_TEST_SEED=${arguments[0]:-$RANDOM}
echo "seed $ZQ_TEST_SEED"
log=$root/build/logs/bad-moments.log
mkdir -p "${log%/*}"
# With a clock that only tests advance, and with calls that fail.
scripts/run-tests.sh build/release/bin/core_tests.exe --gtest_brief=1 \
  --gtest_filter='Inside*:Replace*:Overwriting*:Following*:InitialLoads*:Pass.*'
scripts/run-tests.sh build/release/bin/system_tests.exe --gtest_brief=1 \
  --gtest_filter='Kinds/*:BadMoments.*:Tools/*:MixedMoments.*' | tee "$log"

if [[ -n ${options[--write]:-} ]]; then
  tr -d '\r' <"$log" | grep '^| ' >build/moments
  awk '
    /^<!-- bad moments -->$/ {
      print
      print "| bad moment | duration | tries | files lost | edits unseen |"
      print "|---|---|---|---|---|"
      while ((getline row < "build/moments") > 0) print row
      isOldRow = 1
    }
    /^<!-- end -->$/ { isOldRow = 0 }
    !isOldRow { print }' docs/testing.md >build/testing.md
  mv build/testing.md docs/testing.md
fi
