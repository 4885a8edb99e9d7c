#!/usr/bin/env bash
# Runs the test programs with heap checks, which test.sh does not: scripts/heapcheck.sh
# Runs system_tests with the DLL's memory on guarded pages. Runs tool_tests, core_tests and comfort_tests with Wine's checks on
# every heap call, in a separate Wine prefix and each suite in its own process, because the checks walk the whole heap each
# time. Tests that start or stop threads run only on guarded pages, because Wine's checks do not take the heap's lock. Takes
# about half an hour.
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"
parse_arguments '' "$@"
"$root/scripts/setup.sh"
cd "$root"
build release
wine=$root/scripts/wine-run.sh
run_tests=$root/scripts/run-tests.sh
logs=$root/build/logs
mkdir -p "$logs"
failed=0

# Without the test that a packet is a block of the process heap: on guarded pages it is not.
echo "guarded pages: system_tests"
ZQ_GUARDED_HEAP=1 "$run_tests" build/release/bin/system_tests.exe --gtest_brief=1 \
  --gtest_filter=-Packets.APacketIsAnOrdinaryBlockOfTheProcessHeap | tee "$logs/guarded-heap.log" | tail -n 3
[[ ${PIPESTATUS[0]} -eq 0 ]] || failed=1

export ZQ_WINEPREFIX=$root/build/wine-heap
registry='HKLM\Software\Microsoft\Windows NT\CurrentVersion\Image File Execution Options'

# checked PROGRAM LOG ARGUMENT...: runs it under Wine's checks; their reports go to the log. Wine looks the program up by
# the name it is started with.
checked() {
  local program=$1 log=$2
  shift 2
  (cd build/release/bin && WINEDEBUG=err+heap "$run_tests" "$program.exe" "$@") >"$log" 2>&1
}

for program in heap_canary tool_tests core_tests comfort_tests; do
  "$wine" reg add "$registry\\$program.exe" /v GlobalFlag /t REG_DWORD /d 0xf0 /f >/dev/null
done

# Checks that are not on would find nothing.
checked heap_canary "$logs/heap-canary.log" || true
grep -q 'err:heap' "$logs/heap-canary.log" ||
  fail "Wine does not report a program that writes past the end of its memory; see $logs/heap-canary.log."

for program in tool_tests core_tests comfort_tests; do
  for suite in $("$wine" "build/release/bin/$program.exe" --gtest_list_tests | tr -d '\r' | grep '^[A-Za-z].*\.$'); do
    # Threads that are terminated; and whole default files, which take the checks many minutes.
    case $suite in ThreadStop. | All/DefaultFiles.) continue ;; esac
    log=$logs/heap-$program-${suite//[.\/]/}.log
    printf '%-12s %-28s' "$program" "${suite%.}"
    result=0
    checked "$program" "$log" --gtest_brief=1 --gtest_filter="$suite*-*LeavesNothing*:*LosesNo*" || result=$?
    reports=$(grep -c 'err:heap' "$log" || true)
    echo "exit $result, $reports reports"
    [[ $result -eq 0 && $reports -eq 0 ]] || failed=1
  done
done
exit $failed
