#!/usr/bin/env bash
# Tests the package as its user gets it: unpacks it into an empty folder, checks its content, and builds and runs the example
# host against it with both tool chains: tests/package/package_test.sh BUILD_FOLDER
set -euo pipefail

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/../.." && pwd)
build=$(cd "$1" && pwd)
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$work"

fail() {
  echo "package_test.sh: $1" >&2
  exit 1
}

"$root/packaging/make_packages.py" "$build" "$work/made" >made.log 2>&1 || fail "making the packages: $(cat made.log)"
cmake -E tar xf made/ZQModSettings-*-win64.zip
package=$(echo "$work"/ZQModSettings-*-win64)
"$root/tests/package/packages_test.py" "$work/made" "$package" >packages.log 2>&1 || fail "$(cat packages.log)"

for file in bin/ZQModSettings.dll bin/zqsettings.exe bin/defaults/ZQ2_HmdList.json include/CZQModSettings.h include/ZQSettings.hpp include/ZQSettingsKeys.hpp \
  lib/libZQModSettings.dll.a lib/ZQModSettings.lib lib/cmake/ZQModSettings/ZQModSettingsConfig.cmake lib/cmake/ZQModSettings/ZQModSettingsDeploy.cmake \
  schemas/ZQ2_HmdList.schema.json docs/integrating.md README.md THIRD-PARTY.md licences/rapidjson-dev.txt; do
  [[ -s $package/$file ]] || fail "the package has no $file"
done
while read -r licence; do
  [[ -s $package/licences/$licence ]] || fail "THIRD-PARTY.md names $licence, which the package has not"
done < <(sed -n 's/.*`\([^`]*\.txt\)`.*/\1/p' "$package/THIRD-PARTY.md")

# Every file of the folders that are shipped; every link between the documents still leads somewhere.
for folder in defaults:bin/defaults schemas:schemas docs:docs examples:examples include:include; do
  diff -r -x CMakeLists.txt -x ZQSettingsKeys.hpp "$root/${folder%%:*}" "$package/${folder##*:}" >diff.log || fail "${folder##*:} is not whole: $(cat diff.log)"
done
if named=$(grep -rlaF "$root" "$package"); then
  fail "these files name the folder of the build: $named"
fi
for document in "$package"/*.md "$package"/docs/*.md; do
  while read -r link; do
    target=${link#*](}
    target=${target%%[#)]*}
    [[ -z $target || -e $(dirname "$document")/$target ]] || fail "$document links to $target, which the package has not"
  done < <(awk '/^```/ { inside = !inside; next } !inside' "$document" | sed 's/`[^`]*`//g' | grep -oE "\]\([^)]+\)" | grep -v "(http")
done

# What the CMake package hands to each tool chain.
find_package() {
  rm -rf find
  cmake -S "$root/tests/package/find" -B find -G Ninja -DZQModSettings_DIR="$package/lib/cmake/ZQModSettings" \
    "-DSYSTEM=$1" "-DIMPORT_SUFFIX=$2" "-DWANTED=$3" >find.log 2>&1 || fail "$(cat find.log)"
}
find_package Windows .lib ZQModSettings.lib
find_package Windows .dll.a libZQModSettings.dll.a
find_package Linux "" ""

# MinGW, by the CMake package, as the guide tells it: build_example NAME [CMAKE_OPTION...]
build_example() {
  local name=$1
  shift
  cmake -S "$package/examples/$name" -B "$name" -G Ninja -DCMAKE_BUILD_TYPE=Release \
    -DCMAKE_TOOLCHAIN_FILE="$root/cmake/mingw-w64-x86_64.cmake" -DCMAKE_CXX_FLAGS="-Wall -Wextra -Werror" \
    -DZQModSettings_DIR="$package/lib/cmake/ZQModSettings" "$@" >configure.log || fail "configuring $name: $(cat configure.log)"
  cmake --build "$name" >build.log || fail "building $name: $(cat build.log)"
}
# expect_line FILE LINE
expect_line() {
  tr -d '\r' <"$1" | grep -qxF "$2" || fail "$1 has no line \"$2\": $(cat "$1")"
}

# Wine's desktop process keeps the output of whichever program started it open, for minutes at times. So that is a file: the
# reader of a pipe would wait.
run_program() {
  local code=0
  "$root/scripts/wine-watched.sh" "$@" 2>program.errors || code=$?
  cat program.errors >&2
  return "$code"
}

build_example host
mkdir data
run_program host/example_host.exe data >host.log || fail "the host ended with $?: $(cat host.log)"
for line in 'Settings.CurrentBitrate is 70' 'changed: Settings.CurrentBitrate' 'Settings.CurrentBitrate is 100' \
  'a file was read again: any variable may have changed' 'Settings.CurrentBitrate is 90' \
  'a packet of all variables is whole' 'ZQModSettings 2: DoRelease end'; do
  expect_line host.log "$line"
done
run_program host/example_host.exe "C:\\nowhere" >host.log 2>&1 && fail "the host runs without a folder"
grep -qF 'the data folder "C:\nowhere\ZQserver" cannot be made' host.log || fail "the host's error is not clear: $(cat host.log)"

# The integration that the guide begins with, which is to stay short.
build_example quickstart -DCMAKE_EXE_LINKER_FLAGS=-static
(cd quickstart && echo | run_program quickstart.exe >../quickstart.log) || fail "the quickstart ended with $?"
expect_line quickstart.log '70 Mbit/s'
lines=$(cat "$package"/examples/quickstart/* | grep -c '[^[:space:]]')
[[ $lines -le 25 ]] || fail "the quickstart has $lines lines, more than 25"

# The tool chain of the module itself: exceptions cross the border, and the loader draws the stack protector's guard.
x86_64-w64-mingw32-g++-posix -std=c++14 -static -Wall -Wextra -Werror -DZQ_NO_IMPORT -I "$package/include" \
  "$root/tests/package/ImageHost.cpp" -o image_host.exe
cp "$package/bin/ZQModSettings.dll" .
run_program image_host.exe >image_host.log || fail "the host of the same tool chain: $(cat image_host.log)"

# Microsoft's ABI and import library. There is no run-time library for it here, so the host is a small one.
cat >small.cpp <<'HOST'
#include "CZQModSettings.h"
extern "C" int HostMain() {
    CZQModSettings* module = CreateSettings();
    if (!module) {
        return 1;
    }
    module->DoRelease();
    CZQVariable* variables = ZQVariables(module);
    variables->SetVariableInt64(L"A", 42, nullptr, 0);
    int64_t value = 0;
    const bool isRight = variables->GetVariableInt64(L"A", &value) == 1 && value == 42;
    return isRight ? 7 : 2;
}
HOST
clang++-14 --target=x86_64-pc-windows-msvc -fms-compatibility-version=19.29 -std=c++14 -O2 -fno-exceptions -fno-rtti \
  -I "$package/include" -c small.cpp -o small.obj
lld-link-14 /nologo /nodefaultlib /entry:HostMain /subsystem:console /out:small.exe small.obj \
  "$package/lib/ZQModSettings.lib"
code=0
run_program small.exe >small.log || code=$?
[[ $code -eq 7 ]] || fail "the host for Microsoft's ABI ended with $code instead of 7"
