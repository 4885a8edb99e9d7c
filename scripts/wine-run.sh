#!/usr/bin/env bash
# Runs a Windows program under the project's own Wine prefix: scripts/wine-run.sh PROGRAM.exe [ARGUMENT...]
# The first call creates the prefix and starts a Wine server that keeps running, so that later starts are fast.
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"
export WINEPREFIX=$wine_prefix
export WINEDEBUG=${WINEDEBUG:--all}
# Without the debugger: a program that crashed under it ends with exit code 0.
export WINEDLLOVERRIDES=${WINEDLLOVERRIDES:-winemenubuilder.exe=d;mscoree=d;mshtml=d;winedbg.exe=d}
wine=/usr/lib/wine/wine64
server=/usr/lib/wine/wineserver64

[[ $# -gt 0 ]] || fail "a program is missing; see $script --help." 2
# Only a leading option is for this script: all else is the program's.
case $1 in -*) parse_arguments '' "$1" ;; esac
[[ -x $wine ]] || fail "$wine is missing; run scripts/setup.sh, which installs it." 127

# Programs that are started at once wait here for the first one, which makes the prefix and starts the server and Wine's own
# services. Those keep running, so they must not inherit open files of the caller: the reader of a pipe would wait for its end
# forever.
without_files() {
  "$@" </dev/null >/dev/null 2>&1 3>&- 4>&- 5>&- 6>&- 7>&- 8>&- 9>&-
}
mkdir -p "$WINEPREFIX"
exec 9>"$WINEPREFIX/.lock"
flock 9
if [[ ! -f $WINEPREFIX/.ready ]]; then
  without_files "$wine" wineboot -i
  without_files "$server" -w
  touch "$WINEPREFIX/.ready"
fi
if without_files "$server" -p; then
  without_files setsid "$wine" cmd /c exit || true
fi
exec 9>&-
exec "$wine" "$@"
