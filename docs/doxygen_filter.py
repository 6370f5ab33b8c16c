#!/usr/bin/python3
# SPDX-License-Identifier: MIT
"""doxygen_filter.py PAGE: prints a Markdown page of docs/ as Doxygen 1.9 needs it.

The pages are written for any reader of Markdown: their links are relative paths, and their anchors
are those that a forge gives to headings. Doxygen needs a label at each heading, and links to labels.
The manual is installed in html/ beside docs/ and examples/, so a link to another file starts there.
"""

import os
import re
import sys

SOURCE = os.path.realpath(os.path.dirname(__file__) + '/..')

# The pages that CMakeLists.txt makes from the descriptions of the interfaces.
MADE_PAGES = {
    'interfaces/local.IHNIPCIOEXPD.xml': 'dbus_ioexpd',
    'interfaces/local.IHNIPCM4.xml': 'dbus_m4',
    'interfaces/local.IHNIPCSUPPLYD.xml': 'dbus_supplyd',
    'interfaces/org.hnipc.Simulator.xml': 'dbus_simulator',
}
DOXYGEN_LANGUAGES = {'python': 'py'}


def anchors():
    """A function that returns a forge's anchor for each heading of one page in turn."""
    used = {}

    def anchor(heading):
        text = re.sub(r'\[([^]]*)\]\([^)]*\)', r'\1', heading)
        slug = re.sub(r'[^\w\- ]', '', text.strip().lower()).replace(' ', '-')
        count = used.get(slug, 0)
        used[slug] = count + 1
        return f'{slug}-{count}' if count else slug

    return anchor


def label(page, anchor=''):
    stem = os.path.splitext(os.path.basename(page))[0]
    return f'{stem}_{anchor}' if anchor else stem


def link(page, text, target):
    if re.match(r'[a-z]+:', target):
        return f'[{text}]({target})'
    path, _, anchor = target.partition('#')
    path = os.path.relpath(os.path.join(os.path.dirname(page), path), SOURCE) if path else ''
    if not path or (path.startswith('docs/') and path.endswith('.md')):
        return f'[{text}](@ref {label(path or page, anchor)})'
    if path in MADE_PAGES:
        return f'[{text}](@ref {MADE_PAGES[path]})'
    return f'<a href="../{path}">{text}</a>'


def of_heading(page, anchor, match):
    level, text = match.groups()
    slug = anchor(text)
    if level == '#':
        name = 'mainpage' if label(page) == 'index' else label(page)
    else:
        name = label(page, slug)
    return f'{level} {text} {{#{name}}}'


def filtered(page, text):
    anchor = anchors()
    result = ''
    for part in re.split(r'^(```.*?^```$)', text, flags=re.M | re.S):
        if part.startswith('```'):
            language = part[3:part.index('\n')]
            part = '```' + DOXYGEN_LANGUAGES.get(language, language) + part[3 + len(language):]
        else:
            part = re.sub(r'^<!--.*?-->$', '', part, flags=re.M)
            part = re.sub(r'^(#+) (.*)$', lambda match: of_heading(page, anchor, match), part,
                          flags=re.M)
            part = re.sub(r'(?<!!)\[([^]]+)\]\(([^)\s]+)\)',
                          lambda match: link(page, *match.groups()), part)
        result += part
    return result


def main():
    page = os.path.realpath(sys.argv[1])
    with open(page, encoding='utf-8') as file:
        text = file.read()
    if page.startswith(SOURCE + '/docs/'):
        text = filtered(page, text)
    sys.stdout.write(text)


if __name__ == '__main__':
    main()
