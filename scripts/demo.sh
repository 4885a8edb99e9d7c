#!/usr/bin/env bash
# Shows the module at work: scripts/demo.sh
# Installs what is missing, builds, loads the default files, and then a folder with a broken file that is repaired.
set -euo pipefail

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
if [[ ${1:-} == --help ]]; then
  sed -n '2,3s/^# //p' "${BASH_SOURCE[0]}"
  exit 0
fi

"$root/scripts/setup.sh"
cd "$root"
echo "demo.sh: building"
mkdir -p build
if ! { cmake --preset release && cmake --build --preset release --target zqsettings; } >build/demo.log 2>&1; then
  tail -n 40 build/demo.log >&2
  echo "demo.sh: the build failed; build/demo.log holds all of its output." >&2
  exit 1
fi

tool() {
  echo
  echo "\$ zqsettings $*"
  scripts/wine-run.sh build/release/bin/zqsettings.exe "$@"
}

echo
echo "--- The default files: what a server finds on its first start"
tool show --prefix Settings.

data=$(mktemp -d)
trap 'rm -rf "$data"' EXIT
mkdir "$data/ZQserver"
cp defaults/* "$data/ZQserver/"
head -c 1000 defaults/ZQ2_HmdList.json >"$data/ZQserver/ZQ2_HmdList.json"
echo
echo "--- A folder whose headset list ends in the middle: it is refused, replaced by its default copy, loaded again"
tool show --data "$data" --prefix CL.MERIN5.3.
cmp defaults/ZQ2_HmdList.json "$data/ZQserver/ZQ2_HmdList.json" && echo "The headset list is whole again."
