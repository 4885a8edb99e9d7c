#!/usr/bin/env bash
# Builds the packages for users and for authors of hosts: scripts/package.sh
# Makes a ZIP with the DLL, zqsettings, symbols, headers, import libraries, CMake package, defaults, schemas and guides; from
# the same files a NuGet package, a vcpkg port and a Conan recipe; an SPDX list of the parts; and the SHA-256 sums. Prints their
# paths.
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"
parse_arguments '' "$@"

"$root/scripts/setup.sh"
cd "$root"
# Steps go to the error output: the output has only the paths.
echo "$script: building" >&2
build release --target zq_package_files
echo "$script: packing" >&2
quietly build/logs/package.log "the packages cannot be made" packaging/make_packages.py build/release build/package
ls -1 "$root"/build/package/*
