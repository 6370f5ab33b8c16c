# SPDX-License-Identifier: MIT
"""The code and the sessions that a page shows.

Such a block is between lines of three backquotes. The line above it is a comment that names the
file of the block, such as "<!-- from examples/client/main.cpp -->". The block consists of
consecutive lines of that file, moved to the left. Pages show all of a session of docs/sessions, each
part of it in a separate block.
"""

import os
import re
import textwrap

import shown

SESSION = 'docs/sessions/'
# Lines of a session that run, but are not shown.
HIDDEN = re.compile(r'(#|sandbox:|needs:|setup:)')
FENCE = re.compile(r'```(\w*)$')
DOXYGEN = re.compile(r'(?:[@\\\\](?:ref|subpage|snippet|include|page|mainpage|section|anchor)\b)'
                     r'|\{#')
FROM = re.compile(r'<!-- from (\S+) -->$')


def fenced(text):
    """Each fenced block of a page: its line number, the line above it, and its lines."""
    lines = text.splitlines()
    result = []
    start = None
    for number, line in enumerate(lines):
        if FENCE.match(line):
            if start is None:
                start = number
            else:
                result.append((start + 1, lines[start - 1] if start else '',
                               lines[start + 1:number]))
                start = None
    return result


def parts(session):
    """The lines of a session that pages show, as a list of parts."""
    result = [[]]
    for line in session.splitlines():
        if not line or HIDDEN.match(line):
            result.append([])
        else:
            result[-1].append(line)
    return [part for part in result if part]


def is_run(block, text):
    """Returns True if the block consists of consecutive lines of the file, moved to the left."""
    lines = text.splitlines()
    return any(textwrap.dedent('\n'.join(lines[start:start + len(block)])) == '\n'.join(block)
               for start in range(len(lines) - len(block) + 1))


def doxygen_commands(text):
    """The commands and labels in a page that only Doxygen understands, with their line numbers."""
    is_code = False
    for number, line in enumerate(text.splitlines(), 1):
        is_code ^= bool(FENCE.match(line))
        for command in [] if is_code else DOXYGEN.findall(line):
            yield number, command


def faults(source, pages, sessions):
    """The faults in the blocks of pages, one line each. Paths are relative to source."""
    def read(path):
        with open(f'{source}/{path}', encoding='utf-8') as file:
            return file.read()

    result = []
    parts_shown = set()
    for page in pages:
        for number, above, block in fenced(read(page)):
            place = f'{page}:{number}'
            origin = FROM.match(above)
            if not origin:
                result.append(f'{place}: no line "<!-- from FILE -->" above the block')
            elif not os.path.isfile(f'{source}/{origin.group(1)}'):
                result.append(f'{place}: there is no {origin.group(1)}')
            elif origin.group(1).startswith(SESSION):
                parts_shown.add((origin.group(1), tuple(block)))
                if block not in parts(read(origin.group(1))):
                    result.append(f'{place}: is not a part of {origin.group(1)}')
            elif not block or not is_run(block, read(origin.group(1))):
                result.append(f'{place}: these lines are not in {origin.group(1)}')
        for number, command in doxygen_commands(read(page)):
            result.append(f'{page}:{number}: "{command}" is not Markdown')
        for number in shown.other_blocks(f'{source}/{page}'):
            result.append(f'{page}:{number}: is not a command; code has to be in a fenced block')
    for session in sessions:
        for part in parts(read(session)):
            if (session, tuple(part)) not in parts_shown:
                result.append(f'{session}: no page shows the part "{part[0]}"')
    return result
