#!/usr/bin/env bash
# Runs a test program for Windows to its last test: scripts/run-tests.sh PROGRAM.exe [ARGUMENT...]
# A program that ends before its last test fails even if its exit code is 0, as when Wine's server is lost unnoticed. The program
# is then run once more. Its output is printed after it has ended.
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"
[[ $# -gt 0 ]] || fail "a program is missing; see $script --help." 2
case $1 in -*) parse_arguments '' "$1" ;; esac

output=$(mktemp)
program=
trap '[[ -z $program ]] || kill "$program" 2>/dev/null; rm -f "$output"' EXIT

# In the background, so that a signal to this script ends the program too.
run() {
  local code=0
  "$root/scripts/wine-watched.sh" "$@" >"$output" 2>&1 </dev/null &
  program=$!
  wait "$program" || code=$?
  program=
  return "$code"
}

# What GoogleTest and the hosts of tests/abi/ print at their end.
has_finished() {
  grep -qE ' test suites? ran\.|[0-9] checks, ' "$output"
}

code=0
run "$@" || code=$?
if ! has_finished && [[ $code -eq 0 || $code -eq 137 ]]; then
  cat "$output" >&2
  echo "$script: $1 ended before its last test; once more." >&2
  code=0
  run "$@" || code=$?
fi
cat "$output"
if ! has_finished; then
  fail "$1 ended before its last test, with exit code $code."
fi
exit "$code"
