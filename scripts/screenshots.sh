#!/usr/bin/env bash
# Makes the pictures of the dashboard in docs/dashboard: scripts/screenshots.sh
# Each view in light and dark, and on a telephone's width, from the release build.
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"
parse_arguments '' "$@"

"$root/scripts/setup.sh"
cd "$root"
build release --target zqsettings
web/install.sh tests/serve
node tests/serve/screenshots.mjs build/release docs/dashboard
