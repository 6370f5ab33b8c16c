#!/bin/bash
# SPDX-License-Identifier: MIT
#
# skipped_test.sh SOURCE: scripts/skipped lists each skipped test, and fails if this machine could
# have run one. ctest runs tests that print what real ones print.

set -euo pipefail
source=$1
work=$(mktemp --directory)
trap 'rm -rf "$work"' EXIT
cd "$work"
failed=

# report [--code CODE] NAME OUTPUT: writes the file "report" of a run with one test. The test prints
# many lines before and after the output.
report() {
    local code=0
    if [ "$1" = --code ]; then
        code=$2
        shift 2
    fi
    printf '%s\n' "$2" >output
    cat >CMakeLists.txt <<CMAKE
cmake_minimum_required(VERSION 3.21)
project(skips NONE)
enable_testing()
add_test(NAME $1 COMMAND sh -c "seq 9999; cat $work/output; seq 9999; exit $code")
set_tests_properties($1 PROPERTIES SKIP_RETURN_CODE 77)
CMAKE
    rm -rf build
    cmake -S . -B build >/dev/null
    ctest --test-dir build --output-junit "$work/report" "${options[@]}" >/dev/null || true
}
read -ra options < <(grep --only-matching -- '--test-output-size-passed [0-9]*' "$source/scripts/test")

# says CODE TEXT COMMAND...: the command exits with the code and prints the text.
says() {
    local output code=0
    output=$("${@:3}" 2>&1) || code=$?
    if [ "$code" -ne "$1" ] || [[ $output != *"$2"* ]]; then
        printf '%s: expected %s and "%s", exit code %s and this came:\n%s\n' \
            "${*:3}" "$1" "$2" "$code" "$output"
        failed=yes
    fi
}
cp "$source/scripts/skipped" . # other users may not be able to read the source
skipped=$work/skipped

report tst_x "PASS   : tst_X::f()"
says 0 "No test was skipped." "$skipped" 5=report

report tst_x "SKIP   : tst_X::f(a row) Qt 4 has no connections to functions"
says 0 "Qt 4: tst_x tst_X::f: (a row) Qt 4 has no connections to functions" "$skipped" 4=report
says 1 "can run them, which is a failure" "$skipped" 4=report 5=report
says 1 "Qt 5: tst_x tst_X::f: (a row) Qt 4 has" "$skipped" 5=report

# Each row: a reason, what makes it true, and what does not.
mkdir bin
printf '#!/bin/sh\n[ "$1" != "$REFUSED" ]\n' >bin/unshare
chmod +x bin/unshare
while IFS=';' read -r reason with without; do
    report tst_x "SKIP   : tst_X::f() $reason"
    for each in "0 $with" "1 $without"; do
        read -ra words <<<"${each#* }"
        says "${each%% *}" "tst_x tst_X::f: () $reason" env PATH="$work/bin:$PATH" "${words[@]}"
    done
done <<REASONS
there is no hnipcctl for this Qt;$skipped 4=report;$skipped 6=report
dbus-broker has another name;$skipped --dbus-broker 6=report;$skipped 6=report
a sanitizer replaces the heap;$skipped --sanitized 6=report;$skipped 6=report
the allocator does not say how much of the heap is in use;$skipped --valgrind 6=report;$skipped 6=report
root may not have mounts of its own here: no;REFUSED=--mount $skipped 6=report;REFUSED=--user $skipped 6=report
no users of its own: no;REFUSED=--mount $skipped 6=report;REFUSED=--user $skipped 6=report
this machine allows no mounts;REFUSED=--user $skipped 6=report;REFUSED=--mount $skipped 6=report
REASONS

report tst_x "SKIP   : tst_X::f(one) Xvfb is not installed
SKIP   : tst_X::f(two) Xvfb is not installed"
says 1 "tst_x tst_X::f: (one) Xvfb is not installed (and 1 more)" "$skipped" 6=report

report --code 77 manual_busctl "skipped: there is no busctl"
says 1 "manual_busctl: there is no busctl" "$skipped" 6=report
report --code 77 silent ""
says 1 "silent: no reason given" "$skipped" 6=report
report python_client "SKIPPED [1] test_calls.py:7: no printer"
says 1 "python_client: test_calls.py:7: no printer" "$skipped" 6=report

policy="*** THE BUS POLICY WAS NOT TESTED, or only in part: Qt 6 ***"
user=()
restricted=()
if [ "$(id -u)" -eq 0 ]; then
    user=(setpriv --reuid=nobody --regid=nogroup --clear-groups)
    restricted=(setpriv --bounding-set=-sys_admin --inh-caps=-sys_admin)
    chmod go+rx "$work"
fi
report --code 77 tst_policy "SKIP   : tst_Policy: only root can be several users"
says 0 "$policy" "${user[@]}" "$skipped" 6=report
if [ "$(id -u)" -eq 0 ]; then
    says 1 "$policy" "$skipped" 6=report
fi
report tst_x "SKIP   : tst_X::f() only root can see what the programs that started it use"
says 0 "tst_x tst_X::f" "${user[@]}" "$skipped" 6=report
if [ "$(id -u)" -eq 0 ]; then
    says 1 "tst_x tst_X::f" "$skipped" 6=report
fi
report --code 77 tst_policy "SKIP   : tst_Policy: root may not mount here: Operation not permitted"
says 0 "$policy" "${restricted[@]}" "$skipped" 6=report
if unshare --mount mount -t tmpfs none /run 2>/dev/null; then
    says 1 "$policy" "$skipped" 6=report
fi

[ -z "$failed" ]
