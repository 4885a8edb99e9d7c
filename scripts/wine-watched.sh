#!/usr/bin/env bash
# Runs a Windows program, and ends it when Wine fails it: scripts/wine-watched.sh [--limit SECONDS] PROGRAM.exe [ARGUMENT...]
# The exit code is 137 then, otherwise the program's. Wine 8 rarely loses its server, and only with many processes; a program
# that waits for it would wait forever. With a limit the program is also ended after so many seconds, and what its threads
# waited for is reported. Its output should go to a file: processes that Wine starts may keep a pipe open.
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

server=$(find_server)
"$root/scripts/wine-run.sh" "$@" <&0 {silence}>&- &
program=$!
while kill -0 "$program" 2>/dev/null; do
  [[ -n $server ]] || server=$(find_server)
  if [[ -n $server && ! -e /proc/$server ]] || { is_left_over "$program" && sleep 1 && is_left_over "$program"; }; then
    kill -9 "$program" 2>/dev/null || true
  elif [[ -n $limit && $SECONDS -ge $limit ]]; then
    echo "$script: $1 has not ended after $limit s." >&2
    report_threads "$program" >&2
    kill -9 "$program" 2>/dev/null || true
  fi
  pause 0.1
done
code=0
wait "$program" || code=$?
program=
[[ -z $server || -e /proc/$server ]] || code=137
exit "$code"
