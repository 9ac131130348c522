"""The Markdown pages of the repository: their headings, the anchors by which viewers know these, and their links."""
import collections
import re
import subprocess

from texts import ROOT

# A heading: its level, its text, and the anchor that a viewer gives it.
Heading = collections.namedtuple("Heading", "level text anchor start end")
# A link or a picture: its text, what it leads to, and where it stands in the page.
Link = collections.namedtuple("Link", "picture text target start end")

FENCED = r"^```.*?^```\s*?$"
INDENTED = r"(?<=\n\n)(?:    [^\n]*\n|\n(?=    ))+"
QUOTED = r"`[^`]+`"


def all_pages():
    """Every page by its path, which is relative to the repository."""
    listed = subprocess.run(["git", "ls-files", "-z", "--cached", "--others", "--exclude-standard", "*.md"],
                            cwd=ROOT, capture_output=True, text=True, check=True).stdout.split("\0")
    return {path: (ROOT / path).read_text() for path in listed if (ROOT / path).is_file()}


def blank(text, *patterns):
    """The text with what fits one of the patterns blanked, so that all else stays where it is."""
    return re.sub("|".join(patterns), lambda code: re.sub(r"[^\n]", " ", code[0]), text, flags=re.M | re.S)


def headings(text):
    seen = collections.Counter()
    for match in re.finditer(r"^(#+) +(.+?) *$", blank(text, FENCED, INDENTED), flags=re.M):
        title = text[match.start(2):match.end(2)]
        anchor = re.sub(r"[^\w\- ]", "", re.sub(r"\[([^]]*)\]\([^)]*\)", r"\1", title).lower()).replace(" ", "-")
        seen[anchor] += 1
        if seen[anchor] > 1:
            anchor += f"-{seen[anchor] - 1}"
        yield Heading(len(match[1]), title, anchor, match.start(), match.end())


def links(text):
    prose = blank(text, FENCED, INDENTED, QUOTED)
    for match in re.finditer(r"(!?)\[([^]]*)\]\(([^)\s]+)\)", prose):
        yield Link(bool(match[1]), text[match.start(2):match.end(2)], match[3], match.start(), match.end())
    for match in re.finditer(r"<(?:img|source)\b[^>]*?\bsrc(?:set)?=\"([^\"]+)\"[^>]*>", prose):
        alternative = re.search(r"\balt=\"([^\"]*)\"", match[0])
        yield Link(True, alternative[1] if alternative else "", match[1], match.start(), match.end())
