#!/usr/bin/env bash
# Plants faults one at a time and checks that the tests catch them: scripts/mutate.sh [PATTERN]
#   --list FILE   plants the faults in FILE instead of those in tests/mutation/faults.txt
#   --random N    plants N faults drawn at random from all of src/ instead (tests/mutation/mutants.py)
#   --seed S      the seed of the drawing (default: the current time, which is printed)
#   --minutes M   draws no more faults after M minutes
#   --part K/N    judges only each Nth of these faults, from the Kth on, so that N runs side by side share them
# PATTERN, a pattern for grep, selects listed faults by file and tests, and random ones by file. Works on a copy in
# build/mutation (build/mutation-K for a part). Exits with 1 if a listed fault survives or no longer fits the sources, or if
# less than 95 % of the random ones are caught. Writes all survivors to survivors.txt in the folder of the copy.
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"
parse_arguments '--list= --random= --seed= --minutes= --part= 0..1' "$@"
pattern=${arguments[0]:-.}
faults=${options[--list]:-$root/tests/mutation/faults.txt}
[[ -f $faults ]] || fail "there is no file $faults." 2
for name in --random --seed --minutes; do
  require_number "$name" "${options[$name]:-}"
done
part=${options[--part]:-1/1}
[[ $part =~ ^[1-9][0-9]*/[1-9][0-9]*$ && ${part%/*} -le ${part#*/} ]] || fail "--part takes K/N, as in 1/2, not $part." 2
work=$root/build/mutation
[[ $part == 1/1 ]] || work+=-${part%/*}
tree=$work/tree
original=$work/original # what is planted in: the working tree may change during a run
export ZQ_WINEPREFIX=$work/wine

"$root/scripts/setup.sh"
rm -rf "$tree"
mkdir -p "$tree"
tar -C "$root" --exclude=./build --exclude=./.git --exclude=node_modules -c . |
  tar -C "$tree" -xm # newer than any object of a run that was cut off
rm -rf "$original"
cp -r "$tree" "$original"
# Little optimised and without warnings: a fault is compiled once and run once.
cmake -S "$tree" -B "$work/native" -G Ninja -DCMAKE_BUILD_TYPE=Debug -DZQ_BATCHES=OFF -DCMAKE_CXX_FLAGS_DEBUG='-O1 -w' >/dev/null
cmake -S "$tree" -B "$work/windows" -G Ninja -DCMAKE_BUILD_TYPE=Debug -DZQ_BATCHES=OFF -DCMAKE_CXX_FLAGS_DEBUG='-O1 -w' \
  -DCMAKE_TOOLCHAIN_FILE="$tree/cmake/mingw-w64-x86_64.cmake" -DCMAKE_EXE_LINKER_FLAGS=-fstack-protector-strong >/dev/null

# suites FOLDER...: a filter for the test suites in these folders of tests/.
suites() {
  local folder
  for folder in "$@"; do
    sed -nE 's/^TEST(_F|_P)?\((\w+),.*/\2.*/p' "$original/tests/$folder/"*_test.cpp
  done | sort -u | paste -sd:
}

# run TESTS FILTER: builds and runs test programs; 0 when the tests pass, 1 when they fail or hang, 2 when they do not build.
run() {
  local folder=$work/windows target=$1_tests result=0
  case $1 in
    portable) folder=$work/native ;;
    system) target=ZQModSettings ;;
  esac
  cmake --build "$folder" --target "$target" >"$work/log" 2>&1 || return 2
  local command=(timeout 60 "$folder/bin/$1_tests")
  if [[ $1 != portable ]]; then
    command=(timeout 180 "$root/scripts/run-tests.sh" "$folder/bin/$1_tests.exe")
  fi
  "${command[@]}" --gtest_brief=1 --gtest_fail_fast --gtest_filter="$2" >"$work/log" 2>&1 </dev/null || result=1
  return $result
}

failed_test() {
  sed -n 's/^\[  FAILED  \] \([A-Za-z]*[A-Za-z0-9_/]*\.[A-Za-z0-9_/]*\).*/\1/p' "$work/log" | head -n 1
}

# build_and_test TESTS FILTER: as run, but a test has to fail twice: on a busy machine, a test that waits may fail for no
# other reason.
build_and_test() {
  local result=0 failed
  run "$1" "$2" || result=$?
  [[ $result -eq 1 ]] || return $result
  failed=$(failed_test)
  if [[ -z $failed || $1 == portable ]] || ! run "$1" "$failed"; then
    by=${failed:-(crashed or hung)}
    return 1
  fi
  result=0
  run "$1" "$2$([[ $2 == *-* ]] && echo : || echo -)$failed" || result=$?
  [[ $result -eq 0 ]] || by=$(failed_test)
  return $result
}

# What has to catch a random fault: programs and filters, the fastest first.
tests_of() {
  local quick='-*Stress*:*Soak*:BadMoments*:*Moments*' component=${1#src/}
  component=${component%/*}
  case $component in
    base | config | config/json | variables) echo "portable *" ;;&
    check) printf '%s\n' "portable *" "tool $(suites tools)" ;;
    base) printf '%s\n' "core $(suites base config save sysinfo)" "system $quick" ;;
    config | config/json) printf '%s\n' "core $(suites config)" "system $quick" ;;
    variables) printf '%s\n' "core $(suites variables)" "system $quick" ;;
    variables/hosts) printf '%s\n' "core $(suites variables/hosts)" "system Host*:Import*:Memory*:Lifecycle.*" ;;
    save) printf '%s\n' "core $(suites save platform)" "system Save*:Import*:Memory*" "portable *" "tool Save*:Restore*" ;;
    sysinfo) printf '%s\n' "core $(suites sysinfo)" "system Survey*:Import*:DoInit*" ;;
    image) echo "system Dll*" ;;
    platform) printf '%s\n' "core $(suites platform save module/files)" "system $quick" ;;
    module/files) printf '%s\n' "core $(suites module/files)" "system $quick" ;;
    module) echo "system $quick" ;;
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
    END { exit found != 1 }' "$original/$1" >"$work/planted" && cp "$work/planted" "$tree/$1"
}

# plant_line FILE NUMBER LINE
plant_line() {
  LINE=$3 awk -v number="$2" 'NR == number { $0 = ENVIRON["LINE"] } { print }' "$original/$1" >"$tree/$1"
}

caught=0
survived=0
unfit=0
: >"$work/survivors.txt"

# judge FILE FAULT TESTS FILTER [TESTS FILTER]...: runs the tests on what is planted in FILE, and takes it out again.
judge() {
  local file=$1 fault=$2 result=0 by=
  shift 2
  while [[ $# -gt 0 && $result -eq 0 ]]; do
    build_and_test "$1" "$2" || result=$?
    shift 2
  done
  cp "$original/$file" "$tree/$file"
  case $result in
    0)
      echo "SURVIVED  $file: $fault" | tee -a "$work/survivors.txt"
      survived=$((survived + 1))
      ;;
    1)
      echo "caught    $file: $fault   $by"
      caught=$((caught + 1))
      ;;
    2)
      echo "UNFIT     $file does not build with: $fault"
      unfit=$((unfit + 1))
      ;;
  esac
}

# A fault that is caught shows nothing unless everything passes without it.
for tests in core portable tool comfort; do
  build_and_test $tests "*" || fail "the $tests tests fail without a fault; see $work/log."
done
cmake --build "$work/windows" --target system_tests >"$work/log" 2>&1 || fail "system_tests does not build; see $work/log."
build_and_test system '-*Stress*:*Soak*' || fail "the system tests fail without a fault; see $work/log."

if [[ -n ${options[--random]:-} ]]; then
  seed=${options[--seed]:-$(date +%s)}
  echo "seed $seed"
  end=$((SECONDS + 60 * ${options[--minutes]:-100000}))
  while IFS=$'\t' read -r file number kind line; do
    [[ $((caught + survived)) -lt ${options[--random]} && $SECONDS -lt $end ]] || break
    plant_line "$file" "$number" "$line"
    mapfile -t steps < <(tests_of "$file")
    programs_and_filters=()
    for step in "${steps[@]}"; do
      programs_and_filters+=("${step%% *}" "${step#* }")
    done
    judge "$file" "$number: $kind: ${line#"${line%%[! ]*}"}" "${programs_and_filters[@]}"
  done < <("$root/tests/mutation/mutants.py" "$original" "$seed" | awk -F '\t' -v pattern="$pattern" '
    BEGIN { if (pattern == ".") pattern = "" } $1 ~ pattern' |
    awk -v first="${part%/*}" -v parts="${part#*/}" 'NR % parts == first % parts')
  echo "$caught caught, $survived survived, $unfit did not build and were replaced"
  [[ $((100 * caught)) -ge $((95 * (caught + survived))) ]]
  exit
fi

while IFS= read -r line; do
  case $line in
    'src/'* | 'include/'*)
      read -r file tests filter <<<"$line"
      ;;
    '< '*) text=${line#< } ;;
    '> '*)
      grep -q -- "$pattern" <<<"$file $tests" || continue
      if plant "$file" "$text" "${line#> }"; then
        judge "$file" "${line#> }" "$tests" "${filter:-*}"
      else
        echo "UNFIT     $file: not there exactly once: $text"
        unfit=$((unfit + 1))
      fi
      ;;
  esac
done <"$faults"
echo "$caught caught, $survived survived, $unfit unfit"
[[ $survived -eq 0 && $unfit -eq 0 ]]
