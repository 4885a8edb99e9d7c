#!/usr/bin/env bash
# What the scripts refuse before they do anything: tests/scripts/scripts_test.sh
# A misspelt argument of each script, and each state of the tree in which no release can be made.
set -euo pipefail

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/../.." && pwd)
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
problems=0

# expect CODE OUTPUT COMMAND...
expect() {
  local code=$1 output=$2 result=0 actual
  shift 2
  actual=$(timeout 60 "$@" 2>&1 </dev/null) || result=$?
  if [[ $result -ne $code || $actual != "$output" ]]; then
    printf '%s\n  ended with %s: %s\n  instead of %s: %s\n' "$*" "$result" "$actual" "$code" "$output" >&2
    problems=$((problems + 1))
  fi
}

# A copy, so that a script that goes on does so elsewhere.
copy=$work/copy
mkdir "$copy"
cp -r "$root/scripts" "$root/CMakeLists.txt" "$root/tests/mutation" "$copy"
for path in "$copy"/scripts/*.sh; do
  name=${path##*/}
  [[ $name == common.sh ]] || expect 2 "$name: unknown option --chek; see $name --help." "$path" --chek
done
expect 2 "format.sh: unexpected argument check; see format.sh --help." "$copy/scripts/format.sh" check
expect 2 "soak.sh: there is no preset relase here; it is release or debug." "$copy/scripts/soak.sh" relase
expect 2 "fuzz.sh: there is no target jsn; see fuzz.sh --help." "$copy/scripts/fuzz.sh" jsn
expect 2 "fuzz.sh: --runs takes a whole number, not many; see fuzz.sh --help." "$copy/scripts/fuzz.sh" --runs many
expect 2 "fuzz.sh: --runs needs a value; see fuzz.sh --help." "$copy/scripts/fuzz.sh" --runs
expect 2 "mutate.sh: there is no file none.txt." "$copy/scripts/mutate.sh" --list none.txt
expect 2 "mutate.sh: --random takes a whole number, not 1x; see mutate.sh --help." \
  "$copy/scripts/mutate.sh" --list "$copy/mutation/faults.txt" --random 1x
expect 2 "bad-moments.sh: SEED takes a whole number, not seed; see bad-moments.sh --help." "$copy/scripts/bad-moments.sh" seed

# A small tree that can be released.
tree=$work/tree
release=$tree/scripts/release.sh
mkdir "$tree"
cp -r "$root/scripts" "$tree"
printf 'project(\n  X\n  VERSION 2.1.0\n' >"$tree/CMakeLists.txt"
expect 1 "release.sh: $tree is no clone; a release is made from one." "$release" --check 2.1.0
git -C "$tree" init --quiet
commit() {
  git -C "$tree" add --all
  git -C "$tree" -c user.name=test -c user.email=test@localhost commit --quiet --message x
}

# changelog LINE...
changelog() {
  printf '%s\n' "# Changelog" "$@" >"$tree/CHANGELOG.md"
  commit
}

expect 2 "release.sh: an argument is missing; see release.sh --help." "$release"
expect 2 "release.sh: v2.1.0 is no version; an example is 1.2.3." "$release" v2.1.0
changelog "## [2.1.0] - 2026-11-22"
expect 1 "release.sh: CMakeLists.txt has the version 2.1.0 instead of 2.2.0; set it in project()." "$release" --check 2.2.0
changelog "## [Unreleased]" "- News."
expect 1 'release.sh: CHANGELOG.md has no section "## [2.1.0] - <date>"; rename Unreleased to it.' "$release" --check 2.1.0
for heading in "## [2.1.0]" "## [2.1.0] - soon" "## [2.1.0] - 2026-13-40"; do
  changelog "## [Unreleased]" "$heading"
  expect 1 "release.sh: the section of 2.1.0 in CHANGELOG.md has no date: $heading; write \"## [2.1.0] - YYYY-MM-DD\"." \
    "$release" --check 2.1.0
done
changelog "## [Unreleased]" "- News." "## [2.1.0] - 2026-11-22"
expect 1 "release.sh: CHANGELOG.md still has lines under Unreleased; move them to 2.1.0." "$release" --check 2.1.0
changelog "## [2.2.0] - 2026-11-23" "## [2.1.0] - 2026-11-22"
expect 1 "release.sh: the newest section of CHANGELOG.md is 2.2.0; that of 2.1.0 has to come first." "$release" --check 2.1.0
changelog "## [Unreleased]" "## [2.1.0] - 2026-11-22"
ready="release.sh: version, changelog and working copy are ready for 2.1.0."
expect 0 "$ready" "$release" --check 2.1.0
touch "$tree/new"
expect 1 "release.sh: the working copy has changes that are not committed; commit or stash them." "$release" --check 2.1.0
commit
expect 0 "$ready" "$release" --check 2.1.0
git -C "$tree" tag v2.1.0
expect 1 "release.sh: the tag v2.1.0 exists already; choose the next version." "$release" --check 2.1.0

[[ $problems -eq 0 ]]
