#!/usr/bin/env python3
"""Checks the site: check_site.py DIRECTORY PAGE.md...

Every link of a page leads to a file of the site, and to a place in it. Every piece of code of the
guides is there as it was written, since much in it looks like markup.
"""

import html.parser
import os
import re
import sys
import urllib.parse

from page_filter import CODE_SPAN, FENCE, label_of


class Page(html.parser.HTMLParser):
    """What a page links to, what can be linked to in it, and what it says."""

    def __init__(self, path):
        super().__init__()
        self.links, self.names, self.text = [], set(), []
        with open(path, encoding="utf-8") as file:
            self.feed(file.read())

    def handle_starttag(self, tag, attributes):
        for name, value in attributes:
            if name in ("href", "src", "data") and value is not None:
                self.links.append(value)
            elif name in ("id", "name"):
                self.names.add(value)
        if tag == "div":
            self.text.append("\n")  # a line of a block of code

    def handle_data(self, data):
        self.text.append(data)

    def words(self):
        return one_line("".join(self.text))


def one_line(text):
    return " ".join(text.replace("\u00a0", " ").split())


def code_of(page):
    """The code spans and the lines of the code blocks of a guide."""
    in_code, prose = False, []
    with open(page, encoding="utf-8") as file:
        for line in file.read().split("\n"):
            if FENCE.match(line):
                in_code = not in_code
            elif in_code or line.startswith("    "):
                yield line
            else:
                prose.append(line)
    yield from CODE_SPAN.findall("\n".join(prose))


def broken_links(directory, pages):
    for name, page in sorted(pages.items()):
        for link in page.links:
            url = urllib.parse.urlsplit(link)
            if url.scheme in ("http", "https", "javascript"):
                continue
            target = urllib.parse.unquote(url.path) or name
            if url.scheme or not os.path.isfile(os.path.join(directory, target)):
                yield f"{name}: no {link}"
            elif url.fragment and target in pages and url.fragment not in pages[target].names:
                yield f"{name}: no place {link}"


def missing_code(pages, guides):
    for guide in guides:
        name = f"{label_of(guide)}.html"
        if name not in pages:
            yield f"{guide}: no {name}"
            continue
        words = pages[name].words()
        for code in code_of(guide):
            if one_line(code) not in words:
                yield f"{name}: not as written: {code}"


def main(directory, guides):
    files = [name for name in os.listdir(directory) if name.endswith(".html")]
    pages = {name: Page(os.path.join(directory, name)) for name in files}
    links = sum(len(page.links) for page in pages.values())
    found = [*broken_links(directory, pages), *missing_code(pages, guides)]
    for problem in found:
        print(problem, file=sys.stderr)
    print(f"{len(pages)} pages, {links} links, {len(found)} problems")
    return 1 if found or not pages else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1], sys.argv[2:]))
