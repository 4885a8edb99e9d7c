#!/usr/bin/env bash
# Writes docs/terminals.md, what zqsettings prints on terminals of 80 and 200 columns, with its colours: scripts/terminals.sh
# Runs the release build in tmux, in one pseudo terminal for each width.
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"
parse_arguments '' "$@"

"$root/scripts/setup.sh" --terminals
cd "$root"
build release --target zqsettings

folder=$(mktemp -d)
socket=
trap 'tmux -L "$socket" kill-server 2>/dev/null || true; rm -rf "$folder"' EXIT
mkdir -p "$folder/ZQserver" "$folder/good/ZQserver"
cp defaults/* "$folder/ZQserver/"
cp defaults/* "$folder/good/ZQserver/"
sed -e 's/"Settings.CurrentBitrate": 70/"Settings.CurrentBitrate": "90"/' -e 's/"DHI": 0,/"DHI": 0,,/' \
  defaults/ZQ2_serverSetting.setting >"$folder/ZQserver/ZQ2_serverSetting.setting"
# What the file's text may not do to the terminal, and letters beyond ASCII.
cat >"$folder/names.json" <<'NAMES'
[{"DeviceName": "Brille \u00fc \u65e5\u672c", "Response": [], "HD": "\u001b[31mred\u001b[2J"}]
NAMES
truncate -s -1 "$folder/names.json"

# capture COLUMNS OPTIONS COMMAND...: the screen when the command has ended; OPTIONS are those of tmux capture-pane.
capture() {
  local columns=$1 options=$2
  shift 2
  socket=zqsettings-$$-$RANDOM # a server that is about to end takes no new session
  tmux -L "$socket" -f /dev/null new-session -d -x "$columns" -y 70 \
    "cd '$folder'; '$root/scripts/wine-run.sh' '$root/build/release/bin/zqsettings.exe' $* ; echo; echo END-OF-RUN; sleep 60"
  for _ in $(seq 200); do
    sleep 0.05
    if tmux -L "$socket" capture-pane -p | grep -q END-OF-RUN; then
      break
    fi
  done
  # shellcheck disable=SC2086 # several options
  tmux -L "$socket" capture-pane $options -p | sed -e '/END-OF-RUN/,$d' | sed -e :a -e '/^\n*$/{$d;N;ba' -e '}'
  tmux -L "$socket" kill-server
}

show() {
  local columns=$1
  shift
  printf '\n```\n$ zqsettings %s\n' "$*"
  capture "$columns" '' "$@" | sed -e "s#$folder#data#g" -e 's#\\tmp\\tmp\.[A-Za-z0-9]*#data#g' -e 's#Z:data#data#g'
  printf '```\n'
}

{
  cat <<'INTRODUCTION'
# On a terminal

What `zqsettings` prints on pseudo terminals of 80 and 200 columns, captured by `scripts/terminals.sh`. A pipe or file gets the
same text without colours. Wine's console counts the bytes of colours as columns: a line that has some is broken earlier here
than on Windows.
INTRODUCTION
  for columns in 80 200; do
    printf '\n## %s columns\n' "$columns"
    show "$columns" check ZQserver
    show "$columns" list --prefix Settings.C --data good
    show "$columns" describe Settings.CurrentBitrate
    show "$columns" set Settings.CurrentBitrate 80 --data .
    show "$columns" get Settings.CurentBitrate --data good
    show "$columns" set Settings.CurrentBitrate "$columns" --data good
    show "$columns" check names.json --as hmd-list
  done
  cat <<'COLOURS'

## Colours, dark and light

The program chooses no background and no plain text colour: those are the terminal's own. It marks words by bold and by three of
the terminal's sixteen colours, and dims the module's own lines in `watch`; nothing is said by colour only. These are the
sequences of the first lines of `check` above, as the terminal was sent them (`^[` is the escape character):

```
COLOURS
  capture 80 -e check ZQserver | sed -e "s#$folder#data#g" -e 's#\\tmp\\tmp\.[A-Za-z0-9]*#data#g' | cat -v | head -n 5
  cat <<'WATCH'
```

and of a line of the module in `watch`:

```
WATCH
  capture 200 -e watch --for 1 --data good | cat -v | grep 'DoInit begin'
  cat <<'CONTRAST'
```

Contrast with the background (WCAG wants 4.5 for text, 3 for large or bold text), in the palettes that Windows Terminal ships:

CONTRAST
  python3 - <<'PYTHON'
PALETTES = {
    "Campbell, dark": ("0C0C0C", {"plain": "CCCCCC", "red, bold": "E74856", "magenta, bold": "B4009E", "green, bold": "16C60C"}),
    "One Half Dark": ("282C34", {"plain": "DCDFE4", "red, bold": "E06C75", "magenta, bold": "C678DD", "green, bold": "98C379"}),
    "One Half Light": ("FAFAFA", {"plain": "383A42", "red, bold": "E45649", "magenta, bold": "A626A4", "green, bold": "50A14F"}),
    "Solarized Light": ("FDF6E3", {"plain": "657B83", "red, bold": "DC322F", "magenta, bold": "D33682", "green, bold": "859900"}),
}


def luminance(colour):
    parts = [int(colour[i : i + 2], 16) / 255 for i in (0, 2, 4)]
    linear = [part / 12.92 if part <= 0.03928 else ((part + 0.055) / 1.055) ** 2.4 for part in parts]
    return 0.2126 * linear[0] + 0.7152 * linear[1] + 0.0722 * linear[2]


def contrast(a, b):
    lighter, darker = sorted((luminance(a), luminance(b)), reverse=True)
    return (lighter + 0.05) / (darker + 0.05)


names = ["plain", "red, bold", "magenta, bold", "green, bold"]
print("| palette | plain text | error (red, bold) | warning (magenta, bold) | caret (green, bold) |")
print("|---|---|---|---|---|")
for palette, (background, colours) in PALETTES.items():
    print("| " + palette + " | " + " | ".join(f"{contrast(background, colours[name]):.1f}" for name in names) + " |")
PYTHON
} >docs/terminals.md
echo "$script: docs/terminals.md is written."
