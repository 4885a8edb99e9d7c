#!/usr/bin/env bash
# Formats the C++ sources with clang-format: scripts/format.sh [--check]
#   --check   change nothing, and end with 1 when a file is not formatted
set -euo pipefail

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
mode=(-i)
case ${1:-} in
  --help)
    sed -n '2,3s/^# //p' "${BASH_SOURCE[0]}"
    exit 0
    ;;
  --check) mode=(--dry-run -Werror) ;;
esac

cd "$root"
folders=()
for folder in include src tools tests benchmarks; do
  [[ -d $folder ]] && folders+=("$folder")
done
find "${folders[@]}" \( -name '*.h' -o -name '*.hpp' -o -name '*.cpp' \) -print0 |
  xargs -0 -n 20 -P "$(nproc)" clang-format-14 "${mode[@]}"
