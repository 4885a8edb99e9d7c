# What every script shares; sourced first: root folder, --help, the check of arguments, one form of failure.
# shellcheck shell=bash disable=SC2034 # the variables are used by the scripts
set -euo pipefail

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
script=${0##*/}
wine_prefix=${ZQ_WINEPREFIX:-$root/build/wine}

# fail MESSAGE [EXIT_CODE]
fail() {
  echo "$script: $1" >&2
  exit "${2:-1}"
}

# The comment at the top of the script.
print_help() {
  awk 'NR > 1 { if (!sub(/^# ?/, "")) exit; print }' "$0"
}

# parse_arguments KNOWN ARGUMENT...
# Answers --help, and fails with exit code 2 on what KNOWN, a list of words, does not have:
#   --name    an option: ${options[--name]} is "yes" when it is given
#   --name=   one with a value, in the next argument: ${options[--name]} is the value
#   N..M      how many other arguments there may be, 0..0 without; they are in ${arguments[@]}
declare -A options=()
arguments=()
parse_arguments() {
  local known=" $1 " least=0 most=0 word
  shift
  for word in $known; do
    if [[ $word == *..* ]]; then
      least=${word%..*}
      most=${word#*..}
    fi
  done
  while [[ $# -gt 0 ]]; do
    if [[ $1 == --help || $1 == -h ]]; then
      print_help
      exit 0
    elif [[ $1 != -* ]]; then
      arguments+=("$1")
    elif [[ $known == *" $1 "* ]]; then
      options[$1]=yes
    elif [[ $known == *" $1= "* ]]; then
      [[ $# -gt 1 ]] || fail "$1 needs a value; see $script --help." 2
      options[$1]=$2
      shift
    else
      fail "unknown option $1; see $script --help." 2
    fi
    shift
  done
  [[ ${#arguments[@]} -ge $least ]] || fail "an argument is missing; see $script --help." 2
  [[ ${#arguments[@]} -le $most ]] || fail "unexpected argument ${arguments[most]}; see $script --help." 2
}

# require_number NAME VALUE: fails with exit code 2 unless the value is a whole number or empty.
require_number() {
  [[ $2 =~ ^[0-9]*$ ]] || fail "$1 takes a whole number, not $2; see $script --help." 2
}

# quietly LOG MESSAGE COMMAND...: the output goes to a file, whose end is shown when the command fails.
quietly() {
  local log=$1 message=$2
  shift 2
  mkdir -p "$(dirname "$log")"
  if ! "$@" >"$log" 2>&1 </dev/null; then
    tail -n 40 "$log" >&2
    fail "$message; $log has all of the output."
  fi
}

# build PRESET [CMAKE_BUILD_ARGUMENT...]
build() {
  local preset=$1
  shift
  quietly "$root/build/logs/$preset-configure.log" "the preset $preset cannot be configured" cmake --preset "$preset"
  quietly "$root/build/logs/$preset-build.log" "the preset $preset does not build" \
    cmake --build --preset "$preset" -j "$(nproc)" "$@"
}
