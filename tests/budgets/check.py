#!/usr/bin/env python3
"""Holds what one call of each operation costs against the table in budgets.txt.

Usage: check.py allocations [EMULATOR] PROGRAM
       check.py instructions PROGRAM BUILD VALGRIND LIBRARY...

PROGRAM makes the calls. BUILD is the compiler and its flags, VALGRIND may be empty, each LIBRARY is a file of ours.
Calls of operator new may not change at all. Instructions are those of our libraries without what they call; they may
change by 2 %. Fewer than in the table is a breach, too: the next change could take back what was won, and nobody saw it.
"""
import os
import re
import subprocess
import sys
import tempfile
from pathlib import Path

TABLE = Path(__file__).with_name("budgets.txt")
SLACK = {"instructions": 0.02, "allocations": 0}
SKIPPED = 77  # as CMakeLists.txt tells ctest


def read_table():
    """The build that the instructions are of, and the budgets of each "operation  size"."""
    build, budgets = "", {"instructions": {}, "allocations": {}}
    for line in TABLE.read_text().splitlines():
        text = line.partition("#")[0].strip()
        if text.startswith("Build: "):
            build = text.removeprefix("Build: ")
        elif text:
            operation, size, instructions, allocations = re.split("  +", text)
            budgets["instructions"][f"{operation}  {size}"] = int(instructions)
            budgets["allocations"][f"{operation}  {size}"] = None if allocations == "-" else int(allocations)
    return build, budgets


def count_allocations(command):
    """The command prints a line for each call: operation, size, and how often it allocated."""
    output = subprocess.run(command, check=True, stdout=subprocess.PIPE, text=True).stdout
    return {call: int(count) for call, count in (line.rsplit("  ", 1) for line in output.splitlines())}


def read_dump(dump, objects, libraries):
    """The call that a dump of callgrind is about, and its instructions in our libraries. An object is named in one dump
    and has a number in all others: `objects` keeps the names."""
    call, count, is_ours, is_of_callee = "", 0, False, False
    for line in dump.read_text().splitlines():
        if trigger := re.match("desc: Trigger: Client Request: (.*)", line):
            call = trigger[1]
        elif found := re.match(r"(c?)ob=(\(\d+\))(?: (.*))?", line):
            objects.setdefault(found[2], found[3])
            if not found[1]:
                is_ours = objects[found[2]] in libraries
        elif line.startswith("calls="):
            is_of_callee = True  # the line below it
        elif re.match(r"[-+*\d]", line):
            count += int(line.split()[-1]) if is_ours and not is_of_callee else 0
            is_of_callee = False
    return call, count


def count_instructions(program, valgrind, libraries):
    # What goes through the table of a library's imports counts where it is: skipped, it would count now and then.
    options = ["--tool=callgrind", "--skip-plt=no", "--quiet"]
    with tempfile.TemporaryDirectory() as folder:
        subprocess.run([valgrind, *options, f"--callgrind-out-file={folder}/dump", program], check=True,
                       stdout=subprocess.DEVNULL)
        dumps = sorted(Path(folder).glob("dump.*"), key=lambda dump: int(dump.suffix[1:]))
        objects = {}
        return dict(read_dump(dump, objects, [os.path.realpath(each) for each in libraries]) for dump in dumps)


def main(kind, *arguments):
    recorded_build, budgets = read_table()
    if kind == "allocations":
        measured = count_allocations(arguments)
    else:
        program, build, valgrind, *libraries = arguments
        if build != recorded_build:
            print(f"Skipped: the instructions in the table are those of {recorded_build}; this is {build}.")
            return SKIPPED
        if not valgrind:
            print("Skipped: there is no valgrind, which counts instructions; tools/setup installs it.")
            return SKIPPED
        measured = count_instructions(program, valgrind, libraries)

    breaches = 0
    for call in sorted(measured.keys() | budgets[kind].keys()):
        found, budget = measured.get(call, "no"), budgets[kind].get(call, "nothing")
        if budget is None or (found != "no" and budget != "nothing" and abs(found - budget) <= SLACK[kind] * budget):
            continue
        print(f"{call}: {found} {kind}, and {budget} in the table")
        breaches += 1
    if breaches:
        print(f"A line of {TABLE} changes on purpose, and says why when it rises.")
    return 1 if breaches else 0


sys.exit(main(*sys.argv[1:]))
