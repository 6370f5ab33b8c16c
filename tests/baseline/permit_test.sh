#!/bin/bash
# SPDX-License-Identifier: MIT
#
# permit_test.sh HNIPC-BASELINE RECORDED: the version has to permit the changes since the interface in
# the given directory, such as that of the last release.

set -euo pipefail
work=$(mktemp --directory)
trap 'rm -rf "$work"' EXIT

cp "$2"/*.txt "$2/version" "$work"
"$1" permit "$work"

# The present interface has a method more.
sed --in-place '0,/Feed/{/Feed/d}' "$work/wire.txt"
code=0
output=$("$1" permit "$work") || code=$?
if [ $code -ne 1 ] || [[ $output != *"wire.txt:"*"This needs version"* ]]; then
    echo "exit code $code: $output"
    exit 1
fi
