# SPDX-License-Identifier: MIT
# shellcheck shell=bash disable=SC2317,SC2034 # the session calls the functions and reads the variables
#
# session_play.sh SESSION: session_test.sh runs it in the sandbox.

session=$(realpath "$1")

# until_says FILE TEXT: waits until the file has a line with the text.
until_says() {
    until grep --quiet --fixed-strings -- "$2" "$1" 2>/dev/null; do
        sleep 0.02
    done
}

# sim DAEMON MEMBER ARGUMENT...: calls a daemon's simulator interface.
sim() {
    dbus-send --system --print-reply --dest="org.hnipc.$1" /simulator "org.hnipc.Simulator.$2" \
        "${@:3}" >/dev/null
}

# start PROGRAM ARGUMENT...: in the background. When the session runs it as a command, it waits for
# its end, prints its output, and returns its exit code.
start() {
    "$@" >"$1.output" 2>&1 &
    eval "$1() { local code=0; wait $! || code=\$?; cat $1.output; return \$code; }"
}

# until_on_bus NAME
until_on_bus() {
    until dbus-send --system --print-reply --dest=org.freedesktop.DBus / \
            org.freedesktop.DBus.NameHasOwner "string:$1" 2>/dev/null | grep --quiet true; do
        sleep 0.02
    done
}

# bus FILE: from here on the system bus is another one, configured by the file. Its process is
# $bus_process.
bus() {
    dbus-daemon --config-file="$SESSION_DIRECTORY/$1" --nofork --print-address=1 >address &
    bus_process=$!
    until_says address unix:
    DBUS_SYSTEM_BUS_ADDRESS=$(cat address)
    export DBUS_SYSTEM_BUS_ADDRESS
}

while IFS= read -r line <&3; do
    case $line in
    "setup: "*)
        echo "$line" >&2 # shows where a session hangs
        eval "${line#setup: }" </dev/null || { echo "failed: $line"; exit 1; }
        ;;
    "$ "*)
        echo "$line"
        eval "${line#??}" 2>&1 </dev/null
        ;;
    esac
done 3<"$session"
exit 0
