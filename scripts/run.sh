#!/usr/bin/env bash
# Sets up (packages, configure, build) and runs the norvik program; arguments go to norvik.
# With no arguments norvik shows its main job: this month with lunar texts and example rules.
# Only the program, the library and its resources are built, in build/run at -O1 without debug
# information, so the first answer comes quickly; scripts/test.sh builds everything in build/default.
set -euo pipefail
here=$(cd "$(dirname "$0")/.." && pwd)
"$here/scripts/setup.sh" run norvik >&2
exec "$here/build/run/bin/norvik" "$@"
