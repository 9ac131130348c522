#!/usr/bin/env python3
"""Compares the binary interface of both libraries with the recorded one: all that hosts compiled earlier rely on.

Usage: binary_interface.py check|record RECORD READELF TYPES_OBJECT LIBRARY...

The layout of every public type is read from the debug information that the compiler wrote for the public headers
(PublicTypes.cpp): sizes, bases, data members, virtual slots, functions with their results, enumerators. The exported
names are read from the libraries themselves. What belongs to the standard library is named, not described.
"""
import difflib
import re
import subprocess
import sys
from pathlib import Path

NAMESPACE = "foundation"


class Entry:
    """One entry of the debug information: its kind, its attributes, the entry that it stands in, and those in it."""

    def __init__(self, tag, parent):
        self.tag, self.parent, self.attributes, self.children = tag, parent, {}, []

    def get(self, attribute):
        return self.attributes.get(attribute)

    @property
    def name(self):
        parent = self.parent.name if self.parent is not None else ""
        own = spelled(self.get("name") or "(unnamed)")
        return f"{parent}::{own}" if parent else own


class Unit(Entry):
    name = ""


def spelled(name):
    """A template's name as every compiler writes it."""
    return name.replace("> >", ">>").replace("> >", ">>")


def run(*command):
    return subprocess.run(command, check=True, capture_output=True, text=True).stdout


ENTRY = re.compile(r" <([0-9a-f]+)><([0-9a-f]+)>: Abbrev Number: \d+ \(DW_TAG_(\w+)\)")
ATTRIBUTE = re.compile(r"\s+<[0-9a-f]+>\s+DW_AT_(\w+)\s*: (?:\(\w+\) )?(?:\(offset: \w+\): |\(indirect[^)]*\): )?(.*?)\s*$")


def read_entries(readelf, types_object):
    """All entries by their offsets."""
    entries, open_entries = {}, []
    for line in run(readelf, "--debug-dump=info", "--wide", types_object).splitlines():
        if match := ENTRY.match(line):
            depth, offset, tag = int(match[1], 16), int(match[2], 16), match[3]
            del open_entries[depth:]
            entry = Unit(tag, None) if depth == 0 else Entry(tag, open_entries[-1])
            if depth:
                open_entries[-1].children.append(entry)
            open_entries.append(entry)
            entries[offset] = entry
        elif open_entries and (match := ATTRIBUTE.match(line)):
            open_entries[-1].attributes[match[1]] = match[2]
    return entries


class Types:
    def __init__(self, entries):
        self.entries = entries

    def referred(self, entry, attribute="type"):
        reference = entry.get(attribute)
        return None if reference is None else self.entries[int(re.match(r"<0x([0-9a-f]+)>", reference)[1], 16)]

    def spell(self, entry):
        """The name of a type, aliases looked through."""
        if entry is None:
            return "void"
        of = self.referred(entry)
        if entry.tag == "typedef":
            return self.spell(of)
        suffix = {"const_type": " const", "volatile_type": " volatile", "pointer_type": "*", "reference_type": "&",
                  "rvalue_reference_type": "&&", "array_type": "[]", "subroutine_type": "()"}.get(entry.tag)
        return entry.name if suffix is None else self.spell(of) + suffix

    def size(self, entry):
        while entry.get("byte_size") is None and entry.get("type") is not None:
            entry = self.referred(entry)
        return number(entry.get("byte_size") or "8")  # a pointer's may be left out


def number(text):
    return int(text.split()[0], 0)


def slot(function):
    """The position of a virtual function; -1 for others, and for destructors, whose position the compiler leaves out."""
    location = function.get("vtable_elem_location")
    return -1 if location is None else int(re.search(r"DW_OP_(?:lit|const\w+: )(\d+)", location)[1])


def describe_function(types, function):
    kind = f"slot {slot(function)}" if slot(function) >= 0 else "function"
    traits = [trait for trait in ("defaulted", "deleted") if function.get(trait)]
    name = function.get("linkage_name") or function.get("name")
    return " ".join([f"{kind}: {name} gives {types.spell(types.referred(function))}", *traits])


def describe_class(types, entry):
    aligned = f", aligned to {number(entry.get('alignment'))}" if entry.get("alignment") else ""
    yield f"class {entry.name}: {number(entry.get('byte_size'))} bytes{aligned}"
    for child in entry.children:
        of = types.referred(child)
        if child.tag == "inheritance":
            kind = "virtual base" if child.get("virtuality") else "base"
            yield f"    {kind} at {child.get('data_member_location')}: {types.spell(of)}"
        elif child.tag in ("member", "variable") and child.get("data_member_location") is None:
            yield f"    static {child.get('name')}: {types.spell(of)} = {child.get('const_value')}"
        elif child.tag == "member":
            bits = f", {child.get('bit_size')} bits from {child.get('data_bit_offset')}" if child.get("bit_size") else ""
            yield (f"    data at {child.get('data_member_location')}: {child.get('name')}, {types.size(of)} bytes{bits}, "
                   f"{types.spell(of)}")
    functions = [child for child in entry.children if child.tag == "subprogram"]
    for function in sorted(functions, key=slot):
        yield "    " + describe_function(types, function)


def describe_enumeration(types, entry):
    yield f"enumeration {entry.name}: {types.spell(types.referred(entry))}"
    for child in entry.children:
        yield f"    {child.get('name')} = {child.get('const_value')}"


def is_ours(entry):
    """Whether the entry stands in our namespace, and not inside a function."""
    above = entry
    while above.parent is not None:
        above = above.parent
        if above.tag in ("subprogram", "lexical_block"):
            return False
    return entry.name.startswith(NAMESPACE + "::")


def describe_types(entries):
    types, blocks, mentioned = Types(entries), {}, set()
    for entry in entries.values():
        if not is_ours(entry):
            continue
        if entry.tag in ("class_type", "structure_type", "union_type"):
            if entry.get("declaration"):
                mentioned.add(entry.name)
            else:
                blocks[entry.name] = list(describe_class(types, entry))
        elif entry.tag == "enumeration_type":
            blocks[entry.name] = list(describe_enumeration(types, entry))
        elif entry.tag == "subprogram" and entry.parent.tag == "namespace" and entry.get("linkage_name"):
            blocks[entry.get("linkage_name")] = [describe_function(types, entry)]
    missing = sorted(mentioned - set(blocks))
    if missing or not blocks:
        sys.exit("Name these types in PublicTypes.cpp, or nothing is known of their layout:\n" + "\n".join(missing))
    return [line for name in sorted(blocks) for line in blocks[name]]


def describe_library(readelf, library):
    soname = re.search(r"Library soname: \[(.*)\]", run(readelf, "--dynamic", "--wide", library))[1]
    names = []
    for line in run(readelf, "--dyn-syms", "--wide", library).splitlines():
        fields = line.split()
        # number, value, size, type, binding, visibility, section, name
        if len(fields) == 8 and fields[0].rstrip(":").isdigit() and fields[6] not in ("UND", "ABS"):
            _, _, size, kind, binding, _, _, name = fields
            if binding != "LOCAL":
                names.append(f"    {name} {kind} {binding}" + (f", {number(size)} bytes" if kind == "OBJECT" else ""))
    return [f"library {soname}"] + sorted(names)


def main(mode, record, readelf, types_object, *libraries):
    found = describe_types(read_entries(readelf, types_object))
    for library in libraries:
        found += describe_library(readelf, library)
    if mode == "record":
        Path(record).write_text("\n".join(found) + "\n")
        return 0
    recorded = Path(record).read_text().splitlines()
    if found == recorded:
        return 0
    print(*difflib.unified_diff(recorded, found, "recorded", "found", lineterm="", n=1), sep="\n")
    print("\nThe binary interface is not the recorded one. Where a line is gone (-), hosts that were compiled earlier "
          "break.\nWhat is only new (+) is recorded by tools/record-interface.")
    return 1


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]))
