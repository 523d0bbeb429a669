#!/usr/bin/env bash
# Runs the demonstration and compares its output with golden/demo.txt. KESTRAV_UPDATE_GOLDEN=1 rewrites
# that file.
#
# usage: demo_test.sh BUILD_FOLDER
set -euo pipefail
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
shown=$(mktemp)
trap 'rm -f "$shown"' EXIT
"$here/../../examples/demo.sh" "$1" >"$shown"
if [[ -n ${KESTRAV_UPDATE_GOLDEN:-} ]]; then
  cp "$shown" "$here/golden/demo.txt"
else
  diff -u "$here/golden/demo.txt" "$shown"
fi
