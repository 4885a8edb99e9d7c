#!/usr/bin/env bash
# Compares the documents with what they describe: tests/docs/docs_test.sh BUILD_FOLDER
#
# Every link and anchor resolves, every command exists (scripts, presets, sub-commands and options of zqsettings), every
# message of the module is in the guide and vice versa, and the host in the guide is the one that is built.
set -euo pipefail

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/../.." && pwd)
build=$(cd "$1" && pwd)
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$root"

problems=0
commands=0
problem() {
  echo "$1" >&2
  problems=$((problems + 1))
}

documents=(README.md CONTRIBUTING.md CHANGELOG.md THIRD-PARTY.md docs/*.md)

# The anchors that a document's headings make: small letters, blanks as hyphens, nothing else but letters and digits.
anchors() {
  sed -n 's/^#\+ //p' "$1" | tr '[:upper:]' '[:lower:]' | sed 's/[^a-z0-9 _-]//g; s/ /-/g'
}

# The links of a document, outside its code.
links() {
  awk '/^```/ { inside = !inside; next } !inside' "$1" | sed 's/`[^`]*`//g' | grep -oE '\]\([^)]+\)' || true
}

check_links() {
  local document=$1 target file anchor
  while read -r target; do
    [[ $target == http* ]] && continue
    file=${target%%#*}
    anchor=${target#"$file"}
    file=${file:+$(dirname "$document")/$file}
    file=${file:-$document}
    if [[ ! -e $file ]]; then
      problem "$document: the link to $target leads nowhere"
    elif [[ -n $anchor ]] && ! anchors "$file" | grep -qxF "${anchor#\#}"; then
      problem "$document: $file has no heading for $anchor"
    fi
  done < <(links "$document" | sed 's/^](//; s/)$//')
}

# run_zqsettings OUTPUT_FILE ARGUMENT...: once more where Wine failed it, which takes the output with it.
run_zqsettings() {
  local output=$1 code
  shift
  for _ in 1 2; do
    code=0
    "$root/scripts/wine-watched.sh" --limit 60 "$build/bin/zqsettings.exe" "$@" >"$output" 2>&1 </dev/null || code=$?
    [[ $code -ne 137 && -s $output ]] && return "$code"
    cat "$output" >&2
  done
  return 137
}

zqsettings_help() {
  local help=$work/help${1:+-$1}
  [[ -f $help ]] || run_zqsettings "$help" ${1:+"$1"} --help || true
  cat "$help"
}

# Of a command line of zqsettings: its sub-command and its options.
check_zqsettings() {
  local document=$1 command=$2 word
  shift 2
  [[ $command != help ]] || return 0 # lists the commands, itself not among them
  if ! zqsettings_help | grep -qE "^  $command +"; then
    [[ $command == --* ]] || problem "$document: zqsettings has no command $command"
    return
  fi
  for word in "$@"; do
    [[ $word == --* ]] || continue
    zqsettings_help "$command" | grep -qE -- "(^|[ ,])$word([ ,:]|$)" || problem "$document: zqsettings $command has no option $word"
  done
}

# A script of the project, and the options that it is shown with: each has to be in the script itself.
check_script() {
  local document=$1 script=$2 word
  shift 2
  if [[ ! -x $script ]]; then
    problem "$document: there is no $script to run"
    return
  fi
  for word in "$@"; do
    [[ $word != --* ]] || grep -qF -- "$word" "$script" || problem "$document: $script has no option $word"
  done
}

# What the README says of every script: it supports --help, and refuses what it does not know before it does anything.
check_scripts() {
  local script code
  for script in scripts/*; do
    [[ -x $script ]] || continue
    "$script" --help </dev/null 2>&1 | grep -qF "$script" || problem "README.md: $script --help does not show how to call it"
    code=0
    timeout 20 "$script" --no-such-option >"$work/refused" 2>&1 </dev/null || code=$?
    [[ $code -eq 2 ]] && grep -q -- '--help\|^usage:' "$work/refused" ||
      problem "README.md: $script does not refuse an unknown option: exit code $code"
  done
}

check_command() {
  local document=$1 words
  read -ra words <<<"$2"
  case ${words[0]} in
    zqsettings) check_zqsettings "$document" "${words[@]:1}" ;;
    mkdir) ;;
    scripts/wine-run.sh | scripts/wine-watched.sh | scripts/run-tests.sh) check_script "$document" "${words[0]}" ;; # the rest is for the program
    scripts/* | tests/*) check_script "$document" "${words[@]}" ;;
    cmake | ctest)
      local i
      for ((i = 1; i < ${#words[@]}; i++)); do
        [[ ${words[i]} == --preset ]] || continue
        grep -qF "\"name\": \"${words[i + 1]}\"" CMakePresets.json || problem "$document: there is no preset ${words[i + 1]}"
      done
      ;;
    clang-format-14 | git | callgrind_annotate | valgrind | apt-get) ;;
    *) problem "$document: what is the command ${words[0]}?" ;;
  esac
}

# Commands are in fenced blocks without a language, after "$ " or starting with a script's path, and in backticks.
check_commands() {
  local document=$1 line
  while read -r line; do
    check_command "$document" "$line"
    commands=$((commands + 1))
  done < <(
    awk '/^```/ { inside = !inside; next } inside && (sub(/^\$ /, "") || /^(scripts|tests)\/[a-z_\/-]+\.(sh|py)( |$)/)' "$document"
    awk '/^```/ { inside = !inside; next } !inside' "$document" |
      grep -oE '`(zqsettings|cmake|ctest|(scripts|tests)/[a-z/_-]+\.(sh|py))( [^`]*)?`' | tr -d '`' |
      grep -vE '^(zqsettings( COMMAND.*|)|cmake|ctest)$'
  )
}

# A wide text with a blank in it is a message; these few are names and queries.
no_messages='Lumo Server|Server IP List|Server Network Device|SELECT .*|%04u.*'
# The level that a message has where it is logged is the one that the guide gives; those of tables are not seen here.
check_levels() {
  local call level message seen=0
  while IFS= read -r call; do
    case $call in
      *LogNotable*) level=1 ;;
      *LogProgress*) level=2 ;;
      *LogWarning*) level=3 ;;
      *) level=4 ;;
    esac
    message=${call#*L\"}
    message=${message%\"}
    grep -qF "| $level | \`$message\` |" "$guide" || problem "$guide does not give \"$message\" the level $level"
    seen=$((seen + 1))
  done < <(find src -name '*.cpp' -exec cat {} + | tr -d '\n' | grep -oE 'Log\(Log(Notable|Progress|Warning|Failure), *L"[^"]*"')
  [[ $seen -ge 30 ]] || problem "only $seen calls that log were found in src"
}

check_messages() {
  local guide=docs/troubleshooting.md message
  while IFS= read -r message; do
    grep -qF "\`$message\`" "$guide" || problem "$guide lacks the message \"$message\""
  done < <(grep -rhoE --exclude-dir=check 'L"[^"]* [^"]*"' src |
    sed 's/^L"//; s/"$//' | grep -vxE "$no_messages" | sort -u)
  while IFS= read -r message; do
    grep -rqF "L\"$message\"" src || problem "$guide tells of \"$message\", which the module never writes"
  done < <(sed -n 's/^| [1-4] | `\([^`]*\)` |.*/\1/p' "$guide")
  check_levels
}

# The guide shows the examples' own files: each is one of its blocks.
check_examples() {
  local guide=docs/integrating.md file
  for file in examples/{quickstart,host}/{CMakeLists.txt,Main.cpp}; do
    awk -v file="$file" '
      BEGIN { while ((getline line < file) > 0) wanted = wanted line "\n" }
      /^```/ { if (inside && block == wanted) shown = 1; inside = !inside; block = ""; next }
      inside { block = block $0 "\n" }
      END { exit !shown }' "$guide" || problem "$guide shows another $file than the one that is built"
  done
}

trimmed() { sed 's/^ *//; s/ *$//' <<<"$1"; }

# One example of the table of rules as a file: check_example_file ROLE WANTED CELL.
check_example_file() {
  local role=$1 wanted=$2 cell=$3 text verdict code file=$work/example
  text=$(sed 's/^[^`]*`\(.*\)`[^`]*$/\1/' <<<"$cell")
  printf '%s' "$text" >"$file"
  case $cell in
    *'and a line break') printf '\n' >>"$file" ;;
    'mark, then '*) printf '\xEF\xBB\xBF%s' "$text" >"$file" ;;
    *' in UTF-16') iconv -f UTF-8 -t UTF-16LE <<<"$text" >"$file" ;;
    *', or '*) return 0 ;; # depends on the machine's code page
  esac
  code=0
  run_zqsettings "$work/verdict" check --as "$role" "$file" || code=$?
  case $code in
    0) verdict=accepted ;;
    1) verdict=refused ;;
    *) verdict="not looked at (exit code $code)" ;;
  esac
  [[ $verdict == "$wanted" ]] || problem "docs/configuration-files.md: $cell is $verdict, not $wanted: $(tail -n 1 "$work/verdict")"
}

check_rules() {
  local rule accepted refused role rows=0
  while IFS='|' read -r _ rule accepted refused _; do
    role=settings
    [[ $rule == *'headset list'* ]] && role=hmd-list
    check_example_file "$role" accepted "$(trimmed "$accepted")"
    check_example_file "$role" refused "$(trimmed "$refused")"
    rows=$((rows + 1))
  done < <(sed -n '/^| rule | accepted | refused |$/,/^$/p' docs/configuration-files.md | sed '1,2d; /^$/d')
  [[ $rows -ge 10 ]] || problem "docs/configuration-files.md: the table of rules was not found"
}

# Each row of "Where a rule lives" names a file and a test that exist.
check_rule_places() {
  local file test rows=0
  while read -r file test; do
    [[ -f $file ]] || problem "docs/architecture.md: there is no file $file"
    grep -rqE "^TEST(_F|_P)?\\(${test%.*}, *${test#*.}\\)" tests || problem "docs/architecture.md: there is no test $test"
    rows=$((rows + 1))
  done < <(sed -n '/^## Where a rule lives/,$s/^|[^|]*| `\([^`]*\)` | `\([A-Za-z]*\.[A-Za-z0-9]*\)` |$/\1 \2/p' docs/architecture.md)
  [[ $rows -ge 30 ]] || problem "docs/architecture.md names only $rows rules"
}

for document in "${documents[@]}"; do
  check_links "$document"
  check_commands "$document"
done
[[ $commands -ge 30 ]] || problem "only $commands commands were found in the documents"
check_scripts
check_messages
check_examples
check_rules
check_rule_places

if [[ $problems -gt 0 ]]; then
  echo "docs_test.sh: $problems problems, see above." >&2
  exit 1
fi
