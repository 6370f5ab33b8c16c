# SPDX-License-Identifier: MIT
"""The commands that a page shows, and a terminal into which they are typed.

A page shows a command after "$ ", and its output below it. "^C" ends a command that does not end by
itself; the lines of its output may be in another order. "..." stands for lines that the page leaves
out. A command without output on the page has to succeed; its output is not compared. A block without
"$ " may contain only commands.
"""

import os
import re
import signal
import time

import pexpect
import pyte

# Only against hanging: a build on a loaded machine ends earlier, and so does a complete scenario.
PATIENCE = int(os.environ.get('HNIPC_PAGES_PATIENCE', 1800))
COLUMNS, LINES = 250, 200
INTERRUPTED = 130  # the exit code
PROGRAMS = ('apt', 'apt-get', 'busctl', 'cd', 'cmake', 'cp', 'ctest', 'echo', 'export', 'g++',
            'groupadd', 'make', 'man', 'mkdir', 'pip', 'pytest', 'python3', 'sudo', 'systemctl',
            'usermod', 'valgrind')
PROMPT = re.compile(r'@@(\d+)@@ ?')


class Failed(Exception):
    """The output differs from the page."""


class Command:
    def __init__(self, page, number, text):
        self.page = page
        self.number = number  # of the line
        self.text = text      # with the page's line breaks
        self.shown = []

    def __str__(self):
        return f'{self.page}:{self.number}: {self.text}'

    @property
    def needs_key(self):
        return '^C' in self.shown


def commands(page, section=None):
    """All commands that a page, or a section of a Markdown page, shows."""
    result = []
    for block in _blocks(page, section):
        result += _commands_of(page, block)
    return result


def other_blocks(page):
    """The line numbers of the indented blocks of a page that are not commands."""
    return [block[0][0] for block in _blocks(page, None) if not _commands_of(page, block)]


def spans(page, section=None):
    """The text in code quotes in the paragraphs of a Markdown page or of a section of it."""
    text = '\n'.join(line for _, line in _lines(page, section) if not line.startswith('    '))
    text = re.sub(r'^```.*?^```', '', text, flags=re.S | re.M)
    return [' '.join(span.split()) for span in re.findall(r'`([^`]+)`', text)]


def fenced(page, language):
    """The lines of the first block of a language."""
    text = '\n'.join(line for _, line in _lines(page))
    return re.search(rf'^```{language}\n(.*?)^```', text, re.S | re.M).group(1).splitlines()


def inline_commands(page, section=None):
    """The commands in the sentences of a page or of a section of it. One of our programs with one
    word and its arguments is a name, not a command: `hnipcctl status`,
    `hnipc-sandbox --scenario FILE`."""
    return [span for span in spans(page, section)
            if ' ' in span and is_command(span) and not re.fullmatch(r'hnipc\S* \S+( [A-Z]+)*', span)]


def _lines(page, section=None):
    inside = section is None
    found = inside
    with open(page, encoding='utf-8') as file:
        for number, line in enumerate(file, 1):
            line = line.rstrip('\n')
            if section is not None and line.startswith('## '):
                inside = line == '## ' + section
                found |= inside
            if inside:
                yield number, line
    if not found:
        raise Failed(f'{page} has no section "{section}"')


def _blocks(page, section):
    """Blocks of code: in Markdown the indented ones, without those in fences; in a manual page
    those from .EX to .EE."""
    block = []
    is_manual_page = page.endswith('.1')
    inside = False
    is_fenced = False
    for number, line in _lines(page, section):
        if is_manual_page:
            if line == '.EX':
                inside = True
                continue
            if line == '.EE':
                inside = False
            text = _plain(line)
        else:
            is_fenced ^= line.startswith('```')
            inside = not is_fenced and (line.startswith('    ')
                                        or (bool(block) and not line.strip()))
            text = line[4:]
        if inside:
            block.append((number, text))
        elif block:
            yield block
            block = []
    if block:
        yield block


def _plain(line):
    for roff, text in (('\\-', '-'), ('\\(dq', '"'), ('\\(aq', "'"), ('\\&', ''), ('\\e', '\\')):
        line = line.replace(roff, text)
    return line


def is_command(text):
    """Returns True if a line without "$ " is a command, whether or not programs are installed."""
    word = text.split(' ')[0]
    return bool(re.match(r'(\w+=|hnipcctl$|hnipc-|(\.|scripts|build)/)', word)) or word in PROGRAMS


def _commands_of(page, block):
    has_prompts = any(text.startswith('$ ') for _, text in block)
    if not has_prompts and not is_command(block[0][1]):
        return []
    result = []
    goes_on = False
    for number, text in block:
        if goes_on:
            result[-1].text += '\n' + text
        elif text.startswith('$ '):
            result.append(Command(page, number, text[2:]))
        elif text.strip() and not has_prompts:
            result.append(Command(page, number, text))
        elif text.strip() and result:
            result[-1].shown.append(text)
        goes_on = goes_on and text.endswith('\\') or bool(
            result and result[-1].number == number and text.endswith('\\'))
    return result


def _without_what_varies(line):
    line = re.sub(r'process \d+', 'process N', line)
    line = re.sub(r':1\.\d+', ':1.N', line)
    line = re.sub(r'\d\d:\d\d:\d\d\.\d{3}', 'TIME', line)
    line = re.sub(r'"time": ?"[^"]*"', '"time":TIME', line)
    return line.rstrip()


def _heed_keys():
    """Restores the default actions of the keys' signals. Background processes ignore these signals,
    and their child processes inherit that."""
    for number in (signal.SIGINT, signal.SIGQUIT, signal.SIGHUP):
        signal.signal(number, signal.SIG_DFL)


class Terminal:
    """An interactive bash, and the screen of its terminal."""

    def __init__(self, arguments, environment, directory, log=None):
        self._screen = pyte.Screen(COLUMNS, LINES)
        self._stream = pyte.Stream(self._screen)
        self._log = log
        self._has_jobs = False
        environment = dict(environment, TERM='xterm-256color', PROMPT_COMMAND='PS1="@@$?@@ "')
        self._child = pexpect.spawn(arguments[0], arguments[1:], env=environment, cwd=directory,
                                    encoding='utf-8', dimensions=(LINES, COLUMNS), timeout=None,
                                    preexec_fn=_heed_keys)
        self._until(lambda: self._exit_code() is not None, 'a prompt')

    def lines(self):
        return [line.rstrip() for line in self._screen.display]

    def type(self, command):
        """Types a command, and compares its output with its page."""
        print(f'{os.path.basename(command.page)}:{command.number}: $ {command.text}', flush=True)
        self._screen.reset()
        self._child.send(command.text + '\n')
        is_job = command.text.rstrip().endswith('&')
        self._has_jobs |= is_job
        shown = [_without_what_varies(line) for line in command.shown if line != '^C']

        if command.needs_key:
            self._until(lambda: self._fits(command, shown, False), command)
            self._child.sendintr()
            self._until(lambda: self._exit_code() is not None, command)
            if self._exit_code() != INTERRUPTED:
                self._fail(command, f'ended with {self._exit_code()}, but should continue')
        elif shown and self._has_jobs:
            self._until(lambda: self._exit_code() is not None
                        and self._fits(command, shown, True), command)
        else:
            self._until(lambda: self._exit_code() is not None, command)
            if not shown and self._exit_code() != 0:
                self._fail(command, f'ended with {self._exit_code()}')
            if shown and not self._fits(command, shown, True):
                self._fail(command, 'the output differs')

    def close(self):
        """Exits from all shells."""
        while self._child.isalive():
            try:
                self._child.send('exit\n')
                self._child.expect(r'@@\d+@@ ', timeout=PATIENCE)
            except (pexpect.EOF, OSError):
                break
        self._child.close()

    def kill(self):
        """Closes the terminal, even if programs are running."""
        self._child.close(force=True)

    def _exit_code(self):
        for line in self.lines():
            prompt = PROMPT.search(line)
            if prompt:
                return int(prompt.group(1))
        return None

    def came(self, command):
        """The output, which begins after the lines of the command itself."""
        result = []
        for line in self.lines()[command.text.count('\n') + 1:]:
            line = _without_what_varies(PROMPT.sub('', line).replace('^C', ''))
            if line and not re.match(r'\[\d+\]', line):
                result.append(line)
        return result

    def _fits(self, command, shown, in_order):
        came = self.came(command)
        if in_order:
            pattern = ''.join('(?:.*\n)*' if line == '...' else re.escape(line) + '\n'
                              for line in shown)
            return bool(re.fullmatch(pattern, ''.join(line + '\n' for line in came)))
        if '...' in shown:
            return set(shown) - {'...'} <= set(came)
        return sorted(shown) == sorted(came)

    def _until(self, condition, command):
        end = time.monotonic() + PATIENCE
        while not condition():
            if command and isinstance(command, Command) and command.needs_key \
                    and self._exit_code() is not None:
                self._fail(command, f'ended with {self._exit_code()}, but should continue')
            try:
                text = self._child.read_nonblocking(65536, timeout=1)
            except pexpect.TIMEOUT:
                if time.monotonic() > end:
                    self._fail(command, 'hangs, or the output differs')
                continue
            except pexpect.EOF:
                self._fail(command, 'the terminal was closed')
            if self._log:
                self._log.write(text)
                self._log.flush()
            self._stream.feed(text)

    def _fail(self, command, what):
        if not isinstance(command, Command):
            raise Failed(f'{what}: {command}\n' + '\n'.join(filter(None, self.lines())))
        raise Failed(f'{command}\n  {what}\n  on the page:\n    ' + '\n    '.join(command.shown)
                     + '\n  printed:\n    ' + '\n    '.join(self.came(command)[-60:]))
