#!/usr/bin/env bash
# Checks that the packages are reproducible: scripts/reproducible.sh [COMMIT]
# Builds COMMIT (default: HEAD) twice, without the compiler cache, in two folders with different paths, and compares every
# package byte by byte. Takes some minutes. scripts/soak.sh calls it.
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"
parse_arguments '0..1' "$@"

commit=${arguments[0]:-HEAD}
git -C "$root" rev-parse --quiet --verify "$commit^{commit}" >/dev/null || fail "$commit is not a commit." 2
"$root/scripts/setup.sh"
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
export CCACHE_DISABLE=1
SOURCE_DATE_EPOCH=$(git -C "$root" log -1 --format=%ct "$commit")
export SOURCE_DATE_EPOCH

build_packages() {
  local source=$work/$1 log=$work/$1.log
  mkdir "$source"
  git -C "$root" archive "$commit" | tar -x -C "$source"
  if ! { cd "$source" && cmake --preset release && cmake --build --preset release --target zq_package_files &&
    packaging/make_packages.py build/release "$source.packages"; } >"$log" 2>&1; then
    tail -n 40 "$log" >&2
    fail "$commit does not build."
  fi
}
(build_packages one)
# Another hour, another path.
(build_packages another-folder)
if ! diff -r "$work/one.packages" "$work/another-folder.packages"; then
  fail "the packages differ."
fi
cat "$work/one.packages/SHA256SUMS"
echo "Two builds of $(git -C "$root" rev-parse --short "$commit") gave the same bytes."
