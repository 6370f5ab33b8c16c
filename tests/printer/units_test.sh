#!/bin/bash
# SPDX-License-Identifier: MIT
#
# units_test.sh DIRECTORY: the units of the printer, which people copy, are valid, confine their
# programs, and start them again however they end.

set -euo pipefail
cd "$1"

work=$(mktemp --directory)
trap 'rm -rf "$work"' EXIT
failed=
fault() { echo "$*" >&2; failed=yes; }

# The exposure of each unit is below 1.0. The rating of a unit's file needs no running systemd.
for unit in *.service; do
    systemd-analyze security --offline=true --threshold=9 --no-pager "./$unit" >"$work/rating" 2>&1 \
        || { cat "$work/rating"; fault "$unit: its exposure is 1.0 or more"; }
    grep --quiet "Overall exposure level" "$work/rating" || fault "$unit: was not rated"
done

# All lines are known to systemd. Their programs are not installed here.
for unit in *.service *.timer; do
    sed -E 's|^(Exec[A-Za-z]+)=[^ ]*|\1=/bin/true|' "$unit" >"$work/${unit/@/@m4}"
done
messages=$(systemd-analyze verify --man=no "$work"/*.service "$work"/*.timer 2>&1) \
    || fault "systemd-analyze verify fails"
[ -z "$messages" ] || fault "systemd-analyze verify: $messages"

# has UNIT LINE...
has() {
    local unit=$1 line
    shift
    for line in "$@"; do
        grep --quiet --line-regexp --fixed-strings -- "$line" "$unit" || fault "$unit: no line $line"
    done
}
for daemon in ioexpd m4 supplyd; do
    has hnipc-$daemon.service Type=dbus BusName=org.hnipc.$daemon User=hnipc-$daemon \
        WatchdogSec=10 WantedBy=multi-user.target
done
for unit in hnipc-{ioexpd,m4,supplyd,panel,application,events}.service; do
    has "$unit" Restart=always RestartSec=2 StartLimitIntervalSec=0
done
[ -z "$failed" ]
