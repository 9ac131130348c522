#!/usr/bin/env python3
"""The bill of materials names what the libraries ask the loader for, no more and no less, and has no blank.

Usage: bill_of_materials.py BILL READELF LIBRARY...
"""
import json
import re
import subprocess
import sys

bill_file, readelf, *libraries = sys.argv[1:]
text = open(bill_file).read()
bill = json.loads(text)

needed = set()
for library in libraries:
    dynamic = subprocess.run([readelf, "--dynamic", "--wide", library], capture_output=True, text=True, check=True).stdout
    needed |= set(re.findall(r"\(NEEDED\).*\[(.*)\]", dynamic))
needed = {name for name in needed if not re.match("libzrflcrypto|ld-linux", name)}  # the loader is the C library's
named = {entry["value"] for component in bill["components"] for entry in component.get("properties", [])}

faults = []
if needed != named:
    faults.append(f"the libraries ask for {sorted(needed)}, the bill names {sorted(named)}")
components = {component["bom-ref"] for component in bill["components"]}
for dependency in bill["dependencies"]:
    if set(dependency["dependsOn"]) != components:
        faults.append(f"components {sorted(components)}, dependencies {sorted(dependency['dependsOn'])}")
if '""' in text or "@" in text:
    faults.append("a value is missing")
print(*faults, sep="\n")
sys.exit(bool(faults))
