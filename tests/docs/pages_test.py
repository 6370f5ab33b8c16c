#!/usr/bin/python3
# SPDX-License-Identifier: MIT
"""pages_test.py SOURCE INSTALLED QT PAGE: types each command that a page shows into a terminal, and
compares the output with the page. INSTALLED is the prefix that scripts/demo has installed to. With
"--all" instead of a page: checks that each command of each page is tested, or that NOT_PLAYED has the
reason.
"""

import glob
import os
import re
import shutil
import sys
import tempfile

sys.dont_write_bytecode = True

import shown

SIM = ('dbus-send --system --print-reply --dest=org.hnipc.{0} /simulator '
       'org.hnipc.Simulator.{1} >sim.log')
LID = SIM.format('m4', 'set string:printerLid variant:boolean:{}')

# What is typed before a command and is not in the page, such as the start of the daemons. The shell
# has the installed programs on its PATH.
STAGES = {
    'docs/guides/printer.md': {
        'hnipcctl status': ['hnipc-sandbox'],
    },
    'docs/guides/fleet.md': {
        'hnipcctl --timeout 5000 --hosts hall.txt metrics': [
            'export HNIPCCTL_SSH=$PWD/ssh PRINTER7=$DBUS_SYSTEM_BUS_ADDRESS',
            r"printf '%s\n' service@printer7 service@printer8 >hall.txt"],
    },
    'docs/guides/ci.md': {
        # As an installed python3-hnipc does it.
        'examples/ci/run': ['export PYTEST_ADDOPTS="-p hnipc.testing.plugin"'],
    },
    'data/man/hnipc-sandbox.1': {
        'hnipc-sandbox --scenario ordinary-day -- ./my-screen': [
            "printf '%s\\n' '#!/bin/sh' 'exec hnipcctl status' >my-screen",
            "printf '%s\\n' '#!/bin/sh' 'hnipc-simulator m4 &' "
            "'until hnipcctl status; do :; done' >my-daemon",
            'chmod +x my-screen my-daemon'],
        'hnipc-sandbox --check shift.json': [
            """printf '%s\\n' '{' '"name": "Shift",' '"about": "The lid is opened.",' '"acts": [' """
            """'{ "at": 0, "do": "say", "text": "It opens." },' '' """
            """'{ "at": 1, "daemon": "m4", "do": "set",' '"name": "printerLidd", "value": true }' """
            """']' '}' >shift.json"""],
    },
    'data/man/hnipc-simulator.1': {
        'hnipcctl simulate print 500': ['hnipc-sandbox'],
    },
    'data/man/hnipcctl.1': {
        'hnipcctl status': ['hnipc-sandbox --daemons ioexpd,m4'],
        'hnipcctl list feed': ['exit 0', 'hnipc-sandbox'],
        'hnipcctl monitor --json --count 10 M4PrinterLid': [
            'while sleep 0.1; do ' + LID.format('true') + '; ' + LID.format('false') + '; done &'],
        'hnipcctl --host service@printer7 record jam.trace': [
            'export HNIPCCTL_SSH=$PWD/ssh PRINTER7=$DBUS_SYSTEM_BUS_ADDRESS'],
        'hnipcctl --hosts hall.txt get qmlSupplyPercent': [
            'kill %%', 'wait',
            SIM.format('supplyd', 'set string:supplyPercent variant:double:62.5'),
            r"printf '%s\n' printer7 service@printer8 >hall.txt"],
    },
}
README_SECTION = 'Without a printer'  # scripts/newcomer types the other sections, too
DESK = 'docs/guides/desk.md'
INSTALL = 'docs/install.md'

# Commands that show a window until it is closed, and the output when it is open.
WINDOWS = {
    'hnipc-sandbox --scenario ordinary-day -- hnipc-panel',
}
WINDOW_IS_THERE = ['...', 'qt.scenegraph.general: Loading backend software', '...', '^C']

# The commands in the sentences of a page. scripts/newcomer types them, except those of README.
INLINE = {
    'README.md': ['scripts/test --qt 5'],
    DESK: ['man hnipcctl', 'echo $DBUS_SYSTEM_BUS_ADDRESS', "export DBUS_SYSTEM_BUS_ADDRESS='...'",
           'hnipc-sandbox -- hnipc-panel', 'scripts/demo --screenshot DIR'],
    INSTALL: ['cmake --list-presets',
              'g++ -fPIC main.cpp $(pkg-config --cflags --libs hnipcasync-qt5)'],
}

# Commands that no test can run, and why.
NOT_PLAYED = {
    'README.md': {
        'scripts/demo': 'the test "demo" runs it, and so does scripts/newcomer',
        'scripts/test': 'this is part of it; scripts/newcomer runs it',
    },
    INSTALL: {
        'cmake -S . -B build -DHNIPC_QT=5 -DCMAKE_INSTALL_PREFIX=/usr -DBUILD_TESTING=OFF':
            'scripts/newcomer runs it',
        'cmake --build build -j2': 'scripts/newcomer runs it',
        'cmake --install build': 'scripts/newcomer runs it',
        'groupadd --system hnipc': 'needs root; scripts/newcomer runs it',
        'usermod --append --groups hnipc kiosk': 'needs root; scripts/newcomer runs it',
        'systemctl reload dbus': 'needs systemd as the first process',
    },
    'docs/guides/fleet.md': {'scripts/metrics': 'downloads promtool and node_exporter; run by hand'},
    'docs/performance.md': {'scripts/bench': 'measures for minutes; run by hand'},
    'data/man/hnipcctl.1': {'wireshark printer.pcapng': 'opens a window'},
    'docs/guides/watching.md': {'wireshark printer.pcapng': 'opens a window'},
    'docs/guides/cross.md': dict.fromkeys((
        'cmake -S . -B build/armhf --toolchain cmake/toolchains/arm-linux-gnueabihf.cmake \\\n'
        '      -DCMAKE_BUILD_TYPE=Release -DCMAKE_INSTALL_PREFIX=/usr \\\n'
        '      -DHNIPC_QT=5 -DHNIPC_QML=OFF -DBUILD_TESTING=OFF',
        'cmake --build build/armhf',
        'DESTDIR=$PWD/build/armhf/root cmake --install build/armhf',
        'cmake -S examples/client -B build/client \\\n'
        '      --toolchain $PWD/cmake/toolchains/arm-linux-gnueabihf.cmake \\\n'
        '      -DHNIPC_QT=5 -DCMAKE_PREFIX_PATH=$PWD/build/armhf/root/usr',
        'cmake --build build/client',
        'file --brief build/client/hnipc-example-client',
        'hnipc-sandbox -- qemu-arm-static build/client/hnipc-example-client'),
        'needs packages for armhf and a separate build; run by hand'),
    'docs/guides/pytest.md': dict.fromkeys((
        'python3 -m venv --system-site-packages env',
        'env/bin/pip install --no-build-isolation ./python'),
        'installs packages; scripts/newcomer runs it'),
    'docs/size.md': {'scripts/size': 'makes separate builds; run by hand'},
    'docs/reliability.md': {
        'scripts/fuzz --minutes 10': 'takes ten minutes; run by hand',
    },
}

# Replaces ssh: printer7 is the sandbox's own bus.
SSH = '''#!/bin/bash
case "$*" in
*printer8*)
    echo "ssh: connect to host printer8 port 22: No route to host" >&2
    exit 255 ;;
esac
exec systemd-stdio-bridge --bus-path="$PRINTER7"
'''


def pages():
    return ['README.md', 'CONTRIBUTING.md', 'RELEASING.md', 'SECURITY.md'] + sorted(
        glob.glob('docs/*.md') + glob.glob('docs/guides/*.md') + glob.glob('data/man/*.1'))


def played_pages():
    """The pages for which CMakeLists.txt adds a test."""
    return ['README.md'] + [page for page in pages() if re.match('docs/guides/|data/man/', page)]


def reason(page, command):
    if command.text.startswith('sudo '):
        return 'needs root, and changes the real system'
    return NOT_PLAYED.get(page, {}).get(command.text)


def check_all():
    """Checks that the tables above have every command, and only commands that the pages show."""
    wrong = []
    for page in pages():
        all_commands = shown.commands(page)
        played = []
        if page in played_pages():
            section = README_SECTION if page == 'README.md' else None
            played = [each.text for each in shown.commands(page, section)]
        for command in all_commands:
            if command.text not in played and not reason(page, command):
                wrong.append(f'{command}: is not played, and tests/docs/pages_test.py has no reason')
        texts = [command.text for command in all_commands]
        for text in list(STAGES.get(page, {})) + list(NOT_PLAYED.get(page, {})):
            if text not in texts:
                wrong.append(f'{page} does not show: {text}')
    for page in list(STAGES) + list(NOT_PLAYED):
        if page not in pages():
            wrong.append(f'there is no {page}')
    for page, commands in INLINE.items():
        spans = shown.inline_commands(page)
        if spans != commands:
            wrong.append(f'the sentences of {page} show {spans}, and scripts/newcomer plays '
                         f'{commands}')
    if wrong:
        raise shown.Failed('\n'.join(wrong))


def environment(source, installed, qt, home):
    """The environment in the guides for a library that is not installed under /usr."""
    found = glob.glob(f'{installed}/lib/**/libhnipc-qt{qt}.so', recursive=True)
    library = os.path.dirname(found[0])
    result = {key: value for key, value in os.environ.items()
              if key in ('PATH', 'CXX', 'ASAN_OPTIONS', 'XDG_RUNTIME_DIR')}
    result.update({
        'HOME': home,
        'SHELL': '/bin/bash',
        'LC_ALL': 'C.UTF-8',
        'MANPAGER': 'cat',
        'DBUS_SYSTEM_BUS_ADDRESS': 'unix:path=/nowhere',  # never the system bus of the machine
        'PATH': f'{installed}/bin:' + os.environ['PATH'],
        'CMAKE_PREFIX_PATH': installed,
        'PKG_CONFIG_PATH': f'{library}/pkgconfig',
        'PYTHONPATH': f'{installed}/../python/package',
        'LDFLAGS': f'-Wl,-rpath,{library}',
        'CXXFLAGS': '-Wall -Wextra -Werror',  # the examples compile without a warning
        'QML_IMPORT_PATH': f'{library}/qt{qt}/qml',
        'QML2_IMPORT_PATH': f'{library}/qt{qt}/qml',
        'QT_QPA_PLATFORM': 'offscreen',
        'QT_QUICK_BACKEND': 'software',
        'QSG_INFO': '1',  # reports when a window is drawn
    })
    return result


def for_qt(text, qt):
    """Adds the options that the guides give for Qt 5."""
    if qt != '6' and text.startswith('cmake -S examples/'):
        return f'{text} -DHNIPC_QT={qt}'
    if qt != '6' and text.startswith('make '):
        return f'{text} HNIPC_QT={qt}'
    if qt != '6' and text == 'examples/ci/run':
        return f'{text} -DHNIPC_QT={qt}'
    return text


def play(source, installed, qt, page):
    with tempfile.TemporaryDirectory() as work:
        shutil.copytree(f'{source}/examples', f'{work}/examples')
        with open(f'{work}/ssh', 'w', encoding='utf-8') as ssh:
            ssh.write(SSH)
        os.chmod(f'{work}/ssh', 0o700)
        os.makedirs(f'{work}/build/qt6')  # the path in the README
        os.symlink(installed, f'{work}/build/qt6/demo')

        section = README_SECTION if page == 'README.md' else None
        commands = [each for each in shown.commands(page, section) if not reason(page, each)]
        variables = environment(source, installed, qt, work)
        terminal = shown.Terminal(['/bin/bash', '--norc'], variables, work)
        for command in commands:
            for text in STAGES.get(page, {}).get(command.text, []):
                terminal.type(shown.Command(page, command.number, text))
            if command.text in WINDOWS:
                command.shown = WINDOW_IS_THERE
            command.text = for_qt(command.text, qt)
            terminal.type(command)
        terminal.close()
        print(f'{len(commands)} commands of {page}')


def main():
    source, installed, qt, page = sys.argv[1:]
    os.chdir(source)
    try:
        if page == '--all':
            check_all()
        else:
            play(source, os.path.realpath(installed), qt, page)
    except shown.Failed as failure:
        sys.exit(str(failure))


if __name__ == '__main__':
    main()
