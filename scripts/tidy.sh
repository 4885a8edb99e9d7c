#!/usr/bin/env bash
# Analyses the sources of src/, tools/ and tests/ with clang-tidy: scripts/tidy.sh [--all | --record]
#   --all      also analyses sources that have not changed since they last passed
#   --record   analyses the changed sources, then writes scripts/tidy-passed.txt, so that a new machine need not analyse them
# Remembers the sources that passed in the user's cache folder, so that a new clone can use the results. Each source
# is analysed by itself, which also shows a header that only its batch includes. Needs the build release, which makes a header.
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"
parse_arguments '--all --record' "$@"

cd "$root"
recorded=scripts/tidy-passed.txt
clean=${XDG_CACHE_HOME:-$HOME/.cache}/zqmodsettings/tidy
mkdir -p "$clean" build/tidy
[[ -f build/release/include/ZQSettingsKeys.hpp ]] ||
  fail "there is no build of release; run: cmake --preset release && cmake --build --preset release."

library=$(dirname "$(x86_64-w64-mingw32-g++-posix -print-libgcc-file-name)")/include/c++
compiler_arguments=(-std=c++20 --target=x86_64-w64-mingw32 -Wall -Wextra -Wthread-safety -Wno-ambiguous-reversed-operator
  -isystem "$library" -isystem "$library/x86_64-w64-mingw32" -isystem "$library/backward"
  -isystem build/release/deps -isystem /usr/src/googletest/googletest/include
  -Iinclude -Isrc -Itools/zqsettings -Itests -Ibenchmarks
  -DUNICODE -D_UNICODE -DWIN32_LEAN_AND_MEAN -DNOMINMAX -D_WIN32_WINNT=0x0A00 '-DZQ_VERSION=""' '-DZQ_SOURCE_DIR=""')
# The comfort header's typed keys are made by the build.
comfort_arguments=("${compiler_arguments[@]}" -Ibuild/release/include)
# Compiled for Linux, with a replacement for windows.h.
native_arguments=(-std=c++20 -Wall -Wextra -Wthread-safety -Itests/concurrency/shim -Itests/concurrency -Iinclude -Isrc
  -isystem /usr/src/googletest/googletest/include)

# Sets `source_arguments` for a source.
choose_arguments() {
  case $1 in
    tests/comfort/*) source_arguments=("${comfort_arguments[@]}") ;;
    tests/concurrency/*) source_arguments=("${native_arguments[@]}") ;;
    *) source_arguments=("${compiler_arguments[@]}") ;;
  esac
}

# analyse COUNT SOURCE MARK COMPILER_ARGUMENT...
analyse() {
  local count=$1 source=$2 mark=$3 log
  shift 3
  log=build/tidy/${source//\//-}.log
  echo "[$count] $source"
  if clang-tidy-14 --quiet "$source" -- "$@" >"$log" 2>&1; then
    touch "$mark"
  else
    # Not the count of what was found in other people's headers.
    grep -v '^[0-9]* warnings\? generated\.$' "$log" >&2
    echo "tidy.sh: $source is not clean" >&2
    return 1
  fi
}
export -f analyse

# Without those for the Microsoft ABI, which have no C++ library of their own here, and those that only other builds compile.
sources() {
  find src tools tests -name node_modules -prune -o -name '*.cpp' -print |
    grep -vE '^tests/(abi|fuzz|package)/|^tests/comfort/(Microsoft|WrongUses)|Portable\.cpp$' | sort
}

declare -A passed
while read -r hash; do
  passed[$hash]=1
done <"$recorded"

sources_with_arguments() {
  local source
  while read -r source; do
    choose_arguments "$source"
    (IFS=$'\t' && echo "$source"$'\t'"${source_arguments[*]}")
  done < <(sources)
}

# The mark's name holds all that the result depends on, so a changed source or header has none.
version=$(clang-tidy-14 --version | grep -oE 'version [0-9.]+')
marks=()
changed=()
while read -r source mark; do
  marks+=("$mark")
  [[ (-f $clean/$mark || -n ${passed[$mark]:-}) && -z ${options[--all]:-} ]] || changed+=("$source" "$clean/$mark")
done < <(sources_with_arguments | scripts/tidy_marks.py "$version")
[[ ${#marks[@]} -gt 0 ]] || fail "scripts/tidy_marks.py made no marks; its message is above."

total=$((${#changed[@]} / 2))
for ((i = 0; i < total; i++)); do
  choose_arguments "${changed[2 * i]}"
  printf '%q ' analyse "$((i + 1))/$total" "${changed[@]:2 * i:2}" "${source_arguments[@]}"
  printf '\0'
done | xargs -0 -r -n 1 -P "$(nproc)" bash -c

if [[ -n ${options[--record]:-} ]]; then
  printf '%s\n' "${marks[@]}" | sort -u >"$recorded"
  echo "$recorded holds $(wc -l <"$recorded") sources."
fi
