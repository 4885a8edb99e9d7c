#!/usr/bin/env bash
# Attacks the module's files in 3,000 bad moments and 3,000 hostile edits: scripts/bad-moments.sh [SEED]
# Several processes edit, save, scan, hold and die at random; some minutes. Prints the seed, which repeats a run.
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"
parse_arguments '0..1' "$@"

"$root/scripts/setup.sh"
cd "$root"
build release --target ZQModSettings file_editor system_tests core_tests
export ZQ_TEST_LONG=1
export ZQ_TEST_SEED=${arguments[0]:-$RANDOM}
echo "seed $ZQ_TEST_SEED"
scripts/wine-run.sh build/release/bin/core_tests.exe --gtest_brief=1 \
  --gtest_filter='Inside*:Replace*:Overwriting*:Following*:InitialLoads*:Pass.*'
scripts/wine-run.sh build/release/bin/system_tests.exe --gtest_brief=1 \
  --gtest_filter='BadMoments.*:Styles/*:Tools/*'
