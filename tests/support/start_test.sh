#!/bin/bash
# SPDX-License-Identifier: MIT
#
# start_test.sh TESTS: the tests start processes by the class Process and buses by the class
# BusProcess only, because these end with the test, however it ends.

set -euo pipefail
cd "$1"

# Exceptions: the virtual machine of the bus policy passes a socket to its buses, as systemd does;
# the record of the binary interface is a program of its own, and so is the replacement of
# dbus-daemon.
if grep --line-number --extended-regexp --include='*.cpp' --include='*.h' --recursive \
    '\<QProcess +\*?[a-z_]+[;(]|QProcess::(execute|startDetached|start)\(|\<v?fork\(\)|posix_spawn|[^_.>a-zA-Z]system\(|\<popen\(|g_(test_dbus|spawn)_|start\([^)]*dbus-daemon' . \
    | grep --invert-match --extended-regexp '^\./(support/(process\.h|privatebus\.cpp)|baseline/|dbus-broker/|policy/machine\.cpp)'; then
    echo "use Process, runProgram() or BusProcess of tests/support" >&2
    exit 1
fi
