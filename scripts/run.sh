#!/usr/bin/env bash
# Sets up (packages, configure, build) and runs the norvik program; arguments go to norvik.
# With no arguments norvik shows its main job: this month with lunar texts and example rules.
# Only the program, the library and its resources are built; scripts/test.sh builds the rest.
set -euo pipefail
here=$(cd "$(dirname "$0")/.." && pwd)
"$here/scripts/setup.sh" default norvik >&2
exec "$here/build/default/bin/norvik" "$@"
