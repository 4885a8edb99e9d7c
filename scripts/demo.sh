#!/usr/bin/env bash
# Shows the module at work: scripts/demo.sh
# Installs what is missing, builds the module, loads the default files, then loads a folder with a truncated file, which is
# replaced, and follows that folder while a file in it is edited in three ways.
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"
parse_arguments '' "$@"

"$root/scripts/setup.sh"
cd "$root"
echo "$script: building"
build release --target zqsettings

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
echo "--- A folder whose headset list ends in the middle: it is refused, kept under another name, and the default copy is loaded"
tool show --data "$data" --replace-refused --prefix CL.MERIN5.3.
cmp defaults/ZQ2_HmdList.json "$data/ZQserver/ZQ2_HmdList.json" && echo "The headset list is whole again."

echo
echo "--- The folder is followed while the settings file is edited: rewritten, renamed over, broken"
settings="$data/ZQserver/ZQ2_serverSetting.setting"
story=$data/story
tool watch --data "$data" --replace-refused --for 6 | tee "$story" &
watcher=$!
for _ in $(seq 100); do
  grep -q ' watching ' "$story" 2>/dev/null && break
  sleep 0.1
done
sleep 0.3

edit() {
  echo
  echo ">>> $1"
}
edit "An editor rewrites the file: Settings.CurrentBitrate becomes 90"
changed=$(sed 's/CurrentBitrate": 70/CurrentBitrate": 90/' "$settings")
printf '%s' "$changed" >"$settings"
sleep 1.2
edit "Another program writes a new file elsewhere and renames it over the old one: DHI becomes 1"
changed=$(sed 's/"DHI": 0/"DHI": 1/' "$settings")
printf '%s' "$changed" >"$data/new"
mv "$data/new" "$settings"
sleep 1.2
edit "Somebody adds a line break at the end: the file is refused and replaced by its default copy"
echo >>"$settings"
wait "$watcher"

echo
echo "--- See it in a browser"
echo "scripts/wine-run.sh build/release/bin/zqsettings.exe serve"
echo "prints an address; open it in a browser on this machine. --data DIR shows your own folder."
