#!/bin/bash
# SPDX-License-Identifier: MIT
#
# lint_test.sh SOURCE: each check of scripts/lint names a file that is wrong. The files are broken
# in a copy of the tree.

set -euo pipefail
for program in clang-format-14 codespell mandoc reuse shellcheck xmllint xsltproc \
        /usr/lib/qt{5,6}/bin/qmllint; do
    command -v "$program" >/dev/null || { echo "skipped: $program is not installed"; exit 77; }
done
copy=$(mktemp --directory)
trap 'rm -rf "$copy"' EXIT
tar --create --anchored --exclude='./build*' --exclude-vcs --directory="$1" . \
    | tar --extract --directory="$copy"
cd "$copy"

failed=
# reports CHECK FILE COMMAND...: after the command has broken the file, the check names it.
reports() {
    local check=$1 file=$2 output code=0
    cp "$file" saved
    "${@:3}" "$file"
    ! cmp --quiet saved "$file" || { echo "$check: $file is as it was"; exit 1; }
    output=$(scripts/lint "$check" 2>&1) || code=$?
    if [ $code -ne 1 ] || [[ $output != *"$file"*"Failed: $check" ]]; then
        echo "$check, after ${*:3}: exit code $code"
        echo "$output"
        failed=yes
    fi
    mv saved "$file"
}

reports format src/client/hnipc.cpp sed --in-place '/^{$/s/$/ /'
reports shell scripts/test sed --in-place '$aecho $1'
reports shell scripts/packages.sh sed --in-place '$aecho $1'
reports man data/man/hnipcctl.1 sed --in-place '$a.XY'
reports xml interfaces/local.IHNIPCM4.xml sed --in-place 's/<signal /<event /; s/<.signal>/<\/event>/'
reports xml interfaces/local.IHNIPCM4.xml sed --in-place 's/direction="out"/direction="back"/'
reports xml interfaces/local.IHNIPCM4.xml sed --in-place '$d'
reports qml docs/guides/screen/QtQuick1.qml sed --in-place '/^}$/d'
reports qml examples/screen/Screen.qml sed --in-place '$ifunction f(o) { with (o) {} }'
reports qml qml/panel/Battery.qml sed --in-place 's/^    id: root$/    id:root/'
reports spelling README.md sed --in-place '$aTeh end.'
reports links README.md sed --in-place '$a[size](docs/sizes.md)'
reports links README.md sed --in-place '$a![panel](docs/panels.png)'
reports links README.md sed --in-place '$a[size](docs/size.md#nowhere)'
reports links README.md sed --in-place '$a[license]: LICENCE'
reports licences .ci/run sed --in-place 's/Identifier: MIT/Identifier: Zlib/'

# scripts/lint continues after a failed check.
echo 'Teh [end](nowhere.md).' >>README.md
output=$(scripts/lint spelling links man 2>&1) || true
if [[ $output != *"== spelling =="*"== links =="*"== man =="*"Failed: spelling links" ]]; then
    echo "$output"
    failed=yes
fi

[ -z "$failed" ]
