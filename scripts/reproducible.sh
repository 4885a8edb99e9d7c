#!/usr/bin/env bash
# Shows that the packages are reproducible: scripts/reproducible.sh [COMMIT]
# Builds COMMIT (HEAD by default) twice, without the compiler's cache, in two folders whose paths differ, and compares every
# package byte by byte. Some minutes; scripts/soak.sh calls it.
set -euo pipefail

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
if [[ ${1:-} == --help ]]; then
  sed -n '2,4s/^# //p' "${BASH_SOURCE[0]}"
  exit 0
fi
commit=${1:-HEAD}
"$root/scripts/setup.sh"
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
export CCACHE_DISABLE=1
SOURCE_DATE_EPOCH=$(git -C "$root" log -1 --format=%ct "$commit")
export SOURCE_DATE_EPOCH

build() {
  local source=$work/$1 log=$work/$1.log
  mkdir "$source"
  git -C "$root" archive "$commit" | tar -x -C "$source"
  if ! { cd "$source" && cmake --preset release && cmake --build --preset release --target zq_package_files &&
    packaging/make_packages.py build/release "$source.packages"; } >"$log" 2>&1; then
    tail -n 40 "$log" >&2
    echo "reproducible.sh: $commit could not be built." >&2
    exit 1
  fi
}
(build one)
# Another hour, another path.
(build another-folder)
if ! diff -r "$work/one.packages" "$work/another-folder.packages"; then
  echo "reproducible.sh: the packages differ." >&2
  exit 1
fi
cat "$work/one.packages/SHA256SUMS"
echo "Two builds of $(git -C "$root" rev-parse --short "$commit") gave the same bytes."
