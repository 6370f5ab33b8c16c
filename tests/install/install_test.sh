#!/bin/bash
# SPDX-License-Identifier: MIT
#
# install_test.sh SOURCE BUILD QT_MAJOR LIBRARY_NAME: installs into an empty prefix. Every program
# starts there, a QML engine finds the module there, and the libraries do not depend on QML. A
# client and a daemon are compiled against the installed files, through CMake and pkg-config alone,
# and communicate over a bus. This part is for Qt 4; with Qt 5 and 6 the tests of the guides do it
# with the examples.

set -euo pipefail
source=$1
build=$2
qt=$3
name=$4
. "$source/scripts/panel.sh"

work=$(mktemp --directory)
trap 'rm -rf "$work"' EXIT
prefix=$work/prefix

cmake --install "$build" --prefix "$prefix" >"$work/log"
library=$(find "$prefix" -name "lib$name.so")
libdir=$(dirname "$library")

# The programs and the files that they read. With Qt 4 only the contract and the rules of the bus.
interfaces="share/dbus-1/interfaces/local.IHNIPCIOEXPD.xml
share/dbus-1/interfaces/local.IHNIPCM4.xml
share/dbus-1/interfaces/local.IHNIPCSUPPLYD.xml
share/dbus-1/interfaces/org.hnipc.Simulator.xml
share/dbus-1/system.d/org.hnipc.conf"
tools="bin/hnipc-sandbox
bin/hnipc-simulator
bin/hnipcctl
share/bash-completion/completions/hnipcctl
share/hnipc/fleet/alerts.yml
share/hnipc/fleet/dashboard.json
share/hnipc/sandbox-bus.conf
share/hnipc/scenarios/bad-day.json
share/hnipc/scenarios/ordinary-day.json
share/hnipc/supplies.json
share/hnipc/systemd/hnipc-metrics-hosts.conf
share/hnipc/systemd/hnipc-metrics.service
share/hnipc/systemd/hnipc-metrics.timer
share/man/man1/hnipc-sandbox.1
share/man/man1/hnipc-simulator.1
share/man/man1/hnipcctl.1"
panel="bin/hnipc-panel
share/man/man1/hnipc-panel.1"
expected=$interfaces
if [ "$qt" -ge 5 ]; then
    expected=$interfaces$'\n'$tools
fi
if has_panel "$build"; then
    expected+=$'\n'$panel
fi
diff <(sort <<<"$expected") \
     <(cd "$prefix" && find . -path ./include -prune -o -path "./lib*" -prune \
        -o -path ./share/doc/hnipc -prune -o ! -type d -printf '%P\n' | sort)
cmp "$build/org.hnipc.conf" "$prefix/share/dbus-1/system.d/org.hnipc.conf" # used by the tests
cmp "$build/hnipc.sysusers" "$prefix/lib/sysusers.d/hnipc.conf"
# Each program starts with the installed files. The user's environment has no paths to them.
mkdir --mode=700 "$work/runtime" # avoids a warning of Qt
nothing="env -i PATH=$PATH LC_ALL=C.UTF-8 XDG_RUNTIME_DIR=$work/runtime QT_QPA_PLATFORM=offscreen"
if [ "$qt" -ge 5 ]; then
    for program in "$prefix"/bin/*; do
        $nothing "$program" --version >"$work/output" 2>&1 \
            || { cat "$work/output"; exit 1; }
        diff <(echo "$(basename "$program") $(pkg-config --modversion "$libdir/pkgconfig/$name.pc")") \
            "$work/output"
        diff <(echo "\$ORIGIN/$(realpath --relative-to="$prefix/bin" "$libdir")") \
            <(readelf --dynamic --wide "$program" | sed -n 's/.*(RUNPATH).*\[\(.*\)\]/\1/p')
    done
fi
if has_panel "$build"; then
    $nothing QT_QUICK_BACKEND=software \
        "$prefix/bin/hnipc-sandbox" -- "$prefix/bin/hnipc-panel" --shoot "0.5=$work/panel.png" \
        >"$work/output" 2>&1 || { cat "$work/output"; exit 1; }
    diff /dev/null "$work/output"
    test -s "$work/panel.png"
fi

# Of Qt, the libraries need only its core and D-Bus modules.
for each in "$name" "${name/hnipc/hnipcasync}"; do
    needed=$(readelf --dynamic --wide "$libdir/lib$each.so" \
        | sed -n 's/.*(NEEDED).*\[\(.*\)\]/\1/p')
    grep --quiet '^libQt.*DBus' <<<"$needed"
    diff /dev/null <(grep '^libQt' <<<"$needed" | grep -v -E '^libQt[56]?(Core|DBus)\.so')
done

# The QML module alone: only the import path leads to it and to its libraries.
if has_module "$build"; then
    modules=$libdir/qt$qt/qml
    diff <(printf '%s\n' libhnipcqml.so plugins.qmltypes qmldir) <(ls "$modules/HNIPC")
    screen=$build/tests/qml/hnipc-test-installedmodule
    "$prefix/bin/hnipc-sandbox" -- "$screen" "$modules" >"$work/output" 2>&1 \
        || { cat "$work/output"; exit 1; }
    grep --quiet 'battery 87 calibrated true engine true' "$work/output"
    diff <(printf '%s\n' "$libdir/lib$name.so" "$libdir/lib${name/hnipc/hnipcasync}.so" \
            "$modules/HNIPC/libhnipcqml.so" | xargs realpath | sort) \
         <(grep '/libhnipc' "$work/output" | sort --unique)
fi

# Every public header compiles alone, and no other file was installed.
export PKG_CONFIG_PATH=$libdir/pkgconfig${PKG_CONFIG_PATH:+:$PKG_CONFIG_PATH}
standard=$([ "$qt" -ge 6 ] && echo c++17 || echo c++11)
read -ra flags < <(pkg-config --cflags "$name")
for header in "$prefix"/include/hnipc/*.h; do
    g++ -std="$standard" -fPIC -fsyntax-only "${flags[@]}" -x c++ "$header"
done
diff <(cd "$source/include" && find hnipc -type f | sed 's/\.in$//' | sort) \
     <(cd "$prefix/include" && find . -type f -printf '%P\n' | sort)

# Libraries and headers outside the prefix: pkg-config has to name the absolute directories.
elsewhere=$work/elsewhere
cmake -S "$source" -B "$work/absolute" -DHNIPC_QT="$qt" -DHNIPC_QML=OFF -DBUILD_TESTING=OFF \
    -DCMAKE_INSTALL_PREFIX="$prefix" -DCMAKE_INSTALL_LIBDIR="$elsewhere/lib" \
    -DCMAKE_INSTALL_INCLUDEDIR="$elsewhere/include" >>"$work/log"
cmake --install "$work/absolute" --component pkgconfig >>"$work/log"
for each in "$name" "${name/hnipc/hnipcasync}"; do
    for variable in libdir=$elsewhere/lib includedir=$elsewhere/include; do
        diff <(echo "${variable#*=}") \
            <(pkg-config --variable="${variable%%=*}" "$elsewhere/lib/pkgconfig/$each.pc")
    done
done

if [ "$qt" -ne 4 ]; then
    exit 0
fi
for program in daemon client; do
    cmake -S "$source/tests/install/$program" -B "$work/cmake-$program" \
        -DCMAKE_PREFIX_PATH="$prefix" >>"$work/log"
    cmake --build "$work/cmake-$program" >>"$work/log"
    cp -r "$source/tests/install/$program" "$work/make-$program"
    make --silent -C "$work/make-$program" CXXFLAGS="-Wall -Wextra -Werror"
done

# Users set the run-time path of programs that make builds.
export LD_LIBRARY_PATH=$libdir${LD_LIBRARY_PATH:+:$LD_LIBRARY_PATH}
for kind in cmake make; do
    dbus-run-session -- bash -euc '
        export DBUS_SYSTEM_BUS_ADDRESS=$DBUS_SESSION_BUS_ADDRESS
        "$1-daemon/hnipc-qt4-daemon" >"$1-daemon/output" &
        trap "kill $!" EXIT
        until dbus-send --system --print-reply --dest=org.freedesktop.DBus / \
                org.freedesktop.DBus.NameHasOwner string:org.hnipc.ioexpd | grep --quiet true; do
            kill -0 $!
        done
        "$1-client/hnipc-qt4-client" >"$1-client/output"' - "$work/$kind"
    grep --quiet "^backlight on$" "$work/$kind-daemon/output"
    grep --quiet "^org.hnipc.ioexpd: on the bus$" "$work/$kind-client/output"
    grep --quiet "^org.hnipc.m4: absent" "$work/$kind-client/output"
done
