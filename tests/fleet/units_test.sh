#!/bin/bash
# SPDX-License-Identifier: MIT
#
# units_test.sh SOURCE TOOLS: checks the units that write the metrics. systemd can read them, the
# service has few rights, and its commands write the file that node_exporter reads.

set -euo pipefail
source=$1
tools=$2
export PATH=$tools:$PATH

work=$(mktemp --directory)
trap 'rm -rf "$work"' EXIT
mkdir "$work/collector" "$work/local" "$work/hosts" "$work/hosts/hnipc-metrics.service.d"

# unit FILE DIRECTORY: copies a unit, with the paths of this build.
unit() {
    sed "s#/usr/bin/hnipcctl#$tools/hnipcctl#; s#/var/lib/prometheus/node-exporter#$work/collector#
         s#/etc/hnipc/printers#$work/printers#" "$source/data/systemd/$1" >"$2/$1"
}
for directory in "$work/local" "$work/hosts"; do
    unit hnipc-metrics.service "$directory"
    unit hnipc-metrics.timer "$directory"
done
unit hnipc-metrics-hosts.conf "$work/hosts/hnipc-metrics.service.d"

for directory in "$work/local" "$work/hosts"; do
    # systemd only warns of a line that it ignores. It also warns of other units.
    systemd-analyze verify --man=no "$directory"/hnipc-metrics.{service,timer} >"$work/warnings" 2>&1 \
        || { cat "$work/warnings"; exit 1; }
    if grep hnipc-metrics "$work/warnings"; then
        exit 1
    fi
    systemd-analyze security --offline=true --threshold=20 "$directory/hnipc-metrics.service" \
        >"$work/security" || { cat "$work/security"; exit 1; }
done

# An empty ExecStart= removes the command of the unit, which would run, too.
grep --quiet '^ExecStart=$' "$source/data/systemd/hnipc-metrics-hosts.conf"

# command_of FILE: its command.
command_of() { sed -n 's/^ExecStart=\(.\+\)/\1/p' "$1"; }

metrics=$work/collector/hnipc.prom
hnipc-sandbox --quiet -- bash -c "$(command_of "$work/local/hnipc-metrics.service")"
grep --quiet '^hnipc_daemon_present{daemon="m4"} 1$' "$metrics"
# The printer is the sandbox's own bus.
printf '%s\n' '#!/bin/sh' "exec systemd-stdio-bridge --bus-path=\"\$PRINTER\"" >"$work/ssh"
chmod +x "$work/ssh"
echo printer7 >"$work/printers"
# shellcheck disable=SC2016 # for the shell in the sandbox
hnipc-sandbox --quiet -- env HNIPCCTL_SSH="$work/ssh" bash -c 'PRINTER=$DBUS_SYSTEM_BUS_ADDRESS '"$(
    command_of "$work/hosts/hnipc-metrics.service.d/hnipc-metrics-hosts.conf")"
grep --quiet '^hnipc_daemon_present{printer="printer7",daemon="m4"} 1$' "$metrics"
