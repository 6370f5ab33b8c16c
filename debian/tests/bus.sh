# SPDX-License-Identifier: MIT
# shellcheck shell=bash
# Sourced by the tests that need users and the bus policy. start_bus starts a private bus with the
# configuration of the system bus, which reads the installed policy. All processes end with the test.

send=(dbus-send --system --print-reply)
trap 'jobs -p | xargs --no-run-if-empty kill 2>/dev/null || true' EXIT

fail() { echo "$*" >&2; exit 1; }

start_bus() {
    exec {addresses}< <(exec dbus-daemon --config-file=/usr/share/dbus-1/system.conf --nofork \
        --nopidfile --nosyslog --address="unix:path=$AUTOPKGTEST_TMP/bus" --print-address 2>&1)
    bus=$!
    trap 'kill $bus; jobs -p | xargs --no-run-if-empty kill 2>/dev/null || true' EXIT
    local line
    while read -r line <&"$addresses"; do
        echo "dbus-daemon: $line"
        if [[ $line == unix:* ]]; then
            export DBUS_SYSTEM_BUS_ADDRESS=$line
            return
        fi
    done
    fail "the bus did not start"
}

# daemon_of NAME: the user that may own org.hnipc.NAME.
daemon_of() {
    local user
    user=$(awk -v name="\"org.hnipc.$1\"" '
        /<policy / { user = match($0, /user="[^"]*"/) ? substr($0, RSTART + 6, RLENGTH - 7) : "" }
        /<allow / && index($0, "own=" name) && user { print user; exit }' \
        /usr/share/dbus-1/system.d/org.hnipc.conf)
    [ "$user" ] || fail "the policy lets no user own org.hnipc.$1"
    echo "$user"
}
# become NAME: sets daemon_user to the prefix of a command that is run as the user of this daemon.
become() {
    local user
    user=$(daemon_of "$1")
    # shellcheck disable=SC2034 # used by the tests
    daemon_user=(setpriv --reuid "$user" --regid "$(id -g "$user")" --init-groups)
}
# Users who may call the daemons, and who may not.
# shellcheck disable=SC2034 # used by the tests
technician=(setpriv --reuid nobody --regid nogroup --groups hnipc)
# shellcheck disable=SC2034
stranger=(setpriv --reuid nobody --regid nogroup --clear-groups)

# refused COMMAND...: fails unless the bus denies the command.
refused() {
    local output
    if output=$("$@" 2>&1); then
        fail "allowed: $*"
    fi
    [[ $output == *AccessDenied* ]] || fail "not refused by the bus: $*: $output"
    echo "refused, as it should be: $*"
}

wait_for_owner() { # NAME PROCESS
    until "${send[@]}" --dest=org.freedesktop.DBus / org.freedesktop.DBus.NameHasOwner \
            "string:$1" | grep --quiet true; do
        kill -0 "$2" || fail "the process for $1 has ended"
    done
}
stop() { # PROCESS...
    kill "$@"
    wait "$@" || true
}
