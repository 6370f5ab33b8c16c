#!/bin/bash
# SPDX-License-Identifier: MIT
#
# session_test.sh SESSION PATH_OF_PROGRAMS: plays a session of the manual in a sandbox, and compares
# its output with the manual.
#
#   sandbox: OPTIONS    for hnipc-sandbox
#   setup: COMMAND      runs, and is not shown
#   $ COMMAND           runs, and is shown; its output follows
#   # COMMENT
#
# After a blank line, the manual shows the next part in a separate block.
#
# In each run, processes and connections have other numbers, events other times, and calls other
# durations. The name of the bus policy's group is a setting of the build.

set -euo pipefail
session=$1
export PATH=$2:$PATH
here=$(realpath "$(dirname "$0")")

what_differs_aside() {
    sed -E 's/process [0-9]+/process N/; s/:1\.[0-9]+/:1.N/g
            s/members of the group [^ ]+/members of GROUP/
            s/^[0-9]{2}:[0-9]{2}:[0-9]{2}\.[0-9]{3}/TIME/
            s/^TIME +[0-9]+\.[0-9]{2} ms ([^ ]+) [0-9]+ +/TIME DURATION \1 N /'
}

# shellcheck disable=SC2013 # word by word
for program in $(sed -n 's/^needs: //p' "$session"); do
    command -v "$program" >/dev/null || { echo "skipped: there is no $program"; exit 77; }
done

unset CI BUILD_NUMBER # pytest prints longer lines if one of them is set
work=$(mktemp --directory)
trap 'rm -rf "$work"' EXIT
export HOME=$work SESSION_DIRECTORY=$here
read -ra options < <(sed -n 's/^sandbox: //p' "$session") || true # a session may have none
(cd "$work" && hnipc-sandbox "${options[@]}" -- bash "$here/session_play.sh" "$session" >"$work/.played") \
    || { code=$?; cat "$work/.played"; exit $code; }

diff --label "the manual: $session" --label "as it is" -u \
    <(grep -Ev '^(#|sandbox:|needs:|setup:|$)' "$session" | what_differs_aside) \
    <(grep -v '^$' "$work/.played" | what_differs_aside)
