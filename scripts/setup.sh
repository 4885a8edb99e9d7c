#!/usr/bin/env bash
# Installs what the project needs on Debian 12, as far as it is missing: scripts/setup.sh [--benchmarks] [--coverage]
#   --benchmarks   also the libraries that the benchmarks compare with
#   --coverage     also what counts covered lines
# Needs root and a package mirror only when something is missing.
set -euo pipefail

packages=(
  # Cross-compiler, build, and what runs the result.
  g++-mingw-w64-x86-64-posix cmake ninja-build ccache wine64
  # The portable rooms on Linux, under the sanitizers.
  g++
  # Libraries: tests, the save path, the tool's command line.
  googletest rapidjson-dev libcli11-dev libboost1.81-dev
  # The browser that the dashboard is tested with.
  chromium
  # The test hosts for the Microsoft ABI, the fuzz targets, the format check and the static analysis.
  clang-14 lld-14 libclang-rt-14-dev clang-format-14 clang-tidy-14
)
benchmark_packages=(nlohmann-json3-dev libmsgpack-cxx-dev libcereal-dev robin-map-dev
  gnuplot-nox)

fail() {
  echo "setup.sh: $1" >&2
  exit 1
}

for argument in "$@"; do
  case $argument in
    --help)
      sed -n '2,5s/^# //p' "${BASH_SOURCE[0]}"
      exit 0
      ;;
    --coverage) packages+=(gcovr) ;;
    --benchmarks) packages+=("${benchmark_packages[@]}") ;;
    *) fail "unknown argument $argument; --help tells more." ;;
  esac
done

# The dashboard's page; any node from 18 on will do.
if ! command -v node >/dev/null || ! command -v npm >/dev/null; then
  packages+=(nodejs npm)
fi

if ! command -v apt-get >/dev/null; then
  fail "this machine has no apt; install by hand: ${packages[*]}."
fi

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
# Known packages may still install from a list that could not be renewed.
apt-get update -qq >"$log" 2>&1 || echo "setup.sh: the package lists could not be renewed; going on with those at hand" >&2
for package in "${missing[@]}"; do
  apt-cache show "$package" >/dev/null 2>&1 ||
    fail "the package $package is not known to apt here; the project is built on Debian 12 with its main archive."
done
if ! apt-get install -qq -y --no-install-recommends "${missing[@]}" >"$log" 2>&1; then
  tail -n 20 "$log" >&2
  fail "apt-get could not install ${missing[*]}; its last words stand above."
fi
echo "setup.sh: installed"
