#!/usr/bin/env python3
"""What stands between the sources and the site that tools/docs makes of them: pages and headers stay as they read best
by themselves, and get here what links them.

Usage: tools/site.py FILE         prints the page, the header or the groups as doxygen is to read them
       tools/site.py pages        prints which pages the site has
       tools/site.py index TAGS   prints what the search finds: the sections of all pages, and the names in the tag file
"""
import collections
import functools
import json
import posixpath
import re
import sys
from pathlib import Path
from xml.etree import ElementTree

from pages import FENCED, INDENTED, QUOTED, all_pages, blank, headings, links
from texts import ROOT, files

HEADERS = ROOT / "include/foundation/crypto"
PROVIDER = HEADERS / "interfaces/ICryptoProvider.h"
GROUPS = ROOT / "docs/site/groups.dox"
EXAMPLES = sorted((ROOT / "examples").glob("*.cpp"))

# What stands on the site for a folder of the repository.
FOLDERS = {"examples": '<a href="examples.html">{}</a>',
           "include/foundation/crypto/interfaces": "@link foundation::crypto::interfaces {}@endlink"}


def is_on_site(path):
    """All pages are but those of the tests' data."""
    return not path.startswith("tests/")


def label(path, anchor=""):
    """The name on the site of a page, which is also its file's, or of a section: docs/aes.md is aes."""
    page = re.sub(r"^docs/", "", path[:-len(".md")])
    names = {"README": "guides" if path.startswith("docs/") else "index", "CHANGELOG": "about-changelog",
             "CONTRIBUTING": "about-contributing", "SECURITY": "about-security"}
    page = names.get(page, page.replace("/", "-").lower())
    return f"{page}-{anchor}" if anchor else page


def without_comments(header):
    return blank(header.read_text(), r"//[^\n]*")


@functools.lru_cache(maxsize=None)
def families():
    """The provider's operations by family, as the patterns of the groups share them out: each belongs to one."""
    names = list(dict.fromkeys(re.findall(r"\b(\w+)\([^;{}]*\) const = 0;", without_comments(PROVIDER))))
    patterns = re.findall(r"@defgroup (\S+)(?:(?!@defgroup).)*?@operations (\S+)", GROUPS.read_text(), flags=re.S)
    shared = {family: [name for name in names if re.fullmatch(pattern, name)] for family, pattern in patterns}
    if sorted(names) != sorted(name for members in shared.values() for name in members):
        raise SystemExit(f"{GROUPS}: some operation belongs to no family, or to two")
    return shared


@functools.lru_cache(maxsize=None)
def meanings():
    """What a name in a page means, where it can mean one thing: a type, or an operation that one interface has."""
    found = collections.defaultdict(set)
    for path in files(HEADERS, ".h"):
        text, scope = without_comments(path), f"foundation::crypto::{path.parent.name}"
        types = r"^(?:template <.*> )?(?:enum )?(?:class (?:ZRFL_EXPORT )?|using (?=\w+ = ))(\w+)\b(?!;)"
        for name in re.findall(types, text, flags=re.M):
            found[name].add(f"{scope}::{name}")
        for owner, body in re.findall(r"^(?:template <.*> )?class (I[A-Z]\w+) \{(.*?)^\};", text, flags=re.M | re.S):
            for name in re.findall(r"\b(\w+)\([^;{}]*\)(?: const)? = 0;", body):
                found[name].add(f"{scope}::{owner}::{name}")
    return {name: next(iter(places)) for name, places in found.items() if len(places) == 1}


def replaced(text, changes):
    """The text with each (start, end, by what) of the changes made."""
    for start, end, by in sorted(changes, reverse=True):
        text = text[:start] + by + text[end:]
    return text


def linked(path, text, link, seen):
    """A link of a page as the site has it. One that leads nowhere there stays unresolved, which doxygen refuses. The
    first link from the README or from the list of guides to a page that it lists puts that page beneath it in the tree."""
    file, _, anchor = link.target.partition("#")
    if ":" in file:
        return None
    if link.picture:  # tools/docs puts them beside the pages; doxygen knows no choice of sources
        is_source = text.startswith("<source", link.start)
        return "" if is_source else f'<img src="{posixpath.basename(file)}" alt="{link.text}">'
    target = posixpath.normpath(posixpath.join(posixpath.dirname(path), file)) if file else path
    if target in FOLDERS:
        return FOLDERS[target].format(link.text)
    listed_by = "README.md" if "/" not in target or target == "docs/README.md" else "docs/README.md"
    if path == listed_by and target not in seen and not anchor:
        seen.add(target)
        return f'@subpage {label(target)} "{link.text}"'
    if target.endswith((".svg", ".png")):
        return f'<a href="{posixpath.basename(target)}">{link.text}</a>'
    return f"@link {label(target, anchor)} {link.text}@endlink"


def example_page(name):
    return name.replace(".", "_8") + "-example.html"


def page(path, text):
    """A page with the names of its sections, its links, and links from what it names to the reference."""
    listing = path in ("README.md", "docs/README.md")  # in the tree, sections would stand among the pages beneath them
    changes, taken, seen = [], [], {path}
    for number, heading in enumerate(headings(text)):
        taken.append((heading.start, heading.end))
        name = label(path, heading.anchor if number else "")
        if number == 0:
            below = "" if listing else "\n\n[TOC]"
            if f"reference-{name}" in families():
                below += f"\n\nReference: @ref reference-{name}"
            changes.append((heading.end, heading.end, f" {{#{'mainpage' if name == 'index' else name}}}{below}"))
        elif listing:
            changes.append((heading.start, heading.end, f"@anchor {name}\n<h1>{heading.text}</h1>"))
        else:
            changes.append((heading.end, heading.end, f" {{#{name}}}"))
    for link in links(text):
        by = linked(path, text, link, seen)
        if by is not None:
            taken.append((link.start, link.end))
            changes.append((link.start, link.end, by))
    prose = blank(text, FENCED, INDENTED)
    changes += [(tag.start(), tag.end(), "") for tag in re.finditer(r"</?picture>", blank(prose, QUOTED))]
    for code in re.finditer(QUOTED, prose):
        # A plain word such as `update` may be anybody's.
        name = re.fullmatch(r"(?:P\.|\w+::)*(\w*[A-Z]\w*|\w+(?=\())(?:\(.*)?", code[0][1:-1], flags=re.S)
        example = re.fullmatch(r"examples/(\w+\.cpp)", code[0][1:-1])
        target = example[1] if example else name and meanings().get(name[1])
        if target and not any(start <= code.start() < end for start, end in taken):
            if example:
                changes.append((code.start(), code.end(), f'<a href="{example_page(target)}">{code[0]}</a>'))
            else:
                changes.append((code.start(), code.end(), f"@link {target} {code[0]}@endlink"))
    for strong in re.finditer(r"\*\*[^*]+\*\*", blank(prose, QUOTED)):  # doxygen's own stops at a link
        changes += [(strong.start(), strong.start() + 2, "<b>"), (strong.end() - 2, strong.end(), "</b>")]
    return replaced(text, changes)


def provider(text):
    """The provider's header with its sections as groups of operations, and a link to the guide from each operation."""
    guides = {name: family[len("reference-"):] for family, names in families().items() for name in names}
    text = re.sub(r"\n\n    // ---- (.*)\n\n", "\n    /** @} */\n    /** @name \\1\n     @{ */\n", text)
    text = text.replace("/** @} */\n", "\n", 1).replace("\n};", "/** @} */ };")

    def guide(match):
        return f"    /// @par Guide\n    /// @ref {guides[match[1]]}\n" if match[1] in guides else ""

    return re.sub(r"(?=^    virtual [^;]*?\b(\w+)\()", guide, text, flags=re.M)


def groups(text):
    """The groups with the operations of each family, and a page for each example."""
    families_in_order = iter(families().items())

    def operations(_):
        family, names = next(families_in_order)
        scope = "foundation::crypto::interfaces::ICryptoProvider"
        return (f"Guide: @ref {family[len('reference-'):]}\n///\n/// Operations of the provider:\n///\n" +
                "\n".join(f"/// - @link {scope}::{name} `{name}`@endlink" for name in names))

    text = re.sub(r"@operations \S+", operations, text)
    examples = []
    for path in EXAMPLES:
        first = re.match(r"// (.*?[.:])\n", path.read_text().replace("\n// ", " ") + "\n", flags=re.S)
        examples.append(f"/// @example {path.name}\n/// @details {first[1]}\n")
    return text + "\n".join(examples)


def paragraphs(text):
    """What a reader sees of a piece of a page: its paragraphs, items and rows, each in one line."""
    text = re.sub(r"^(```\w*|[|:-]+)$", "", text, flags=re.M)
    text = re.sub(r"!?\[([^]]*)\]\([^)\s]+\)", r"\1", text).replace("`", "").replace("**", "")
    for piece in re.split(r"\n\s*\n|\n(?=\||[-*] |\d+\. )", text):
        line = " ".join(re.sub(r"^(\||[-*] |\d+\. )|\|$", "", piece.strip()).split())
        if line:
            yield line


def index(tags):
    """What can be found: an address, a title, where it stands, and the lines that are looked through."""
    for path, text in sorted(all_pages().items(), key=lambda item: not item[0].startswith("docs/")):  # guides first
        if not is_on_site(path):
            continue
        parts = list(headings(text))
        ends = [part.start for part in parts[1:]] + [len(text)]
        for number, (part, end) in enumerate(zip(parts, ends)):
            address = label(path) + ".html" + (f"#{label(path, part.anchor)}" if number else "")
            yield address, part.text.replace("`", ""), parts[0].text if number else "", list(paragraphs(text[part.end:end]))
    for compound in ElementTree.parse(tags).getroot():
        kind, name = compound.get("kind"), (compound.findtext("title") or compound.findtext("name")).rpartition("::")[2]
        if kind in ("class", "group"):
            yield compound.findtext("filename"), name, "reference", []
            known = set()
            for member in compound.findall("member"):
                address = f"{member.findtext('anchorfile')}#{member.findtext('anchor')}"
                if address not in known:  # those of a section of a class stand there twice
                    known.add(address)
                    yield address, member.findtext("name"), name, [member.findtext("arglist") or ""]


def main():
    if sys.argv[1] == "pages":
        print(*filter(is_on_site, all_pages()))
        return
    if sys.argv[1] == "index":
        print("const everything =", json.dumps(list(index(sys.argv[2])), ensure_ascii=False, indent=0), end=";\n")
        return
    path = Path(sys.argv[1]).resolve()
    text = path.read_text()
    if path == PROVIDER:
        text = provider(text)
    elif path.name == "CryptoProvider.h":
        text = re.sub(r"^    (?:ByteArray|interfaces::)[^;]* override;\n", "", text, flags=re.M)
    elif path == GROUPS:
        text = groups(text)
    elif path.suffix == ".md":
        text = page(path.relative_to(ROOT).as_posix(), text)
    sys.stdout.write(text)


if __name__ == "__main__":
    main()
