#!/usr/bin/env bash
# Runs a Windows program under the project's own Wine prefix: scripts/wine-run.sh PROGRAM.exe [ARGUMENT...]
# The first call makes the prefix and starts one server that stays, so that later starts are fast.
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"
export WINEPREFIX=${ZQ_WINEPREFIX:-$root/build/wine}
export WINEDEBUG=${WINEDEBUG:--all}
# Without the debugger: a program that crashed under it ends with exit code 0.
export WINEDLLOVERRIDES=${WINEDLLOVERRIDES:-winemenubuilder.exe=d;mscoree=d;mshtml=d;winedbg.exe=d}
wine=/usr/lib/wine/wine64
server=/usr/lib/wine/wineserver64

[[ $# -gt 0 ]] || fail "a program is missing; see $script --help." 2
# Only a leading option is for this script: all else is the program's.
case $1 in -*) parse_arguments '' "$1" ;; esac
[[ -x $wine ]] || fail "$wine is missing; run scripts/setup.sh, which installs it." 127

if [[ ! -f $WINEPREFIX/.ready ]]; then
  mkdir -p "$WINEPREFIX"
  # Two programs started at once must not both make the prefix.
  exec 9>"$WINEPREFIX/.lock"
  flock 9
  if [[ ! -f $WINEPREFIX/.ready ]]; then
    "$wine" wineboot -i >/dev/null 2>&1
    "$server" -w
    touch "$WINEPREFIX/.ready"
  fi
  flock -u 9
  exec 9>&-
fi
# A new server: start Wine's own services now, apart from the caller's output, or they would hold it open after the end.
if "$server" -p >/dev/null 2>&1; then
  setsid "$wine" cmd /c exit </dev/null >/dev/null 2>&1 3>&- 4>&- 5>&- 6>&- 7>&- 8>&- 9>&- || true
fi
exec "$wine" "$@"
