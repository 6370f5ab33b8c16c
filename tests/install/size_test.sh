#!/bin/bash
# SPDX-License-Identifier: MIT
#
# size_test.sh STRIP LIBRARY LIMIT: the library, stripped as packages strip it, has at most LIMIT
# bytes. docs/size.md lists its parts.

set -euo pipefail
stripped=$(mktemp)
trap 'rm -f "$stripped"' EXIT
"$1" --strip-unneeded -o "$stripped" "$2"
size=$(stat --format=%s "$stripped")
if [ "$size" -gt "$3" ]; then
    echo "$2 has $size bytes stripped, and at most $3 are allowed; scripts/size shows where they are"
    exit 1
fi
