#!/usr/bin/env python3
"""Makes docs/performance/ of what the benchmarks measured: trimmed results, one page of tables, and pictures.

Usage: bench/report.py [FOLDER]    takes new results from FOLDER (SECTION.json), keeps the others, and draws all anew
"""
import json
import math
import pathlib
import re
import sys

import matplotlib

matplotlib.use("svg")
import matplotlib.pyplot as plt
from matplotlib.ticker import FixedLocator, NullFormatter, NullLocator

ROOT = pathlib.Path(__file__).resolve().parent.parent
PAGES = ROOT / "docs/performance"

# Colours and greys that can be read on white and on black.
INK = "#808080"
FAINT = "#80808040"
WAYS = {
    "library": ("#2f81f7", "o"),
    "same calls": ("#8b949e", "x"),
    "best": ("#2da44e", "^"),
    "Botan": ("#d4860b", "s"),
    "Crypto++": ("#a371f7", "D"),
    "libsodium": ("#e5534b", "v"),
}
LABELS = {"library": "zrflcrypto", "same calls": "same libcrypto calls by hand", "best": "libcrypto at its best"}

# The pictures: what is drawn how, in the order of the page.
SECTIONS = {
    "digests": "Digests",
    "hmac": "HMAC",
    "blake2b": "BLAKE2b",
    "aes": "AES",
    "rsa": "RSA",
    "rsa-keys": "RSA keys generated",
    "ecc": "Elliptic curves",
    "pbkdf2": "PBKDF2",
    "random": "Random bytes",
    "objects": "Objects made and destroyed",
    "hsm": "HSM",
    "streams": "Whole files through streams",
    "threads": "Threads, OpenSSL 3.5",
    "threads-forky": "Threads, OpenSSL 3.6",
    "threads-experimental": "Threads, OpenSSL 4.0",
    "growth": "Growth",
}

plt.rcParams.update({
    "svg.fonttype": "none", "svg.hashsalt": "zrflcrypto", "font.family": "sans-serif", "font.sans-serif": ["DejaVu Sans"],
    "font.size": 8, "text.color": INK, "axes.labelcolor": INK, "axes.edgecolor": FAINT, "xtick.color": INK,
    "ytick.color": INK, "axes.titlesize": 9, "axes.titlecolor": INK, "legend.frameon": False, "lines.markersize": 4,
    "lines.linewidth": 1.2, "axes.grid": True, "grid.color": INK, "grid.alpha": 0.25, "grid.linewidth": 0.6, "xtick.major.size": 0,
    "ytick.major.size": 0,
})


# Results

def machine():
    model = re.search(r"^model name\s*: (.*)$", pathlib.Path("/proc/cpuinfo").read_text(), re.M)
    return model[1].strip() if model else "unknown processor"


def short(number):
    """Four digits: more is noise."""
    return float(f"{number:.4g}")


def trim(raw):
    """What the page needs of Google Benchmark's file; not the machine's name, nor where the program lay."""
    given = raw["context"]
    context = {"date": given.get("date", "")[:10], "machine": machine(), "num_cpus": given.get("num_cpus")}
    context.update({name: given[name] for name in ("OpenSSL", "Botan", "Crypto++", "libsodium") if name in given})
    benchmarks = []
    for entry in raw["benchmarks"]:
        name = entry["name"]
        kept = {"name": name}
        if name.startswith("threads/"):
            kept["threads"] = entry["threads"]
            kept["real_time"] = short(entry["real_time"])
        elif "peak_bytes" in entry:
            kept["cpu_time"] = short(entry["cpu_time"])
            kept["peak_bytes"] = entry["peak_bytes"]
        else:
            kept["cpu_time"] = short(entry["cpu_time"])
        kept["time_unit"] = entry["time_unit"]
        benchmarks.append(kept)
    benchmarks.sort(key=lambda entry: natural(entry["name"]) + [entry.get("threads", 1)])
    return context, benchmarks


def natural(name):
    return [(int(part), "") if part.isdigit() else (0, part) for part in re.split(r"(\d+)", name)]


def write_results(path, context, benchmarks):
    """As JSON with a line for each measurement, so that a difference can be read."""
    lines = ",\n".join("    " + json.dumps(entry) for entry in benchmarks)
    path.write_text(f'{{\n  "context": {json.dumps(context)},\n  "benchmarks": [\n{lines}\n  ]\n}}\n')


class Section:
    def __init__(self, path):
        data = json.loads(path.read_text())
        self.context = data["context"]
        self.entries = data["benchmarks"]
        self.cases = {}  # name: {way: nanoseconds}
        for entry in self.entries:
            if "cpu_time" in entry and "peak_bytes" not in entry:
                name, way = entry["name"].rsplit("/", 1)
                self.cases.setdefault(name, {})[way] = entry["cpu_time"]

    def made_of(self):
        """Which machine, versions and day, for the foot of a picture."""
        versions = [f"{name} {self.context[name]}" for name in ("OpenSSL", "Botan", "Crypto++", "libsodium")
                    if self.context.get(name, "absent") != "absent"]
        absent = [name for name in ("Botan", "Crypto++", "libsodium") if self.context.get(name) == "absent"]
        parts = [f"{self.context['machine']}, {self.context['num_cpus']} cores, virtual", ", ".join(versions),
                 f"absent: {', '.join(absent)}" if absent else "", self.context["date"]]
        return " · ".join(part for part in parts if part)


# Pictures

def time_text(nanoseconds):
    for unit, factor in (("ns", 1), ("µs", 1e3), ("ms", 1e6), ("s", 1e9)):
        if nanoseconds < 1000 * factor or unit == "s":
            return f"{nanoseconds / factor:.3g} {unit}"
    return ""


def size_text(size):
    for unit, factor in (("B", 1), ("KiB", 1 << 10), ("MiB", 1 << 20), ("GiB", 1 << 30)):
        if size < 1024 * factor and size % factor == 0:
            return f"{size // factor} {unit}"
    return f"{size} B"


def factor_text(factor):
    return f"{factor:g}×" if factor >= 1 else f"1/{1 / factor:g}"


def save(figure, section, name, title):
    """Smaller than what comes out of the box: no metadata, no comments, no empty groups' names."""
    inches = figure.get_size_inches()[1]
    figure.text(0.01, 1 - 0.06 / inches, title, fontsize=11, ha="left", va="top", color=INK)
    figure.text(0.01, 0.05 / inches, section.made_of(), fontsize=7, ha="left", va="bottom", color=INK)
    path = PAGES / f"{name}.svg"
    figure.savefig(path, transparent=True, metadata={"Date": None, "Creator": None})
    plt.close(figure)
    svg = path.read_text()
    svg = re.sub(r"<metadata>.*?</metadata>|<!--.*?-->|<\?xml.*?\?>\n|<!DOCTYPE.*?>\n", "", svg, flags=re.S)
    svg = re.sub(r' id="(?!p|m|[A-Z]|D)[a-z]+[^"]*_\d+"', "", svg)
    svg = re.sub(r"<[^>]*>", lambda tag: re.sub(r"(\d\.\d)\d+", r"\1", tag[0]), svg)
    svg = re.sub(r"; stroke-linecap: \w+|; stroke-linejoin: \w+", "", svg)
    svg = re.sub(r"\n\s*", "\n", svg)
    svg = re.sub(r"<g>\n</g>\n", "", svg)
    styles = {}
    svg = re.sub(r'style="([^"]*)"', lambda style: f'class="s{styles.setdefault(style[1], len(styles))}"', svg)
    rules = "".join(f".s{number}{{{style}}}" for style, number in styles.items())
    svg = svg.replace("<defs>", f"<style>{rules}</style>\n<defs>", 1)
    path.write_text(svg)


def ways_of(cases):
    cases = list(cases)
    return [way for way in WAYS if any(way in ways for ways in cases)]


def panels(count, columns, height, top=0.75):
    rows = math.ceil(count / columns)
    inches = rows * height + top + 0.25
    figure, axes = plt.subplots(rows, columns, figsize=(9.6, inches), squeeze=False)
    figure.subplots_adjust(left=0.06, right=0.99, top=1 - top / inches, bottom=0.5 / inches, hspace=0.5, wspace=0.16)
    flat = list(axes.flat)
    for axis in flat[count:]:
        axis.set_visible(False)
    return figure, flat[:count], inches


def place_legend(figure, inches, ways):
    handles = [plt.Line2D([], [], color=WAYS[way][0], marker=WAYS[way][1], linewidth=2.2 if way == "library" else 1.2,
                          label=LABELS.get(way, way)) for way in ways]
    figure.legend(handles=handles, loc="upper left", ncol=len(handles), fontsize=8,
                  bbox_to_anchor=(0, 1 - 0.26 / inches), columnspacing=1.4, handletextpad=0.4)


def draw_speeds(section, name, title, groups, columns):
    """How many times as fast as the library each way is, by size: a panel for each group of cases."""
    figure, axes, inches = panels(len(groups), columns, 1.85)
    ways = ways_of(section.cases.values())
    for axis, (group, title_of_group) in zip(axes, groups):
        rows = sorted((int(case.rsplit("/", 1)[1]), times) for case, times in section.cases.items()
                      if re.fullmatch(re.escape(group) + r"/\d+", case))
        for way in ways:
            points = [(place, times["library"] / times[way]) for place, (_, times) in enumerate(rows) if way in times]
            if points:
                colour, marker = WAYS[way]
                axis.plot(*zip(*points), color=colour, marker=marker, linewidth=2.2 if way == "library" else 1.2,
                          zorder=3 if way == "library" else 2)
        axis.set_yscale("log", base=2)
        low, high = axis.get_ylim()
        low, high = min(low, 0.45), max(high, 2.2)
        axis.set_ylim(low, high)
        steps = [2.0 ** power for power in range(-6, 7) if low <= 2.0 ** power <= high]
        axis.yaxis.set_major_locator(FixedLocator(steps))
        axis.set_yticklabels([factor_text(step) for step in steps])
        axis.yaxis.set_minor_locator(NullLocator())
        axis.set_xticks(range(len(rows)))
        axis.set_xticklabels([f"{size_text(size)}\n{time_text(times['library'])}" for size, times in rows], fontsize=7)
        axis.set_title(title_of_group, loc="left", pad=3)
        for spine in axis.spines.values():
            spine.set_visible(False)
    place_legend(figure, inches, ways)
    save(figure, section, name, title + ": speed as a multiple of zrflcrypto's (higher is faster; below each size: its time)")


def draw_times(section, name, title, cases):
    """A row for each case, and a mark for each way at its time."""
    rows = [(case, section.cases[case]) for case in cases if case in section.cases]
    ways = ways_of(times for _, times in rows)
    inches = 0.21 * len(rows) + 1.25
    figure, axis = plt.subplots(figsize=(9.6, inches))
    figure.subplots_adjust(left=0.27, right=0.985, top=1 - 0.62 / inches, bottom=0.48 / inches)
    for row, (case, times) in enumerate(rows):
        axis.plot([min(times.values()), max(times.values())], [row, row], color=INK, alpha=0.4, linewidth=1.5, zorder=1)
        for way in ways:
            if way in times:
                colour, marker = WAYS[way]
                axis.plot(times[way], row, color=colour, marker=marker, linestyle="", markersize=6 if way == "library" else
                          5, zorder=2 if way == "library" else 3)
    axis.set_xscale("log")
    low, high = axis.get_xlim()
    ticks = [10.0 ** power for power in range(0, 12) if low <= 10.0 ** power <= high]
    axis.xaxis.set_major_locator(FixedLocator(ticks))
    axis.set_xticklabels([time_text(tick) for tick in ticks])
    axis.xaxis.set_minor_locator(NullLocator())
    axis.set_yticks(range(len(rows)))
    axis.set_yticklabels([plain(case) for case, _ in rows])
    axis.set_ylim(len(rows) - 0.5, -0.5)
    for spine in axis.spines.values():
        spine.set_visible(False)
    place_legend(figure, inches, ways)
    save(figure, section, name, title + ": processor time of one call (to the left is faster)")


ORDER = ("key pair", "private key from PEM", "private key from", "public key from", "private key to", "public key to",
         "modulus", "sign", "verify", "encrypt", "decrypt")


def by_work(case):
    """Keys are made, then read, then used; sizes and paddings of one kind of work stand together."""
    place = next((place for place, work in enumerate(ORDER) if work in case), len(ORDER))
    if "file/" in case:
        return [re.sub(r"file/.*", "", case)] + natural(case)
    family = case.split(" ")[0]
    return [family, place] + natural(case)


def plain(case):
    """A case as a reader says it."""
    case = re.sub(r"^object: ", "", case)
    case = re.sub(r" iterations/(\d+)", r", iterations: \1", case)
    case = re.sub(r"/(\d+)$", lambda match: ", " + size_text(int(match[1])), case)
    return case.replace("/", ", ")


def draw_threads(sections):
    """What two threads do in the time of one, in each version, and in which way."""
    kinds = {"own, library": ("zrflcrypto, own objects", "#2f81f7", "o"),
             "shared, library": ("zrflcrypto, shared objects", "#79c0ff", "s"),
             "own, same calls": ("same libcrypto calls", "#8b949e", "x"),
             "own, best": ("libcrypto at its best", "#2da44e", "^")}
    cases = [case for case in thread_cases(sections[0])]
    inches = 0.24 * len(cases) + 1.35
    figure, axes = plt.subplots(1, len(sections), figsize=(9.6, inches), sharey=True, squeeze=False)
    figure.subplots_adjust(left=0.235, right=0.985, top=1 - 0.85 / inches, bottom=0.5 / inches, wspace=0.08)
    for axis, section in zip(axes.flat, sections):
        gains = gains_of(section)
        for row, case in enumerate(cases):
            for kind, (_, colour, marker) in kinds.items():
                times = gains.get((case, kind))
                if times and 1 in times and 2 in times:
                    axis.plot(times[1] / times[2], row, color=colour, marker=marker, linestyle="", markersize=5)
        axis.axvline(1, color=INK, linewidth=1)
        axis.set_xlim(0.85, 2.5)
        axis.set_xticks([1, 1.5, 2])
        axis.set_xticklabels(["1", "1½", "2"])
        axis.set_yticks(range(len(cases)))
        axis.set_yticklabels([plain(case) for case in cases])
        axis.set_ylim(len(cases) - 0.5, -0.5)
        axis.set_title(f"OpenSSL {section.context['OpenSSL']}", loc="left", pad=3)
        for spine in axis.spines.values():
            spine.set_visible(False)
    handles = [plt.Line2D([], [], color=colour, marker=marker, linestyle="", label=label)
               for label, colour, marker in kinds.values()]
    figure.legend(handles=handles, loc="upper left", ncol=4, bbox_to_anchor=(0, 1 - 0.26 / inches), handletextpad=0.2)
    save(figure, sections[0], "threads",
         "Threads: what two do in the time in which one does 1 (2 is all that two cores can give; what is above is noise)")


def gains_of(section):
    """{(case, "own, library"): {threads: nanoseconds}}"""
    gains = {}
    for entry in section.entries:
        case, sharing, way = entry["name"].removeprefix("threads/").rsplit("/", 2)
        gains.setdefault((case, f"{sharing}, {way}"), {})[entry["threads"]] = entry["real_time"]
    return gains


def thread_cases(section):
    order = ["method lookup", "SHA", "HMAC", "BLAKE2b", "AES", "random", "RSA", "P-256", "Ed25519"]
    cases = {case for case, _ in gains_of(section)}
    return sorted(cases, key=lambda case: [next(place for place, start in enumerate(order) if case.startswith(start)),
                                           natural(case)])


GROWTH = {
    "Digests, HMAC, BLAKE2b": ("SHA-256", "HMAC-SHA-256", "BLAKE2b", "BLAKE2b keyed"),
    "AES-256": ("AES-256 GCM", "AES-256 CTR", "AES-256 CBC", "AES-256 CFB", "AES-256 OFB"),
    "Signatures": ("RSA-2048 PSS", "P-256", "Ed25519", "HSM RSA-2048 PSS"),
    "Random bytes, PBKDF2, RSA encryption": ("random bytes", "PBKDF2, 1000 iterations", "RSA-2048 OAEP"),
}


def growth_lines(section):
    lines = {}
    for entry in section.entries:
        family, operation, size = entry["name"].rsplit("/", 2)
        lines.setdefault((family, operation), []).append((int(size), entry["cpu_time"], entry["peak_bytes"]))
    return lines


def draw_growth(section):
    lines = growth_lines(section)
    figure, axes, inches = panels(2 * len(GROWTH), 2, 2.3, top=0.5)
    figure.subplots_adjust(hspace=0.42, wspace=0.3, right=0.78)
    colours = ["#2f81f7", "#2da44e", "#d4860b", "#a371f7", "#e5534b", "#8b949e", "#1a9ba1", "#c06c9b"]
    styles = {"file": "--", "sign file": "--", "encrypt file": "--", "decrypt file": ":", "decrypt bytes": "-.",
              "check bytes": "-.", "check file": ":"}
    for row, (group, families) in enumerate(GROWTH.items()):
        time, memory = axes[2 * row], axes[2 * row + 1]
        for (family, operation), points in lines.items():
            if family in families:
                colour = colours[families.index(family)]
                style = styles.get(operation, "-")
                sizes = [size for size, _, _ in points]
                time.plot(sizes, [nanoseconds for _, nanoseconds, _ in points], style, color=colour)
                memory.plot(sizes, [max(peak, 1 << 16) for _, _, peak in points], style, color=colour,
                            label=f"{family}, {operation}")
        for axis in (time, memory):
            axis.set_xscale("log", base=2)
            axis.set_yscale("log")
            ticks = [1 << power for power in (4, 10, 16, 22, 30)]
            axis.xaxis.set_major_locator(FixedLocator(ticks))
            axis.set_xticklabels([size_text(size) for size in ticks])
            axis.xaxis.set_minor_locator(NullLocator())
            axis.yaxis.set_minor_formatter(NullFormatter())
            axis.yaxis.set_minor_locator(NullLocator())
            for spine in axis.spines.values():
                spine.set_visible(False)
        time.set_title(f"{group}: time of a call", loc="left", pad=3)
        memory.set_title("added to the resident memory", loc="left", pad=3)
        ticks = [10.0 ** power for power in range(2, 12, 2) if time.get_ylim()[0] <= 10.0 ** power <= time.get_ylim()[1]]
        time.yaxis.set_major_locator(FixedLocator(ticks))
        time.set_yticklabels([time_text(tick) for tick in ticks])
        ticks = [1 << power for power in (16, 20, 24, 28, 30)]
        memory.set_ylim(1 << 15, 1 << 32)
        memory.yaxis.set_major_locator(FixedLocator(ticks))
        memory.set_yticklabels(["none"] + [size_text(tick) for tick in ticks[1:]])
        memory.legend(loc="center left", bbox_to_anchor=(1.0, 0.5), fontsize=7, handlelength=2.2, labelspacing=0.25)
    save(figure, section, "growth", "Growth: time and memory against the size of the message, 16 B to 1 GiB")


# Tables

def case_table(cases):
    """The library's time, and what each other way takes, as a multiple of it."""
    ways = [way for way in ways_of(times for _, times in cases) if way != "library"]
    yield "| | zrflcrypto | " + " | ".join(LABELS.get(way, way) for way in ways) + " |"
    yield "|---|" + "--:|" * (len(ways) + 1)
    for case, times in cases:
        cells = []
        for way in ways:
            if way not in times:
                cells.append("")
            elif "library" not in times:
                cells.append(time_text(times[way]))
            else:
                cells.append(f"{times[way] / times['library']:.2f}")
        library = time_text(times["library"]) if "library" in times else ""
        yield f"| {plain(case)} | {library} | " + " | ".join(cells) + " |"


def thread_table(section):
    yield "| | Objects | Who | One thread | 2 | 4 | 8 |"
    yield "|---|---|---|--:|--:|--:|--:|"
    gains = gains_of(section)
    for case in thread_cases(section):
        for kind in ("own, library", "own, same calls", "own, best", "shared, library", "shared, same calls"):
            times = gains.get((case, kind))
            if times:
                sharing, way = kind.split(", ", 1)
                cells = [f"{times[1] / times[threads]:.2f}" for threads in (2, 4, 8)]
                yield f"| {plain(case)} | {sharing} | {LABELS[way]} | {time_text(times[1])} | " + " | ".join(cells) + " |"


def growth_table(section):
    sizes = [16, 1 << 10, 1 << 16, 1 << 20, 1 << 24, 1 << 26, 1 << 28, 1 << 30]
    yield "| | " + " | ".join(size_text(size) for size in sizes) + " |"
    yield "|---|" + "--:|" * len(sizes)
    for (family, operation), points in growth_lines(section).items():
        found = {size: (nanoseconds, peak) for size, nanoseconds, peak in points}
        cells = [f"{time_text(found[size][0])}, {memory_text(found[size][1])}" if size in found else "" for size in sizes]
        yield f"| {family}, {operation} | " + " | ".join(cells) + " |"


def memory_text(peak):
    """The counters are of pages, and the first use of code costs some: what is below 1 MiB is of no size."""
    return f"{peak / 2**20:.0f} MiB" if peak >= 1 << 20 else "-"


NOTES = {
    "threads": "What so many threads do in the time in which one does 1. Two cores: more threads than two share them.",
    "rsa-keys": "Medians, of which chance is a part: numbers are tried until two are prime.",
    "growth": "Processor time of a call, and what it adds to the resident memory at its peak; \"-\" is less than 1 MiB. "
              "The message itself, the host's own, is not counted.",
}


def tables(sections):
    yield "# What was measured"
    yield ""
    yield ("Made by `tools/bench --report`; [what it means](../performance.md). Processor time of one call, the "
           "shortest of some repetitions; a number without a unit is the time of another way as a multiple of zrflcrypto's: "
           "below 1 it is faster, above 1 slower.")
    for name, title in SECTIONS.items():
        if name not in sections:
            continue
        section = sections[name]
        yield ""
        yield f"## {title}"
        yield ""
        yield f"{section.made_of()}."
        note = NOTES.get(name) or NOTES.get(name.split("-")[0])
        if note:
            yield ""
            yield note
        yield ""
        if name.startswith("threads"):
            yield from thread_table(section)
        elif name == "growth":
            yield from growth_table(section)
        else:
            yield from case_table(sorted(section.cases.items(), key=lambda row: natural(row[0])))


def draw(sections):
    def groups(section, shorten):
        found = dict.fromkeys(case.rsplit("/", 1)[0] for case in section.cases if re.search(r"/16$", case))
        return [(group, shorten(group)) for group in found]

    plain_group = lambda group: group.removesuffix(" buffer")
    for name in ("digests", "hmac", "blake2b", "random"):
        if name in sections:
            found = groups(sections[name], plain_group)
            draw_speeds(sections[name], name, SECTIONS[name], found, min(3, max(2, len(found))))
    if "aes" in sections:
        for bits in ("128", "256"):
            found = [(f"AES-{bits} {mode} {way}", f"{mode} {way}") for mode in ("GCM", "CTR", "CBC", "CFB", "OFB")
                     for way in ("encrypt", "decrypt")]
            draw_speeds(sections["aes"], f"aes-{bits}", f"AES-{bits}", found, 2)
    for name in ("rsa", "rsa-keys", "ecc", "pbkdf2", "objects", "hsm", "streams"):
        if name in sections:
            section = sections[name]
            compared = sorted((case for case, times in section.cases.items()
                               if "library" in times and not re.match(r"RSA-1024|.* stream", case)),
                              key=natural if name == "objects" else by_work)
            draw_times(section, name, SECTIONS[name], compared)
    threads = [sections[name] for name in sections if name.startswith("threads")]
    if threads:
        draw_threads(threads)
    if "growth" in sections:
        draw_growth(sections["growth"])


def main(arguments):
    PAGES.mkdir(exist_ok=True)
    for path in (pathlib.Path(arguments[0]).glob("*.json") if arguments else []):
        if path.stem in SECTIONS:
            write_results(PAGES / path.name, *trim(json.loads(path.read_text())))
    sections = {name: Section(PAGES / f"{name}.json") for name in SECTIONS if (PAGES / f"{name}.json").exists()}
    (PAGES / "tables.md").write_text("\n".join(tables(sections)) + "\n")
    draw(sections)


main(sys.argv[1:])
