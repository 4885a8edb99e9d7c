#!/usr/bin/env bash
# Formats the C++ sources with clang-format: scripts/format.sh [--check]
#   --check   changes nothing, and exits with 1 if a file is not formatted
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"
parse_arguments '--check' "$@"
mode=(-i)
[[ -z ${options[--check]:-} ]] || mode=(--dry-run -Werror)

cd "$root"
folders=()
for folder in include src tools tests examples benchmarks; do
  [[ -d $folder ]] && folders+=("$folder")
done
find "${folders[@]}" \( -name '*.h' -o -name '*.hpp' -o -name '*.cpp' \) -print0 |
  xargs -0 -n 20 -P "$(nproc)" clang-format-14 "${mode[@]}"
