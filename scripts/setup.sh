#!/usr/bin/env bash
# Installs the Debian 12 packages that this machine lacks: scripts/setup.sh [--benchmarks] [--coverage] [--terminals]
#   --benchmarks   also installs the libraries that the benchmarks compare with
#   --coverage     also installs the tool that reports coverage
#   --terminals    also installs the terminal that scripts/terminals.sh captures
# Needs root and a package mirror only if something is missing.
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"
parse_arguments '--benchmarks --coverage --terminals' "$@"

packages=(
  # Cross-compiler, build, and what runs the result.
  g++-mingw-w64-x86-64-posix cmake ninja-build ccache wine64
  # The components with threads on Linux, under ThreadSanitizer.
  g++
  # Libraries: tests, the save path, the tool's command line.
  googletest libgtest-dev rapidjson-dev libcli11-dev libboost1.81-dev
  # The browser that the dashboard is tested with.
  chromium
  # The portable components and fuzz targets on Linux, hosts for the Microsoft ABI, the format check, static analysis.
  clang-14 lld-14 libclang-rt-14-dev clang-format-14 clang-tidy-14
  # The header of typed keys, the packages and their tests; the packet readers in Python, TypeScript and C#.
  python3 nodejs node-typescript mono-mcs mono-runtime
  # Editors and copying tools that the tests put to work on the configuration files.
  rsync vim-tiny
  # Symbols for Windows in the release, and what reads them back.
  llvm-14 perl
)
benchmark_packages=(python3 nlohmann-json3-dev libcereal-dev robin-map-dev
  gnuplot-nox)

[[ -z ${options[--coverage]:-} ]] || packages+=(gcovr)
[[ -z ${options[--terminals]:-} ]] || packages+=(tmux)
[[ -z ${options[--benchmarks]:-} ]] || packages+=("${benchmark_packages[@]}")

# The dashboard's page; any node from 18 on will do. Debian's npm needs Debian's node.
if ! command -v node >/dev/null || ! command -v npm >/dev/null; then
  packages+=(npm)
fi

command -v apt-get >/dev/null || fail "this machine has no apt; install by hand: ${packages[*]}."

installed=$(dpkg-query --show --showformat='${Package} ${db:Status-Status}\n' "${packages[@]}" 2>/dev/null |
  sed -n 's/ installed$//p' || true)
missing=()
for package in "${packages[@]}"; do
  grep -qxF "$package" <<<"$installed" || missing+=("$package")
done
if [[ ${#missing[@]} -eq 0 ]]; then
  exit 0
fi

[[ $(id -u) -eq 0 ]] || fail "missing packages need root to be installed; run as root: apt-get install ${missing[*]}."
echo "setup.sh: installing ${missing[*]}"
log=$(mktemp)
trap 'rm -f "$log"' EXIT
export DEBIAN_FRONTEND=noninteractive
# Packages that are known already can be installed without new lists.
apt-get update -qq >"$log" 2>&1 || echo "setup.sh: the package lists could not be updated; using the present ones" >&2
for package in "${missing[@]}"; do
  apt-cache show "$package" >/dev/null 2>&1 ||
    fail "the package $package is not known to apt here; the project is built on Debian 12 with its main archive."
done
if ! apt-get install -qq -y --no-install-recommends "${missing[@]}" >"$log" 2>&1; then
  tail -n 20 "$log" >&2
  fail "apt-get could not install ${missing[*]}; its last lines are above."
fi
echo "setup.sh: installed"
