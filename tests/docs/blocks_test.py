#!/usr/bin/python3
# SPDX-License-Identifier: MIT
"""Checks that the code and the sessions in the pages are the same as in their files, and that a
difference is noticed."""

import glob
import os
import sys
import tempfile
import unittest

sys.dont_write_bytecode = True

import blocks

SOURCE = os.path.realpath(os.path.dirname(__file__) + '/../..')


def files(pattern):
    return sorted(glob.glob(pattern, root_dir=SOURCE, recursive=True))


class Blocks(unittest.TestCase):
    maxDiff = None

    def test_the_pages(self):
        pages = ['README.md'] + files('docs/**/*.md')
        self.assertEqual(blocks.faults(SOURCE, pages, files(blocks.SESSION + '*.txt')), [])


class Differences(unittest.TestCase):
    PROGRAM = 'int main()\n{\n    int a;\n    if (a) {\n        b();\n    }\n}\n'
    PLAYED = '# comment\nsandbox: --quiet\n$ a\nb\n\n$ c\nsetup: true\n$ d\n'

    def faults(self, page, sessions=()):
        with tempfile.TemporaryDirectory() as source:
            os.makedirs(f'{source}/docs/sessions')
            for name, text in (('page.md', page), ('main.cpp', self.PROGRAM),
                               ('docs/sessions/x.txt', self.PLAYED)):
                with open(f'{source}/{name}', 'w', encoding='utf-8') as file:
                    file.write(text)
            return blocks.faults(source, ['page.md'], sessions)

    def block(self, code, origin='main.cpp', language='cpp'):
        return f'Text\n\n<!-- from {origin} -->\n```{language}\n{code}```\n\n'

    def session(self, code):
        return self.block(code, 'docs/sessions/x.txt', 'console')

    def test_code(self):
        self.assertEqual(self.faults(self.block(self.PROGRAM)), [])
        self.assertEqual(self.faults(self.block('if (a) {\n    b();\n}\n')), [])
        self.assertEqual(self.faults(self.block('if (a) {\n        b();\n}\n')),
                         ['page.md:4: these lines are not in main.cpp'])
        self.assertEqual(self.faults(self.block('if (a) {\n}\n')),
                         ['page.md:4: these lines are not in main.cpp'])
        self.assertEqual(self.faults(self.block('int b;\n')),
                         ['page.md:4: these lines are not in main.cpp'])
        self.assertEqual(self.faults(self.block('')),
                         ['page.md:4: these lines are not in main.cpp'])

    def test_origin(self):
        self.assertEqual(self.faults('```cpp\nint a;\n```\n'),
                         ['page.md:1: no line "<!-- from FILE -->" above the block'])
        self.assertEqual(self.faults(self.block('int a;\n', 'other.cpp')),
                         ['page.md:4: there is no other.cpp'])

    def test_code_that_is_not_fenced(self):
        self.assertEqual(self.faults('Text\n\n    int a;\n'),
                         ['page.md:3: is not a command; code has to be in a fenced block'])
        self.assertEqual(self.faults('Text\n\n    $ ls\n    page.md\n'), [])

    def test_plain_markdown(self):
        self.assertEqual(self.faults('# On the bus {#dbus}\n\nSee @ref dbus.\n'),
                         ['page.md:1: "{#" is not Markdown', 'page.md:3: "@ref" is not Markdown'])
        self.assertEqual(self.faults('\\page dbus On the bus\n@snippet a.cpp b\n'),
                         ['page.md:1: "\\page" is not Markdown',
                          'page.md:2: "@snippet" is not Markdown'])
        self.assertEqual(self.faults(self.block('int a;\n') + 'me@reference.org, `{ #a }`\n'), [])

    def test_sessions(self):
        every_part = self.session('$ a\nb\n') + self.session('$ c\n') + self.session('$ d\n')
        self.assertEqual(self.faults(every_part, ['docs/sessions/x.txt']), [])
        self.assertEqual(self.faults(self.session('$ a\n')),
                         ['page.md:4: is not a part of docs/sessions/x.txt'])
        self.assertEqual(self.faults(self.session('$ c\n'), ['docs/sessions/x.txt']),
                         ['docs/sessions/x.txt: no page shows the part "$ a"',
                          'docs/sessions/x.txt: no page shows the part "$ d"'])


if __name__ == '__main__':
    unittest.main()
