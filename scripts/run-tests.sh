#!/usr/bin/env bash
# Runs a test program for Windows to its last test: scripts/run-tests.sh PROGRAM.exe [ARGUMENT...]
# A program that ends before its last test fails even if its exit code is 0, as when Wine's server crashes: Wine 8 rarely does
# so, and only with many processes. The program is then run once more. Its output is printed after it has ended: processes that
# Wine starts meanwhile would keep a pipe open.
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"
[[ $# -gt 0 ]] || fail "a program is missing; see $script --help." 2
case $1 in -*) parse_arguments '' "$1" ;; esac

output=$(mktemp)
program=
trap '[[ -z $program ]] || kill -9 "$program" 2>/dev/null; rm -f "$output"' EXIT

# Waits without starting a process, ten times a second for each program: nothing is ever written here.
exec {silence}<> <(:)
pause() {
  read -r -t "$1" -u "$silence" || true
}

# Whether a process has lost its first thread while others wait for a server that is gone.
is_left_over() {
  local status
  read -r status 2>/dev/null <"/proc/$1/stat" && [[ ${status##*) } == Z* ]]
}

# The process of Wine's server, if it runs.
find_server() {
  local process
  for process in $(pgrep -x wineserver64); do
    if grep -qzxF "WINEPREFIX=$wine_prefix" "/proc/$process/environ" 2>/dev/null; then
      echo "$process"
      return
    fi
  done
}

run() {
  local code=0 server
  server=$(find_server)
  "$root/scripts/wine-run.sh" "$@" >"$output" 2>&1 </dev/null {silence}>&- &
  program=$!
  while kill -0 "$program" 2>/dev/null; do
    [[ -n $server ]] || server=$(find_server)
    # A thread that waits for a server that is gone waits forever.
    if [[ -n $server && ! -e /proc/$server ]] || { is_left_over "$program" && sleep 1 && is_left_over "$program"; }; then
      kill -9 "$program" 2>/dev/null || true
    fi
    pause 0.1
  done
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
  echo "$script: $1 ended before its last test, without Wine's server; once more." >&2
  code=0
  run "$@" || code=$?
fi
cat "$output"
if ! has_finished; then
  fail "$1 ended before its last test, with exit code $code."
fi
exit "$code"
