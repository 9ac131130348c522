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


# Literals of several words that are no text of an exception: PEM's marks, and a name within texts.
OTHERS = {"-----BEGIN ", "-----END ", "unknown curve"}

# A text of one word shows by where it stands.
ONE_WORD = re.compile(r'\b(?:throw [\w:]+\(|require(?:Explained)?(?:<[\w:]+>)?\(.*, )"[^" ]+"\);')

# Texts that stand behind others, and behind foreign ones.
APPENDED = {"No OpenSSL errors.", ";Size = "}


def plain(pattern):
    return re.sub(r"\\(.)", r"\1", pattern)


def place(path, line, clone):
    return f"{path.relative_to(clone)}:{line}"


def texts_of_exceptions(clone):
    """The places of each such text of the sources, by its pattern."""
    owners = re.findall(r'\bname = "(\w+)"', (clone / "src/openssl/common/Handles.h").read_text())
    places = collections.defaultdict(list)
    for text in texts_of_sources(clone / "src"):
        words = plain(text.pattern)
        line = text.path.read_text().splitlines()[text.line - 1]
        if not (" " in words or ONE_WORD.search(line)) or words in OTHERS or "static_assert" in line:
            continue
        pattern = (".+" if words in APPENDED else "") + text.pattern
        if words[-1] in " =":
            pattern += ".*"  # a name, a number or libcrypto's errors follow
        # An owner refuses null under its own name.
        for name in owners if words.startswith("Fail to create ") else [".+"]:
            places[pattern.replace(".+", name)].append(place(text.path, text.line, clone))
    return places
