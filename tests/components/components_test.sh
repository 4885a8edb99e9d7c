#!/usr/bin/env bash
# Includes between the components of src/: tests/components/components_test.sh BUILD_FOLDER COMPILER
# A component sees the headers of each component that it links, directly or through another, and of no other one.
set -euo pipefail

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/../.." && pwd)
build=$(cd "$1" && pwd)
compiler=$2
problems=0
allowed=0
refused=0

declare -A search_paths=() linked=()
while read -r kind component rest; do
  case $kind in
    searches) search_paths[$component]=$rest ;;
    links) linked[$component]+=" ${rest#* }" ;;
  esac
done <"$build/components.txt"

# What a component reaches: itself and everything along the arrows.
reached_from() {
  local component=$1 next
  [[ " $reached " == *" $component "* ]] && return
  reached+=" $component"
  for next in ${linked[$component]:-}; do
    reached_from "$next"
  done
}

compiles() {
  local path include_paths=()
  for path in ${search_paths[$1]}; do
    include_paths+=(-I "$path")
  done
  "$compiler" -E -x c++ -std=c++20 "${include_paths[@]}" -o /dev/null - <<<"#include \"$2\"" 2>/dev/null
}

for from in "${!search_paths[@]}"; do
  reached=
  reached_from "$from"
  for to in "${!search_paths[@]}"; do
    header=$(find "$root/src/$to" -maxdepth 1 -name '*.h' -printf "$to/%f\n" | sort | head -n 1)
    [[ -n $header ]] || continue
    if [[ " $reached " == *" $to "* ]]; then
      allowed=$((allowed + 1))
      compiles "$from" "$header" && continue
      echo "src/$from links src/$to, but cannot include $header"
    else
      refused=$((refused + 1))
      compiles "$from" "$header" || continue
      echo "src/$from does not link src/$to, but can include $header"
    fi
    problems=$((problems + 1))
  done
done

[[ $allowed -ge 20 && $refused -ge 20 ]] || {
  echo "components_test.sh: only $allowed allowed and $refused refused includes were tried" >&2
  exit 1
}
[[ $problems -eq 0 ]]
