#!/usr/bin/env bash
# Analyses the sources of src/ and tools/ with clang-tidy: scripts/tidy.sh [--all]
#   --all   also those that have not changed since they were found clean
# Needs a release build: its record of what each source includes decides what has changed.
set -euo pipefail

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
if [[ ${1:-} == --help ]]; then
  sed -n '2,4s/^# //p' "${BASH_SOURCE[0]}"
  exit 0
fi

cd "$root"
stamps=build/tidy
mkdir -p "$stamps"
[[ ${1:-} == --all ]] && rm -f "$stamps"/*
if [[ ! -f build/release/build.ninja ]]; then
  echo "tidy.sh: there is no release build; run: cmake --preset release && cmake --build --preset release." >&2
  exit 1
fi

# A line for each source: the source, then the project's headers that it includes.
sources_with_headers() {
  ninja -C build/release -t deps | awk -v root="$root/" '
    function flush() { if (source ~ /^(src|tools)\//) print source headers; source = ""; headers = "" }
    /^[^ ]/ { flush(); next }
    /^ / {
      path = $1
      sub(/^\.\.\/\.\.\//, "", path)
      if (index(path, root) == 1) path = substr(path, length(root) + 1)
      sub(/^components\/[^\/]*\//, "src/", path)
      if (source == "") source = path
      else if (path ~ /^(include|src|tools)\//) headers = headers " " path
    }
    END { flush() }' | sort -u
}

gcc=$(dirname "$(x86_64-w64-mingw32-g++-posix -print-libgcc-file-name)")
analyse() {
  local source=$1 stamp=$2
  local library=$gcc/include/c++
  if clang-tidy-14 --quiet "$source" -- -std=c++20 --target=x86_64-w64-mingw32 -Wall -Wextra \
    -isystem "$library" -isystem "$library/x86_64-w64-mingw32" -isystem "$library/backward" \
    -isystem build/release/deps -Iinclude -Isrc -Itools/zqsettings \
    -DUNICODE -D_UNICODE -DWIN32_LEAN_AND_MEAN -DNOMINMAX -D_WIN32_WINNT=0x0A00 -DZQ_VERSION='""' 2>/dev/null; then
    touch "$stamp"
  else
    echo "tidy.sh: $source is not clean" >&2
    return 1
  fi
}
export -f analyse
export gcc

# The stamp's name holds all that the result depends on, so a changed source or header has none.
sources_with_headers | while read -r source headers; do
  [[ -f $source ]] || continue
  # shellcheck disable=SC2086
  hash=$(cat .clang-tidy scripts/tidy.sh "$source" $headers | sha256sum | cut -c1-32)
  stamp=$stamps/$hash
  [[ -f $stamp ]] || printf '%s\0%s\0' "$source" "$stamp"
done | xargs -0 -r -n 2 -P "$(nproc)" bash -c 'analyse "$@"' analyse
