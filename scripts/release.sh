#!/usr/bin/env bash
# Makes a release from a clean clone of the last commit: scripts/release.sh [--check] VERSION
#   --check   only look whether version, changelog and working copy are ready
# Runs scripts/test.sh and scripts/package.sh in the clone, and prints where the packages are and the commands that publish
# the release. Changes nothing in the working copy; docs/releasing.md is the guide.
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"
parse_arguments '--check 1..1' "$@"

version=${arguments[0]}
cd "$root"
[[ $version =~ ^[0-9]+\.[0-9]+\.[0-9]+$ ]] || fail "$version is no version; an example is 1.2.3." 2
git rev-parse --git-dir >/dev/null 2>&1 || fail "$root is no clone; a release is made from one."

built=$(sed -n 's/^  VERSION \([0-9.]*\)$/\1/p' CMakeLists.txt)
[[ $built == "$version" ]] || fail "CMakeLists.txt has the version $built instead of $version; set it in project()."

heading=$(grep -m 1 -F "## [$version]" CHANGELOG.md) || fail "CHANGELOG.md has no section \"## [$version] - <date>\"; rename Unreleased to it."
date=${heading#"## [$version] - "}
if ! [[ $date =~ ^[0-9]{4}-[0-9]{2}-[0-9]{2}$ ]] || ! date --date="$date" >/dev/null 2>&1; then
  fail "the section of $version in CHANGELOG.md has no date: $heading; write \"## [$version] - YYYY-MM-DD\"."
fi
unreleased=$(awk '/^## / { inside = /\[Unreleased\]/; next } inside && NF' CHANGELOG.md)
[[ -z $unreleased ]] || fail "CHANGELOG.md still has lines under Unreleased; move them to $version."
newest=$(sed -n 's/^## \[\([0-9.]*\)\].*/\1/p' CHANGELOG.md | head -n 1)
[[ $newest == "$version" ]] || fail "the newest section of CHANGELOG.md is $newest; that of $version has to come first."

[[ -z $(git status --porcelain) ]] || fail "the working copy has changes that are not committed; commit or stash them."
! git rev-parse --quiet --verify "refs/tags/v$version" >/dev/null || fail "the tag v$version exists already; choose the next version."
echo "$script: version, changelog and working copy are ready for $version."
[[ -z ${options[--check]:-} ]] || exit 0

clone=$root/build/release-clone
rm -rf "$clone"
git clone --quiet --no-hardlinks "$root" "$clone"
"$clone/scripts/test.sh"
"$clone/scripts/package.sh"
packages=$clone/build/package
compgen -G "$packages/*-$version-win64.zip" >/dev/null || fail "scripts/package.sh made no ZIP of $version in $packages."
(cd "$packages" && sha256sum --check --quiet SHA256SUMS)
cat <<NEXT
The release is in $packages; SHA256SUMS has the checksums.
Publish it with:
  git tag -a v$version -m "Release $version" $(git rev-parse HEAD)
  git push origin v$version
NEXT
