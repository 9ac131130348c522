#!/usr/bin/env python3
"""What the examples' --help says about memory is what they take, measured with a file of some MiB.

Usage: memory.py FOLDER_OF_EXAMPLES EXAMPLE...
"""
import os
import re
import resource
import subprocess
import sys
import tempfile

SIZES = {"encrypt_file": 3, "tour": 2}  # in MiB; the slow ones get less than the others
CASES = {
    "authenticate_file": ["key file"],
    "blake2b_file": ["file"],
    "digest_file": ["file"],
    "derive_key": [""],
    "generate_rsa_key": ["private public"],
    "encrypt_file": ["encrypt public.pem file encrypted"],  # what decrypts it takes as much, and ten seconds
    "protected_key": ["generate private public key", "sign private file signature key"],
    "seal_file": ["key 32", "seal 32 file sealed", "open 32 sealed opened"],
    "seal_with_password": ["seal file sealed key", "open sealed opened key"],
    "sign_file": ["sign private.pem file signature", "verify public.pem file signature"],
    "sign_with_ed25519": ["generate private public", "sign private file signature", "verify public file signature"],
    "tour": ["file"],
    "sign_with_hsm": [],  # what it takes is mostly the module's
}
def peak(command):
    """In MiB; never less than this program's own, which counts until another one takes its place."""
    process = subprocess.Popen(command, stdin=open("key"), stdout=subprocess.DEVNULL)
    _, status, usage = os.wait4(process.pid, 0)
    assert status == 0, command
    return usage.ru_maxrss / 1024


def faults(folder, example):
    text = subprocess.run([f"{folder}/{example}", "--help"], capture_output=True, text=True, check=True).stdout
    said = re.search(r"Memory: (\d+) MiB(?: and (?:(\d+) times )?the size of)?", text)
    if not said:
        yield "its --help says nothing about memory"
        return
    base, times = int(said[1]), int(said[2] or said[0].endswith("size of"))
    size = SIZES.get(example, 8)
    os.truncate("file", size << 20)
    found = [peak([f"{folder}/{example}", *case.split()]) for case in CASES[example]]
    own = resource.getrusage(resource.RUSAGE_SELF).ru_maxrss / 1024
    if found and not 0.8 * times * size <= max(found) <= max(base + times * size, own):
        yield f"its --help says {said[0]!r}, and with {size} MiB it takes {max(found):.1f} MiB"


folder, *examples = sys.argv[1:]
wrong = set(examples) ^ set(CASES)
with tempfile.TemporaryDirectory() as work:
    os.chdir(work)
    open("key", "w").write("a key and a password\n")
    open("file", "w").close()
    for command in ("genpkey -algorithm RSA -pkeyopt rsa_keygen_bits:2048 -out private.pem",
                    "pkey -in private.pem -pubout -out public.pem"):
        subprocess.run(["openssl", *command.split()], check=True, capture_output=True)
    for example in examples:
        for fault in faults(folder, example):
            print(f"{example}: {fault}")
            wrong.add(example)
sys.exit(f"wrong: {wrong}" if wrong else 0)
