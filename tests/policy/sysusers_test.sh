#!/bin/bash
# SPDX-License-Identifier: MIT
#
# sysusers_test.sh SYSUSERS POLICY: systemd-sysusers creates every user and group that the bus policy
# names, in an empty root directory, and no others. The groups of users do not count.

set -euo pipefail
sysusers=$1
policy=$2

work=$(mktemp --directory)
trap 'rm -rf "$work"' EXIT
mkdir "$work/etc"
systemd-sysusers --root="$work" "$sysusers"

named() { sed -n "s/.*<policy $1=\"\([^\"]*\)\">.*/\1/p" "$policy" | sort; }
created() { cut -d: -f1 "$work/etc/$1" | sort; }
diff --label "$policy: users" --label "$sysusers: users" -u \
    <(named user | grep -vx root) <(created passwd 2>/dev/null)
diff --label "$policy: group" --label "$sysusers: group" -u \
    <(named group) <(created group | grep -vxF "$(created passwd 2>/dev/null)")
