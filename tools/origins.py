"""Looks for the vectors of standards in the tests of other projects, which `tools/vectors` has unpacked into a folder:
the values of a case have to stand together in one passage there."""
import base64
import collections
import hashlib
import json
import re
import sys
from pathlib import Path

ROOT = Path(__file__).resolve().parent.parent

OPENSSL = "openssl-*/test/recipes/30-test_evp_data/"
CRYPTOGRAPHY = "usr/lib/python3/dist-packages/cryptography_vectors/"

ORIGINS = {
    "aes_sp800_38a.txt": [OPENSSL + "evpciph_aes_common.txt", "nettle-*/testsuite/ctr-test.c"],
    "aes_sp800_38d.txt": [OPENSSL + "evpciph_aes_common.txt", CRYPTOGRAPHY + "ciphers/AES/GCM/gcmEncryptExtIV*.rsp"],
    "digests.txt": [OPENSSL + "evpmd_md.txt", OPENSSL + "evpmd_sha.txt"],
    "hmac_rfc.txt": [CRYPTOGRAPHY + "HMAC/rfc-*.txt", "nettle-*/testsuite/hmac-test.c"],
    "pbkdf2_published.txt": [OPENSSL + "evpkdf_pbkdf2.txt", "mnemonic-*/vectors.json"],
    "rfc6979.txt": [OPENSSL + "evppkey_ecdsa_rfc6979.txt"],
    "rfc8032.txt": [OPENSSL + "evppkey_ecx.txt"],
}

# Fields that are ours, or follow from the others.
OURS = {"id", "family", "alg", "pad", "result", "dklen", "repeat"}

# What belongs together in a file: its values as bytes, the encoded keys that it refers to, and its text.
Passage = collections.namedtuple("Passage", "values keys text")


def cases(path):
    for record in re.split(r"\n{2,}", path.read_text()):
        fields = dict(line.split("=", 1) for line in record.splitlines() if line and not line.startswith("#"))
        if fields:
            yield fields


def as_bytes(value):
    """A quoted text, hexadecimal, or a text."""
    if re.fullmatch(r'".*"', value):
        return value[1:-1].encode()
    return bytes.fromhex(value) if re.fullmatch(r"(?:[0-9a-fA-F]{2})*", value) else value.encode()


def stanzas(path):
    """Records of lines `name = value`. Up to four in a row under one key are also taken as the blocks of a message."""
    keys, partners, blocks = {}, {}, []
    for record in re.split(r"\n\s*\n", path.read_text()):
        lines = [line.partition("=") for line in record.splitlines() if not line.startswith(("#", "[", "-"))]
        fields = {name.strip(): value.strip() for name, equals, value in lines if equals}
        if "Result" in fields:
            continue  # an answer made wrong
        for kind in ("PrivateKey", "PublicKey"):
            if kind in fields:
                keys[fields[kind]] = base64.b64decode(re.search(r"-----BEGIN .*?-----(.*?)-----END", record, re.S)[1])
            elif kind + "Raw" in fields:
                name, _, value = fields[kind + "Raw"].split(":")
                keys[name] = bytes.fromhex(value)
        if "PrivPubKeyPair" in fields:
            private, public = fields["PrivPubKeyPair"].split(":")
            partners[private] = public
        bare = [re.sub(r"^[a-z]+:", "", value) for value in fields.values()]  # "iter:4096" is 4096
        repeated = b"".join(as_bytes(text) * int(copies or 1) * int(count or 1) for text, copies, count in re.findall(
            r"^Input = (.*)\n(?:Ncopy = (\d+)\n)?(?:Count = (\d+)\n)?", record + "\n", re.M))
        names = [fields.get("Key"), partners.get(fields.get("Key"))]
        values = {*map(as_bytes, bare), *map(str.encode, bare), repeated}
        yield Passage(values, [keys[name] for name in names if name in keys], record)
        if {"Cipher", "IV", "Plaintext", "Ciphertext"} <= fields.keys():
            if blocks and any(blocks[-1].get(name) != fields.get(name) for name in ("Cipher", "Key", "Operation")):
                blocks = []
            blocks = [*blocks, fields][-4:]
            joined = [as_bytes("".join(block[name] for block in blocks)) for name in ("Plaintext", "Ciphertext")]
            yield Passage({as_bytes(fields["Key"]), as_bytes(blocks[0]["IV"]), *joined}, [], record)


def calls(path):
    """Calls of test functions in C with arguments SHEX("...") and SDATA("...")."""
    for call in re.findall(r"\btest_\w+\s*\(.*?\);", path.read_text(), re.S):
        values = set()
        for kind, literals in re.findall(r'(SHEX|SDATA)\s*\(((?:\s*"[^"]*")+)\s*\)', call):
            content = "".join(re.findall(r'"([^"]*)"', literals))
            values.add(bytes.fromhex(content) if kind == "SHEX" else content.encode())
        yield Passage(values, [], call)


def rows(path):
    """Mnemonics and their seeds. For all of them 2048 iterations are made, with TREZOR as the pass phrase."""
    for _, mnemonic, seed, _ in json.loads(path.read_text())["english"]:
        yield Passage({mnemonic.encode(), bytes.fromhex(seed), b"mnemonic" + b"TREZOR", b"2048"}, [], "")


READERS = {".txt": stanzas, ".rsp": stanzas, ".c": calls, ".json": rows}


def stands_in(passage, path, case):
    words = (path.name + passage.text).lower()
    for name in case.keys() - OURS:
        if name in ("hash", "mode"):
            found = case[name].lower() in words
        elif name == "iterations":
            found = case[name].encode() in passage.values
        else:
            value = bytes.fromhex(case[name]) * int(case.get("repeat", 1) if name == "msg" else 1)
            found = value in passage.values or any(len(value) >= 32 and value in key for key in passage.keys)
        if not found:
            return False
    return True


def compare(file, folder):
    """Prints where the cases stand, and yields those that stand nowhere."""
    paths = sorted(path for pattern in ORIGINS[file] for path in folder.glob(pattern))
    passages = [(path, passage) for path in paths for passage in READERS[path.suffix](path)]
    counts = collections.Counter()
    for case in cases(ROOT / "tests/vectors" / file):
        at = next((path for path, passage in passages if stands_in(passage, path, case)), None)
        if at is None:
            yield f"{file}: {case['id']}"
        counts[at] += 1
    for path in paths:
        if counts[path]:
            print(f"{file}: {counts[path]} cases in {path.relative_to(folder)}")


def recompute():
    """As `compare`, with CPython in the place of a file."""
    file, count = "blake2b_keyed.txt", 0
    for case in cases(ROOT / "tests/vectors" / file):
        message, key, salt = (bytes.fromhex(case[name]) for name in ("msg", "key", "salt"))
        if hashlib.blake2b(message, digest_size=int(case["size"]), key=key, salt=salt).hexdigest() != case["mac"]:
            yield f"{file}: {case['id']}"
        count += 1
    print(f"{file}: {count} cases by hashlib.blake2b")


def main(folder):
    missing = [case for file in ORIGINS for case in compare(file, Path(folder))] + [*recompute()]
    if missing:
        print("\nThese stand nowhere:", *missing, sep="\n    ")
    return 1 if missing else 0


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]))
