"""The texts that stand in the sources: what the checks beside this file compare pages and tests with."""
import collections
import re
from pathlib import Path

ROOT = Path(__file__).resolve().parent.parent
SOURCES = ROOT / "src"

LITERAL = re.compile(r'"((?:[^"\\]|\\.)*)"')

# A text as a regular expression, and where its first literal stands.
Text = collections.namedtuple("Text", "pattern path line")


def files(folder, *endings):
    return sorted(path for path in folder.rglob("*") if path.suffix in endings)


def lines(path):
    """The lines of a C++ file with their numbers, comments blanked."""
    text = re.sub(r"//[^\n]*|/\*.*?\*/", lambda comment: re.sub(r"[^\n]", "", comment[0]), path.read_text(), flags=re.S)
    return enumerate(text.splitlines(), start=1)


def texts_of_sources(sources=SOURCES):
    """The texts of the sources: what stands between two literals of a sum is any text."""
    for path in files(sources, ".h", ".cpp"):
        code = "\n".join("" if line.lstrip().startswith("#") else line for _, line in lines(path))
        start = 0
        for statement in re.split(r"([;{}]\s*\n)", code):
            text, end = None, 0
            for literal in LITERAL.finditer(statement):
                pattern = re.escape(literal[1].replace('\\"', '"'))
                between = statement[end:literal.start()]
                end = literal.end()
                if text is None or "," in re.sub(r"\([^()]*\)", "", between):  # another argument, another text
                    if text is not None:
                        yield text
                    text = Text(pattern, path, code.count("\n", 0, start + literal.start()) + 1)
                else:
                    text = text._replace(pattern=text.pattern + (".+" if between.strip() else "") + pattern)
            if text is not None:
                yield text
            start += len(statement)
