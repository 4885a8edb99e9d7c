#!/usr/bin/env bash
# Runs a Windows program, also when Wine fails it: scripts/wine-watched.sh [--limit SECONDS] PROGRAM.exe [ARGUMENT...]
# Wine 8 rarely loses its server, and only with many processes; a program that waits for it would wait forever. Such a program
# is ended and runs again, at most three times; its output then has those of all its runs. The exit code is the program's, or
# 137 when Wine failed it each time. With a limit the program is also ended after so many seconds, with exit code 137, and what
# its threads waited for is reported. Its output should go to a file: processes that Wine starts may keep a pipe open.
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"
limit=
if [[ ${1:-} == --limit ]]; then
  limit=${2:-none}
  [[ $limit =~ ^[1-9][0-9]*$ ]] || fail "--limit takes a number of seconds, not $limit; see $script --help." 2
  shift 2
fi
[[ $# -gt 0 ]] || fail "a program is missing; see $script --help." 2
case $1 in -*) parse_arguments '' "$1" ;; esac

program=
trap '[[ -z $program ]] || kill -9 "$program" 2>/dev/null' EXIT

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

# What each thread of a process waits for.
report_threads() {
  local thread
  for thread in /proc/"$1"/task/*; do
    echo "$script: thread ${thread##*/}: $(cat "$thread/comm" "$thread/wchan" "$thread/syscall" 2>/dev/null | tr '\n' ' ')"
  done
}

# The process of Wine's server, if it runs: of those that are started for the prefix, the one that holds a lock there. Others
# end at once, since there is one already.
find_server() {
  local process
  for process in $(pgrep -x wineserver64); do
    if grep -qzxF "WINEPREFIX=$wine_prefix" "/proc/$process/environ" 2>/dev/null &&
      grep -qE "^[0-9]+: POSIX +ADVISORY +WRITE $process " /proc/locks; then
      echo "$process"
      return
    fi
  done
}

# Runs the program once. Sets `lost` to yes when Wine failed it.
run() {
  local server start=$SECONDS code=0
  lost=no
  server=$(find_server)
  "$root/scripts/wine-run.sh" "$@" <&0 {silence}>&- &
  program=$!
  while kill -0 "$program" 2>/dev/null; do
    [[ -n $server ]] || server=$(find_server)
    if [[ -n $server && ! -e /proc/$server ]] || { is_left_over "$program" && sleep 1 && is_left_over "$program"; }; then
      lost=yes
      kill -9 "$program" 2>/dev/null || true
    elif [[ -n $limit && $((SECONDS - start)) -ge $limit ]]; then
      echo "$script: $1 has not ended after $limit s." >&2
      report_threads "$program" >&2
      kill -9 "$program" 2>/dev/null || true
    fi
    pause 0.1
  done
  wait "$program" || code=$?
  program=
  [[ -z $server || -e /proc/$server ]] || lost=yes
  [[ $lost == no ]] || code=137
  return "$code"
}

for attempt in 1 2 3; do
  code=0
  run "$@" || code=$?
  [[ $lost == yes && $attempt -lt 3 ]] || break
  echo "$script: $1 lost Wine's server; once more." >&2
done
exit "$code"
