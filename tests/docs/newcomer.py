#!/usr/bin/python3
# SPDX-License-Identifier: MIT
"""newcomer.py DIRECTORY [--without-tests]: types scripts/lint, the commands of README.md and those of
the pages to which it links, in three empty systems, DIRECTORY/lint, DIRECTORY/desk and
DIRECTORY/build. Each has the checkout in /root/hnipc. See scripts/newcomer."""

import os
import re
import sys

sys.dont_write_bytecode = True

import pages_test
import shown

CHECKOUT = '/root/hnipc'

# All mounts and processes end with its namespaces.
ENTER = '''
root=$1
shift
mount -t proc proc "$root/proc"
mount -t tmpfs -o mode=1777 tmpfs "$root/tmp"
mount -t tmpfs -o mode=1777 tmpfs "$root/dev/shm"
mount -t devpts -o newinstance,ptmxmode=666 devpts "$root/dev/pts"
exec chroot "$root" /usr/bin/env --ignore-environment HOME=/root SHELL=/bin/bash LC_ALL=C.UTF-8 \
    PATH=/usr/local/sbin:/usr/local/bin:/usr/sbin:/usr/bin:/sbin:/bin TERM="$TERM" \
    PROMPT_COMMAND="$PROMPT_COMMAND" "$@" bash --norc -i
'''

# Replaces a display. QSG_INFO reports when a window is drawn; MANPAGER makes man print everything.
DESK = ['MANPAGER=cat', 'QT_QPA_PLATFORM=offscreen', 'QT_QUICK_BACKEND=software', 'QSG_INFO=1']


class Newcomer:
    def __init__(self, directory):
        self._directory = directory
        self._log = open(f'{directory}/log', 'w', encoding='utf-8')

    def terminal(self, system):
        terminal = shown.Terminal(
            ['unshare', '--mount', '--pid', '--fork', '--kill-child', '--',
             'bash', '-euc', ENTER, '-', f'{self._directory}/{system}'] + DESK,
            {'PATH': os.environ['PATH']}, '/', self._log)
        self.type(terminal, f'cd {CHECKOUT}')
        return terminal

    def type(self, terminal, text, lines=()):
        """Types a command that no page shows in this form."""
        command = shown.Command('scripts/newcomer', 0, text)
        command.shown = list(lines)
        terminal.type(command)
        return terminal.came(command)


def lint(newcomer):
    terminal = newcomer.terminal('lint')
    newcomer.type(terminal, 'scripts/lint')
    terminal.close()


def two_commands(newcomer, without_tests):
    terminal = newcomer.terminal('desk')
    for command in shown.commands('README.md', 'Two commands'):
        if without_tests and command.text == 'scripts/test':
            print('NOT PLAYED: scripts/test')
            continue
        terminal.type(command)
    terminal.close()


def without_a_printer(newcomer):
    man, address, join, panel, pictures = pages_test.INLINE[pages_test.DESK]

    terminal = newcomer.terminal('desk')
    for command in shown.commands('README.md', pages_test.README_SECTION):
        terminal.type(command)
    terminal.close()

    terminal = newcomer.terminal('desk')
    commands = shown.commands(pages_test.DESK)
    for command in commands:
        terminal.type(command)

    # The next commands are typed in the sandbox that the last ones have started.
    came = newcomer.type(terminal, address)
    bus = next(line for line in came if line.startswith('unix:'))
    other = newcomer.terminal('desk')
    other.type(commands[0])  # the PATH
    newcomer.type(other, join.replace('...', bus))
    if not any(line.startswith('supplyd  present') for line in newcomer.type(other,
                                                                             'hnipcctl status')):
        raise shown.Failed('the other terminal does not join the sandbox')
    other.close()
    newcomer.type(terminal, 'exit')

    if not any('HNIPCCTL(1)' in line for line in newcomer.type(terminal, man)):
        raise shown.Failed(f'{man} shows no manual page')
    newcomer.type(terminal, panel, pages_test.WINDOW_IS_THERE)
    newcomer.type(terminal, pictures.replace('DIR', '/tmp/pictures'))
    newcomer.type(terminal, 'ls /tmp/pictures', ['panel-1.png  panel-2.png  panel-3.png'])
    terminal.close()


def build_and_install(newcomer):
    terminal = newcomer.terminal('build')
    commands = [command for command in shown.commands(pages_test.INSTALL)
                if command.text.startswith('cmake')]
    qt = re.search(r'-DHNIPC_QT=(\d)', commands[0].text).group(1)
    module = 'qml-module' if qt == '5' else f'qml{qt}-module'
    packages = [span for span in dict.fromkeys(shown.spans(pages_test.INSTALL, 'What it needs'))
                if re.fullmatch(rf'(qt[a-z]*{qt}|{module}|(lib)?dbus|libsystemd|pkg)-[a-z0-9-]+', span)]
    newcomer.type(terminal, 'apt-get update')
    newcomer.type(terminal, 'DEBIAN_FRONTEND=noninteractive apt-get install --yes g++ cmake '
                  + ' '.join(packages))
    for command in commands:
        terminal.type(command)

    # The two forms that the page shows, for the program of the guide.
    client = [each for each in shown.commands('README.md', pages_test.README_SECTION)
              if each.text.endswith('hnipc-example-client')][0]
    presets, without_cmake = pages_test.INLINE[pages_test.INSTALL]
    newcomer.type(terminal, presets)
    newcomer.type(terminal, f'cp -r {CHECKOUT}/examples /root/examples && cd /root/examples/client')
    newcomer.type(terminal, without_cmake)
    newcomer.type(terminal, 'hnipc-sandbox -- ./a.out', client.shown)
    for line in shown.fenced(pages_test.INSTALL, 'cmake'):
        newcomer.type(terminal, f"echo '{line}' >>/root/examples/form")
    newcomer.type(terminal, f'mv ../form CMakeLists.txt && cmake -S . -B form -DHNIPC_QT={qt}')
    newcomer.type(terminal, 'cmake --build form')
    newcomer.type(terminal, 'hnipc-sandbox -- form/hnipc-example-client', client.shown)
    terminal.close()
    return qt


def on_a_printer(newcomer):
    terminal = newcomer.terminal('build')
    newcomer.type(terminal, 'useradd kiosk')
    section = 'The users and the group of the bus policy'
    for command in shown.commands(pages_test.INSTALL, section):
        if command.text.startswith('systemctl '):  # systemd is not running here
            print(f'NOT PLAYED: {command.text}')
            continue
        terminal.type(command)
    terminal.close()


def guides(newcomer, qt):
    for page in ('docs/guides/application.md', 'docs/guides/daemon.md', 'docs/guides/screen.md'):
        terminal = newcomer.terminal('build')
        newcomer.type(terminal, f'mkdir /tmp/guide && cp -r {CHECKOUT}/examples /tmp/guide')
        newcomer.type(terminal, 'cd /tmp/guide')
        for command in shown.commands(page):
            command.text = pages_test.for_qt(command.text, qt)
            terminal.type(command)
        terminal.close()


def python_from_source(newcomer):
    terminal = newcomer.terminal('build')
    page = 'docs/guides/pytest.md'
    for command in shown.commands(page)[1:4]:  # the first one installs the package instead
        command.text = command.text.replace('sudo apt install', 'apt-get install --yes')
        terminal.type(command)
    newcomer.type(terminal, f'cd {CHECKOUT}/docs/guides/pytest')
    newcomer.type(terminal, f'{CHECKOUT}/env/bin/python -m pytest test_lid.py')
    terminal.close()


def main():
    directory = sys.argv[1]
    os.chdir(os.path.dirname(os.path.realpath(__file__)) + '/../..')
    newcomer = Newcomer(directory)
    try:
        pages_test.check_all()
        lint(newcomer)
        two_commands(newcomer, '--without-tests' in sys.argv)
        without_a_printer(newcomer)
        qt = build_and_install(newcomer)
        on_a_printer(newcomer)
        guides(newcomer, qt)
        python_from_source(newcomer)
    except shown.Failed as failure:
        sys.exit(f'{failure}\nFAILED. The output of the terminals is in {directory}/log')
    print('The output of all commands is the one that the pages show.')


if __name__ == '__main__':
    main()
