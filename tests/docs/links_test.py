#!/usr/bin/python3
# SPDX-License-Identifier: MIT
"""links_test.py BUILD MANUAL: checks that the installed documentation has no dead links, and that a
dead link is noticed. MANUAL is 1 if this build has the manual, and 0 if not."""

import os
import subprocess
import sys
import tempfile
import unittest

sys.dont_write_bytecode = True

import links

BUILD = ''
MANUAL = False


class Installed(unittest.TestCase):
    maxDiff = None

    def test_links(self):
        with tempfile.TemporaryDirectory() as prefix:
            subprocess.run(['cmake', '--install', BUILD, '--prefix', prefix, '--component',
                            'documentation'], check=True, stdout=subprocess.DEVNULL)
            directory = f'{prefix}/share/doc/hnipc'
            for page in ('README.md', 'docs/index.md', 'docs/guides/application.md'):
                self.assertTrue(os.path.exists(f'{directory}/{page}'), page)
            self.assertEqual(os.path.exists(f'{directory}/html/index.html'), MANUAL)
            dead, count = links.dead_links(directory)
            self.assertEqual(dead, [])
            self.assertGreater(count, 0)


class DeadLinks(unittest.TestCase):
    def dead(self, **pages):
        with tempfile.TemporaryDirectory() as directory:
            for name, text in pages.items():
                path = f'{directory}/doc/' + name.replace('__', '/').replace('_', '.')
                os.makedirs(os.path.dirname(path), exist_ok=True)
                with open(path, 'w', encoding='utf-8') as file:
                    file.write(text)
            open(f'{directory}/outside', 'w').close()
            return links.dead_links(f'{directory}/doc')

    def test_markdown(self):
        page = '# A b\n\n## The `C++` part\n\n## A b\n\n[x](%s)\n![y](a.png)\n'
        for link in ('sub/other.md', '#a-b', '#a-b-1', '#the-c-part', 'sub/other.md#x', 'sub/',
                     'https://example.org/a'):
            self.assertEqual(self.dead(a_md=page % link, a_png='', sub__other_md='# X\n')[0], [],
                             link)
        for link in ('none.md', '#c', '#a-b-2', 'sub/other.md#a-b', '../outside', '/outside',
                     'a.png#x', 'file:///outside'):
            self.assertEqual(self.dead(a_md=page % link, a_png='', sub__other_md='# X\n')[0],
                             [f'a.md: {link}'], link)
        self.assertEqual(self.dead(a_md=page % '#a-b')[0], ['a.md: a.png'])

    def test_code_has_no_links(self):
        self.assertEqual(self.dead(a_md='```cpp\n# A\na[0](b)\n```\n'), ([], 0))
        self.assertEqual(self.dead(a_md='```cpp\n# A\n```\n\n[x](#a)\n'), (['a.md: #a'], 1))

    def test_html(self):
        page = '<h1 id="a">A</h1><a name="b"></a><a href="%s">x</a>'
        for link in ('#a', '#b', 'b.html#c', 'b.html', 'javascript:void(0)'):
            self.assertEqual(self.dead(a_html=page % link, b_html='<p id="c">')[0], [], link)
        for link in ('#c', 'b.html#a', 'c.html', '../outside'):
            self.assertEqual(self.dead(a_html=page % link, b_html='<p id="c">')[0],
                             [f'a.html: {link}'], link)
        self.assertEqual(self.dead(a_html='<img src="a.png"><object data="b.svg"></object>')[0],
                         ['a.html: a.png', 'a.html: b.svg'])

    def test_menu(self):
        self.assertEqual(self.dead(menudata_js='{text:"A",url:"a.html"},{text:"B",url:"b.html"}',
                                   a_html=''), (['menudata.js: b.html'], 2))


if __name__ == '__main__':
    BUILD = os.path.realpath(sys.argv.pop(1))
    MANUAL = sys.argv.pop(1) == '1'
    unittest.main()
