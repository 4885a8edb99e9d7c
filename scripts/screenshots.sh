#!/usr/bin/env bash
# Takes the screenshots of the dashboard in docs/dashboard: scripts/screenshots.sh
# Takes each view in light, in dark and at the width of a phone, from the release build.
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"
parse_arguments '' "$@"

"$root/scripts/setup.sh"
cd "$root"
build release --target zqsettings
web/install.sh tests/serve
node tests/serve/screenshots.mjs build/release docs/dashboard
