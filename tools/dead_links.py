#!/usr/bin/env python3
"""Looks through a folder of HTML pages for links, in pages and in the data of tree and search, that lead to no file or
to no anchor of one, and for marks of Markdown or doxygen that a reader sees raw.

Usage: tools/dead_links.py FOLDER
"""
import posixpath
import re
import sys
from html.parser import HTMLParser
from pathlib import Path
from urllib.parse import unquote

RAW_MARKS = re.compile(r"\*\*|\]\(|\{#|[@\\](?:link|endlink|ref|subpage|anchor)\b|```")


class Page(HTMLParser):
    """What a page links to, what it can be linked by, and its prose."""

    def __init__(self, path):
        super().__init__()
        self.targets, self.anchors, self.prose, self.code = set(), set(), [], []
        self.feed(path.read_text())

    def handle_starttag(self, tag, attributes):
        given = dict(attributes)
        self.targets |= {given[name] for name in ("href", "src", "data") if given.get(name)}
        self.anchors |= {given[name] for name in ("id", "name") if given.get(name)}
        if tag in ("code", "pre", "script", "style") or given.get("class") in ("fragment", "line"):
            self.code.append(tag)

    def handle_endtag(self, tag):
        if self.code and self.code[-1] == tag:
            self.code.pop()

    def handle_data(self, data):
        if not self.code:
            self.prose.append(data)


def main():
    folder = Path(sys.argv[1])
    pages = {path.relative_to(folder).as_posix(): Page(path) for path in folder.rglob("*.html")}
    found, count = [], 0
    links = [(name, target) for name, page in pages.items() for target in page.targets]
    places = set(folder.glob("navtreeindex*.js"))  # where in the tree each page is
    for path in set(folder.rglob("*.js")) - places:
        links += [(path.relative_to(folder).as_posix(), target)
                  for target in re.findall(r"""["']((?:\.\./)?[\w-]+\.html(?:#[\w-]*)?)["']""", path.read_text())]
    for name, target in links:
        file, _, anchor = target.partition("#")
        if re.match(r"[a-z]+:", target) or "^" in target:
            continue
        count += 1
        path = posixpath.normpath(posixpath.join(posixpath.dirname(name), unquote(file))) if file else name
        if not (folder / path).exists() or anchor and path in pages and unquote(anchor) not in pages[path].anchors:
            found.append(f"{name}: {target}")
    for name, page in pages.items():
        found += [f"{name}: {mark[0]} is seen" for mark in RAW_MARKS.finditer("".join(page.prose))]
    print(*sorted(set(found)), f"{len(pages)} pages, {count} links, {len(set(found))} faults", sep="\n")
    return 1 if found or not count else 0


if __name__ == "__main__":
    sys.exit(main())
