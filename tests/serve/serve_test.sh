#!/usr/bin/env bash
# zqsettings serve in a real browser, and against those who are not let in: tests/serve/serve_test.sh BUILD_FOLDER [FILE...]
# FILE is one of tests/serve/*_test.mjs; all of them without one.
set -euo pipefail

here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
if [[ ${1:-} == --help || $# -eq 0 ]]; then
  sed -n '2,3s/^# //p' "${BASH_SOURCE[0]}"
  exit 0
fi
ZQ_BUILD=$(cd "$1" && pwd)
export ZQ_BUILD
shift

chromium=${ZQ_CHROMIUM:-/usr/bin/chromium}
if [[ ! -x $chromium ]]; then
  echo "serve_test.sh: $chromium is missing; run scripts/setup.sh, which installs it." >&2
  exit 1
fi
"$here/../../web/install.sh" "$here"
[[ $# -gt 0 ]] || set -- "$here"/*_test.mjs
# One after the other: two processors are few for a browser and two servers.
# The reporter lists what failed at the end.
exec node --test --test-concurrency=1 --test-reporter=spec "$@"
