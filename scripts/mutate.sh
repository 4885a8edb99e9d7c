#!/usr/bin/env bash
# Plants faults one by one and checks that the tests catch them: scripts/mutate.sh [PATTERN]
# tests/mutation/faults.txt lists the faults; PATTERN, for grep, selects those whose file and tests match. Works on a copy in
# build/mutation. Ends with 1 when a fault survives or no longer fits the sources.
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"
parse_arguments '0..1' "$@"
pattern=${arguments[0]:-.}
faults=$root/tests/mutation/faults.txt
work=$root/build/mutation
tree=$work/tree
export ZQ_WINEPREFIX=$root/build/wine

"$root/scripts/setup.sh"
rm -rf "$tree"
mkdir -p "$tree"
tar -C "$root" --exclude=./build --exclude=./.git -c . | tar -C "$tree" -xm # newer than any object of a run that was cut off
cmake -S "$tree" -B "$work/native" -G Ninja -DCMAKE_BUILD_TYPE=Release >/dev/null
cmake -S "$tree" -B "$work/windows" -G Ninja -DCMAKE_BUILD_TYPE=Release \
  -DCMAKE_TOOLCHAIN_FILE="$tree/cmake/mingw-w64-x86_64.cmake" >/dev/null
cmake --build "$work/native" --target portable_tests >/dev/null
cmake --build "$work/windows" --target core_tests system_tests tool_tests comfort_tests >/dev/null

wine() { timeout 120 "$root/scripts/wine-run.sh" "$@"; }

# build_and_test TESTS FILTER: 0 when the tests pass, 1 when they fail or hang, 2 when they do not build.
build_and_test() {
  local quiet=(--gtest_brief=1 --gtest_fail_fast)
  case $1 in
    portable)
      cmake --build "$work/native" --target portable_tests >"$work/log" 2>&1 || return 2
      timeout 120 "$work/native/bin/portable_tests" "${quiet[@]}" >"$work/log" 2>&1 || return 1
      ;;
    core)
      cmake --build "$work/windows" --target core_tests >"$work/log" 2>&1 || return 2
      wine "$work/windows/bin/core_tests.exe" "${quiet[@]}" >"$work/log" 2>&1 || return 1
      ;;
    tool)
      cmake --build "$work/windows" --target tool_tests >"$work/log" 2>&1 || return 2
      wine "$work/windows/bin/tool_tests.exe" "${quiet[@]}" >"$work/log" 2>&1 || return 1
      ;;
    comfort)
      cmake --build "$work/windows" --target comfort_tests >"$work/log" 2>&1 || return 2
      wine "$work/windows/bin/comfort_tests.exe" "${quiet[@]}" --gtest_filter="$2" >"$work/log" 2>&1 || return 1
      ;;
    system)
      cmake --build "$work/windows" --target ZQModSettings >"$work/log" 2>&1 || return 2
      wine "$work/windows/bin/system_tests.exe" "${quiet[@]}" --gtest_filter="$2" >"$work/log" 2>&1 || return 1
      ;;
  esac
}

# plant FILE TEXT REPLACEMENT: fails unless the file has the text exactly once.
plant() {
  TEXT=$2 REPLACEMENT=$3 awk '
    BEGIN { text = ENVIRON["TEXT"]; replacement = ENVIRON["REPLACEMENT"] }
    {
      place = index($0, text)
      if (place) {
        found++
        $0 = substr($0, 1, place - 1) replacement substr($0, place + length(text))
        if (index(substr($0, place + length(replacement)), text)) found++
      }
      print
    }
    END { exit found != 1 }' "$root/$1" >"$work/planted" && cp "$work/planted" "$tree/$1"
}

caught=0
survived=0
unfit=0
try() {
  local file=$1 tests=$2 filter=$3 text=$4 replacement=$5 result=0 by
  if ! plant "$file" "$text" "$replacement"; then
    echo "UNFIT     $file: not there exactly once: $text"
    unfit=$((unfit + 1))
    return
  fi
  build_and_test "$tests" "$filter" || result=$?
  cp "$root/$file" "$tree/$file"
  case $result in
    0)
      echo "SURVIVED  $file: $replacement"
      survived=$((survived + 1))
      ;;
    1)
      by=$(sed -n 's/^\[  FAILED  \] \([A-Za-z]*[A-Za-z0-9_/]*\.[A-Za-z0-9_/]*\).*/\1/p' "$work/log" | head -n 1)
      echo "caught    $file: $replacement   ${by:-(crashed or hung)}"
      caught=$((caught + 1))
      ;;
    2)
      echo "UNFIT     $file does not build with: $replacement"
      unfit=$((unfit + 1))
      ;;
  esac
}

# A fault that is caught shows nothing unless everything passes without it.
for tests in portable core tool; do
  build_and_test $tests '' || fail "the $tests tests fail without a fault; see $work/log."
done

while IFS= read -r line; do
  case $line in
    'src/'*)
      read -r file tests filter <<<"$line"
      ;;
    '< '*) text=${line#< } ;;
    '> '*)
      grep -q -- "$pattern" <<<"$file $tests" || continue
      try "$file" "$tests" "${filter:-*}" "$text" "${line#> }"
      ;;
  esac
done <"$faults"
echo "$caught caught, $survived survived, $unfit unfit"
[[ $survived -eq 0 && $unfit -eq 0 ]]
