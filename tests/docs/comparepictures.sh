#!/bin/bash
# comparepictures.sh PROGRAM FOLDER: the program draws just what stands in the folder.
set -euo pipefail
drawn=$(mktemp -d)
trap 'rm -r "$drawn"' EXIT
"$1" "$drawn"
diff -rq "$drawn" "$2" || { echo "scripts/docs draws them anew." >&2; exit 1; }
