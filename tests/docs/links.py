# SPDX-License-Identifier: MIT
"""The links of Markdown and HTML pages in a directory."""

import html.parser
import os
import re
import sys
import urllib.parse

sys.path.insert(0, os.path.dirname(os.path.realpath(__file__)) + '/../../docs')

import doxygen_filter

# A picture or a link of Markdown, and a link of the manual's menu.
MARKDOWN = re.compile(r'\[[^]]*\]\(([^)\s]+)\)')
MENU = re.compile(r'\burl:"([^"]*)"')


class _Page(html.parser.HTMLParser):
    def __init__(self, text):
        super().__init__()
        self.links = []
        self.anchors = set()
        self.feed(text)

    def handle_starttag(self, tag, attrs):
        for name, value in attrs:
            if name in ('href', 'src') or (tag, name) == ('object', 'data'):
                self.links.append(value)
            elif name == 'id' or (tag, name) == ('a', 'name'):
                self.anchors.add(value)


def links_and_anchors(path):
    """The links of a page, and the places in it to which a page can link."""
    with open(path, encoding='utf-8') as file:
        text = file.read()
    if path.endswith('.html'):
        page = _Page(text)
        return page.links, page.anchors
    if path.endswith('.js'):
        return MENU.findall(text), set()
    text = re.sub(r'^```.*?^```$', '', text, flags=re.M | re.S)
    anchor = doxygen_filter.anchors()
    anchors = {anchor(heading) for heading in re.findall(r'^#+ (.*)$', text, re.M)}
    return MARKDOWN.findall(text), anchors


def dead_links(directory):
    """The links to missing files, to missing places in files, or out of the directory; and the
    number of links within it."""
    directory = os.path.realpath(directory)
    pages = {}
    for folder, _, names in os.walk(directory):
        for name in names:
            if name.endswith(('.md', '.html')) or name == 'menudata.js':
                path = os.path.join(folder, name)
                pages[path] = links_and_anchors(path)

    dead = []
    count = 0
    for page, (links, _) in sorted(pages.items()):
        for link in links:
            if re.match(r'[a-z]+:', link) and not link.startswith('file:') or not link:
                continue
            count += 1
            path, _, anchor = urllib.parse.unquote(link).partition('#')
            target = os.path.normpath(os.path.join(os.path.dirname(page), path)) if path else page
            if not target.startswith(directory + '/') or not os.path.exists(target) \
                    or anchor and anchor not in pages.get(target, ([], set()))[1]:
                dead.append(f'{os.path.relpath(page, directory)}: {link}')
    return dead, count
