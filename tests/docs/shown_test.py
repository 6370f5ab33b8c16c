#!/usr/bin/python3
# SPDX-License-Identifier: MIT
"""Checks that a difference between a page and the output is noticed."""

import os
import sys
import tempfile
import unittest

sys.dont_write_bytecode = True

import shown


class Pages(unittest.TestCase):
    def commands(self, text, ending='.md', section=None):
        with tempfile.NamedTemporaryFile('w', suffix=ending) as page:
            page.write(text)
            page.flush()
            return shown.commands(page.name, section)

    def play(self, *lines, patience=60):
        shown.PATIENCE = patience
        terminal = shown.Terminal(['/bin/bash', '--norc'],
                                  {'PATH': os.environ['PATH'], 'HOME': '/nowhere'}, '/')
        try:
            for command in self.commands(''.join(f'    {line}\n' for line in lines)):
                terminal.type(command)
        finally:
            terminal.kill()

    def refuses(self, *lines, patience=60):
        with self.assertRaises(shown.Failed):
            self.play(*lines, patience=patience)

    def test_commands_of_markdown(self):
        commands = self.commands('Text\n\n    $ echo a \\\n          b\n    a b\n\n    c\n\nText\n'
                                 '    int main()\n    {\n\nText\n\n    scripts/demo\n    echo c\n')
        self.assertEqual([(each.number, each.text, each.shown) for each in commands],
                         [(3, 'echo a \\\n      b', ['a b', 'c']),
                          (15, 'scripts/demo', []), (16, 'echo c', [])])

    def test_commands_of_a_section(self):
        text = '## A\n\n    $ echo a\n\n## B\n\n    $ echo b\n\n### C\n\n    $ echo c\n\n## D\n'
        self.assertEqual([each.text for each in self.commands(text, section='B')],
                         ['echo b', 'echo c'])
        with self.assertRaises(shown.Failed):
            self.commands(text, section='C')

    def test_commands_of_a_manual_page(self):
        commands = self.commands('.SH A\n$ no\n.EX\n$ ls \\-\\-all \\(dqx\\(dq\n..\n.EE\ntext\n', '.1')
        self.assertEqual([(each.text, each.shown) for each in commands], [('ls --all "x"', ['..'])])

    def test_output(self):
        self.play('$ echo a; echo b', 'a', 'b')
        self.refuses('$ echo a; echo b', 'a')
        self.refuses('$ echo a', 'a', 'b')
        self.refuses('$ echo a; echo b', 'b', 'a')

    def test_numbers_that_vary(self):
        self.play('$ echo process 7, :1.5, 10:11:12.123', 'process 8, :1.16, 01:02:03.456')
        self.refuses('$ echo percent 7', 'percent 8')

    def test_lines_left_out(self):
        self.play('$ seq 9', '...', '4', '5', '...', '9')
        self.refuses('$ seq 9', '...', '5', '4', '...')
        self.refuses('$ seq 9', '...', '4')

    def test_exit_code(self):
        self.play('$ true', '$ echo x; false', 'x')
        self.refuses('$ false')
        self.refuses('$ no-such-program')

    def test_key(self):
        # The program prints, so that it is in the foreground when the key is typed. It is no shell:
        # dash loses the signal shortly before it executes a program.
        self.play(r"""$ perl -e '$| = 1; print "b\na\n"; sleep'""", 'a', 'b', '^C', '$ echo c', 'c')
        self.refuses('$ echo a; sleep infinity', 'b', '^C', patience=1)
        self.refuses('$ echo a', 'a', '^C')

    def test_background(self):
        self.play('$ (sleep 0.1; echo a) &', 'a', '$ echo b', 'b')
        self.refuses('$ (sleep 0.1; echo a) &', 'b', patience=1)

    def test_shell_in_a_shell(self):
        self.play('$ bash --norc', '$ echo $((SHLVL > 1))', '1', '$ exit', '$ echo back', 'back')


if __name__ == '__main__':
    unittest.main()
