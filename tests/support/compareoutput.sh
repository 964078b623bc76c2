#!/bin/bash
# compareoutput.sh EXPECTED COMMAND...: the command succeeds and prints exactly what the file holds.
set -euo pipefail
"${@:2}" | diff -u --label expected --label printed "$1" -
