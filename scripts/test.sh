#!/usr/bin/env bash
# Builds and tests everything: scripts/test.sh
# Installs what is missing; builds the presets release and debug one after the other, and tests each under Wine once it is
# built; meanwhile builds and tests native and threads with sanitizers and runs the fuzz targets; checks the format; analyses
# changed sources. Stops at the first step that fails, shows its output and exits with 1.
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"
parse_arguments '' "$@"

"$root/scripts/setup.sh"
cd "$root"
logs=build/logs
states=$logs/states
rm -rf "$states"
mkdir -p "$states"
: >"$states/steps"
processors=$(nproc)

# step NAME COMMAND...: its output goes to a file. The state of a step, a file of its name, is "running", "ok" or "failed".
step() {
  local name=$1 start=$SECONDS
  shift
  echo running >"$states/$name"
  if "$@" >"$logs/$name.log" 2>&1 </dev/null; then
    echo ok >"$states/$name"
    printf '%-17s ok %4d s\n' "$name" $((SECONDS - start)) >>"$states/steps"
  else
    echo failed >"$states/$name"
    exit 1
  fi
}

# configure_and_build PRESET [nice OPTION...]
configure_and_build() {
  local preset=$1
  shift
  "$@" cmake --preset "$preset" && "$@" cmake --build --preset "$preset" -j "$processors"
}

# after STEP: waits for the end of a step of another lane.
after() {
  until [[ -s $states/$1 && $(<"$states/$1") == ok ]]; do
    sleep 0.5
  done
}

# Compiling keeps the processors busy; tests under Wine mostly wait. So they run side by side. What is tested under Wine takes
# longest and goes first; the builds for Linux take the time that it leaves.
build_lane() {
  step format scripts/format.sh --check
  step release-build configure_and_build release
  step debug-build configure_and_build debug
  step tidy scripts/tidy.sh
}

# test_preset PRESET COUNT: so many tests side by side, more than processors under Wine.
test_preset() {
  after "$1-build"
  step "$1-test" ctest --preset "$1" -j "$2"
}

# Before anything runs in the first prefix. A copy takes a fraction of the time.
make_wine_prefixes() {
  scripts/wine-run.sh cmd /c exit
  if [[ ! -d build/wine-debug ]]; then
    rm -rf build/wine-debug.part # of a run that was broken off
    cp -a "$wine_prefix" build/wine-debug.part
    mv build/wine-debug.part build/wine-debug
  fi
}

release_lane() {
  step wine-prefixes make_wine_prefixes
  test_preset release $((2 * processors))
}

native_lane() {
  step native-build configure_and_build native nice -n 15
  test_preset native "$processors"
}

threads_lane() {
  step threads-build configure_and_build threads nice -n 15
  test_preset threads "$processors"
  after native-build
  step fuzz scripts/fuzz.sh --runs 3000
}

# Uses a separate Wine server: a server handles one call at a time, and the tests count what they leave in temporary folders.
debug_lane() {
  after wine-prefixes
  export ZQ_WINEPREFIX=$root/build/wine-debug
  test_preset debug $((2 * processors))
}

# The steps that are running, each with the last count of its output: 12/340 of a build, 3/15 of its tests.
running_steps() {
  local file name count line=
  for file in "$states"/*; do
    name=${file##*/}
    [[ $name != steps && $(<"$file") == running ]] || continue
    count=$(tail -c 2000 "$logs/$name.log" 2>/dev/null | grep -oE '^ *\[?[0-9]+/[0-9]+' | tail -n 1 | tr -d ' [' || true)
    line+="${line:+, }$name${count:+ $count}"
  done
  echo "$line"
}

# Prints the steps that have ended since the last call; on a terminal also a line that is overwritten by the next one,
# elsewhere one every half minute.
shown=0
last_report=0
show_progress() {
  local ended
  ended=$(tail -n +$((shown + 1)) "$states/steps")
  if [[ -n $ended ]]; then
    [[ -t 1 ]] && printf '\r\e[K'
    printf '%s\n' "$ended"
    shown=$((shown + $(wc -l <<<"$ended")))
  fi
  if [[ -t 1 ]]; then
    printf '\r\e[K%.*s' "$((${COLUMNS:-80} - 1))" "$SECONDS s: $(running_steps)"
  elif [[ $((SECONDS - last_report)) -ge 30 ]]; then
    last_report=$SECONDS
    echo "  after $SECONDS s: $(running_steps)"
  fi
}

# Asks the shell, not the system: the process number of a lane that has ended may be another program's by now.
running_lanes() {
  jobs -rp
}

stop_lanes() {
  local lane
  for lane in $(running_lanes); do
    kill -- "-$lane" 2>/dev/null || true
  done
}

# Each lane is a separate process group, which ends as a whole. It leaves a file of its name: the shell forgets the exit code
# of a lane whose process number another program gets.
lanes=(build_lane release_lane native_lane threads_lane debug_lane)
set -m
for lane in "${lanes[@]}"; do
  {
    $lane
    echo ok >"$states/$lane"
  } &
done
set +m
trap stop_lanes EXIT

# The name of a step that has failed, if there is one.
failed_step() {
  grep -lx failed "$states"/* | head -n 1 | sed 's|.*/||' || true
}

# What each failed test of CTest's log FILE printed.
output_of_failed_tests() {
  awk '/^ *[0-9]+\/[0-9]+ Test +#/ { isFailed = /\*\*\*/ } /^ +Start +[0-9]+: / || /tests passed, / { isFailed = 0 } isFailed' "$1"
}

while [[ -z $(failed_step) && -n $(running_lanes) ]]; do
  show_progress
  sleep 1
done
show_progress
[[ -t 1 ]] && printf '\r\e[K'

name=$(failed_step)
if [[ -n $name ]]; then
  printf '%-17s FAILED\n' "$name"
  tail -n 80 "$logs/$name.log"
  # Once more at the end, which is read first.
  output_of_failed_tests "$logs/$name.log" | tail -n 40
  fail "$name failed; $logs/$name.log has all of its output."
fi
for lane in "${lanes[@]}"; do
  [[ -s $states/$lane ]] || fail "$lane ended early; $logs has the output of each step."
done
echo "All passed in $SECONDS s."
