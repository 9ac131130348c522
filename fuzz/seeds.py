#!/usr/bin/env python3
"""Makes the seed corpora of the fuzzers from the test vectors and the tests' keys.

Usage: fuzz/seeds.py FOLDER     fills FOLDER/NAME/ for each fuzzer; each seed is in the form that its fuzzer reads
"""
import base64
import hashlib
import re
import subprocess
import sys
from pathlib import Path

VECTORS = Path(__file__).resolve().parent.parent / "tests/vectors"
KEYS = VECTORS / "keys"

HASHES = ["md5", "sha1", "sha224", "sha256", "sha384", "sha512"]
SIZES = {"1024": 0, "2048": 1, "4096": 7}  # positions in the fuzzers' tables
LABELS = ["", "PRIVATE KEY", "ENCRYPTED PRIVATE KEY", "RSA PRIVATE KEY", "EC PRIVATE KEY", "PUBLIC KEY", "RSA PUBLIC KEY",
          "CERTIFICATE"]
MODES = ["cbc", "cfb", "ofb", "gcm", "ctr"]
OAEP = ["sha1", "sha256", "sha512"]
GIVEN, ENCODED, HONEST = range(3)


def save(name, *parts):
    """One seed: numbers are single bytes."""
    seed = b"".join(bytes([part]) if isinstance(part, int) else part for part in parts)
    folder = Path(sys.argv[1]) / name
    folder.mkdir(parents=True, exist_ok=True)
    (folder / hashlib.sha256(seed).hexdigest()[:16]).write_bytes(seed)


def field(content):
    return len(content).to_bytes(2, "little") + content


def vectors(*patterns):
    """The cases of the files as dictionaries; fields in hexadecimal by `unhex`."""
    for path in sorted(path for pattern in patterns for path in VECTORS.glob(pattern)):
        for block in path.read_text().split("\n\n"):
            case = dict(line.split("=", 1) for line in block.splitlines() if line and not line.startswith("#"))
            if case:
                yield case


def rsa_vectors(*patterns):
    """Of the largest keys, whose operations take long, every tenth case."""
    for index, case in enumerate(vectors(*patterns)):
        if case["bits"] != "4096" or index % 10 == 0:
            yield case


def unhex(case, name):
    return bytes.fromhex(case.get(name, ""))


def elements(der):
    """The bodies of DER's elements side by side."""
    bodies = []
    while der:
        size, start = der[1], 2
        if size & 0x80:
            start += size & 0x7F
            size = int.from_bytes(der[2:start], "big")
        bodies.append(der[start:start + size])
        der = der[start + size:]
    return bodies


def rsa_numbers(case):
    """Modulus and both exponents, or the public one alone."""
    if "pkcs8" in case:
        key = elements(elements(elements(unhex(case, "pkcs8"))[0])[2])[0]
        return [int.from_bytes(number, "big") for number in elements(key)[1:4]]
    key = elements(elements(unhex(case, "spki"))[0])[1][1:]
    return [int.from_bytes(number, "big") for number in elements(elements(key)[0])[:2]]


def power(case, block, exponent_index):
    """What RSA makes of a block; empty where it is no number below the modulus."""
    numbers = rsa_numbers(case)
    number, size = int.from_bytes(block, "big"), int(case["bits"]) // 8
    return b"" if number >= numbers[0] else pow(number, numbers[exponent_index], numbers[0]).to_bytes(size, "big")


def der_of(pem):
    return base64.b64decode("".join(line for line in pem.decode().splitlines() if ":" not in line and "-----" not in line))


def converted(*command):
    """A key in another form, by the openssl command; none where that is too old for it."""
    result = subprocess.run(["openssl", *command], capture_output=True, check=False)
    return result.stdout if result.returncode == 0 else b""


def encoded_keys():
    """Texts of keys with their passwords."""
    password, p256, rsa = b"password", KEYS / "p256-private.pem", KEYS / "rsa1024-private.pem"
    for path in sorted(KEYS.glob("rsa*")) + sorted(KEYS.glob("*.pem")):
        if path.suffix in (".pem", ".der"):
            yield path.read_bytes(), password
    for key in (p256, KEYS / "p256-public.pem"):
        kind = ["-pubin"] if "public" in key.name else []
        for form in ("compressed", "hybrid"):
            yield converted("ec", *kind, "-in", key, "-conv_form", form), b""
        yield converted("ec", *kind, "-in", key, "-param_enc", "explicit"), b""
    yield converted("pkey", "-in", p256, "-traditional"), b""
    yield converted("pkey", "-in", p256, "-traditional", "-aes128", "-passout", "pass:password"), password
    for key in (p256, KEYS / "ed25519-private.pem", rsa):
        for scheme in (["-v2", "aes128", "-iter", "2"], ["-v1", "PBE-SHA1-3DES", "-iter", "2"],
                       ["-scrypt", "-scrypt_N", "16", "-scrypt_r", "1", "-scrypt_p", "1"]):
            yield converted("pkcs8", "-topk8", "-in", key, "-passout", "pass:password", *scheme), password
    seen = set()
    for case in vectors("rsa_*.txt"):
        for name in ("pkcs8", "spki"):
            if name in case and case[name] not in seen:
                seen.add(case[name])
                yield unhex(case, name), b""


def seed_encoded_keys():
    for text, password in encoded_keys():
        forms = [(0, text)]
        label = re.match(rb"-----BEGIN ([A-Z ]+)-----", text)
        if label and label[1].decode() in LABELS and b"DEK-Info" not in text:
            forms.append((LABELS.index(label[1].decode()), der_of(text)))
        for name in ("rsa_private_key", "rsa_public_key", "ecc_private_key", "ecc_public_key", "key_queries"):
            for form in forms:
                save(name, form[0], field(password), form[1])


def seed_numbers():
    for case in vectors("keys/rsa_numbers.txt"):
        numbers = [unhex(case, name) for name in "nde"]
        save("rsa_numbers", field(numbers[0]), field(numbers[1]), numbers[2])
        save("rsa_numbers", field(b"\0" + numbers[0]), field(b"\0" + numbers[1]), b"\0" + numbers[2])
        save("rsa_numbers", field(numbers[0]), field(numbers[2]), numbers[1])
        save("rsa_numbers", field(numbers[0][:-1] + b"\0"), field(numbers[1]), b"\3")
    order = 0xFFFFFFFF00000000FFFFFFFFFFFFFFFFBCE6FAADA7179E84F3B9CAC2FC632551
    for number in (0, 1, 2, order - 1, order, order + 1, 2**256 - 1, 2**256):
        save("ecc_numbers", 0, number.to_bytes(33, "big"))
    for case in vectors("ecdsa_p256.txt", "rfc6979.txt"):
        point = unhex(case, "point")
        save("ecc_numbers", 1, point)
        save("ecc_numbers", 1, bytes([2 + point[-1] % 2]) + point[1:33])
        save("ecc_numbers", 1, bytes([6 + point[-1] % 2]) + point[1:])
    save("ecc_numbers", 1, 0)
    for case in vectors("ed25519.txt", "rfc8032.txt"):
        save("ecc_numbers", 2, unhex(case, "point"))
        save("ecc_numbers", 2, unhex(case, "key"))


def seed_verifiers():
    for case in rsa_vectors("rsa_p*.txt", "rsa_leading_zero.txt"):
        if "sig" not in case or case.get("hash", "sha256") not in HASHES:
            continue
        name = "rsa_pss_verifier" if case["pad"] == "pss" else "rsa_pkcs1_verifier"
        setup = bytes([SIZES[case["bits"]], HASHES.index(case.get("hash", "sha256"))])
        message, signature = unhex(case, "msg"), unhex(case, "sig")
        save(name, GIVEN, setup, field(unhex(case, "spki")), field(message), signature)
        save(name, HONEST, setup, field(b""), field(message))
        if "spki" in case:
            save(name, ENCODED, setup, field(b""), field(message), power(case, signature, 1))
    for name, kind, files in (("ecdsa_verifier", 3, ["ecdsa_p256.txt", "rfc6979.txt"]),
                              ("ed25519_verifier", 5, ["ed25519.txt", "rfc8032.txt"])):
        for case in vectors(*files):
            kind = HASHES.index(case["hash"]) if case.get("hash") in HASHES else kind
            save(name, 0, kind, field(unhex(case, "point")), field(unhex(case, "msg")), unhex(case, "sig"))
        for kind in range(len(HASHES)):
            save(name, 1, kind, field(b""), field(b"message"))
            save(name, 1, kind, field(b""), field(b"message"), bytes(20), 1)


def seed_decryption():
    for case in rsa_vectors("rsa_oaep_*.txt", "rsa_pkcs1_decrypt_*.txt"):
        size, block = SIZES[case["bits"]], unhex(case, "ct")
        padding = 3 if "pkcs1" in case["pad"] else next(i for i, name in enumerate(OAEP) if name in case["pad"])
        save("rsa_decryption", GIVEN, size, padding, field(b""), block)
        save("rsa_decryption", ENCODED, size, padding, field(b""), power(case, block, 2))
        save("rsa_decryption", HONEST, size, padding, field(unhex(case, "pt")))
        save("rsa_stream_decryption", 0, size, padding, 7, block)
        save("rsa_stream_decryption", 1, size, padding, 30, 3 * unhex(case, "pt"))


def seed_aes():
    for case in vectors("aes_*.txt"):
        key = unhex(case, "key")
        setup = b"".join([bytes([len(key) // 8 - 2, MODES.index(case["mode"]), int(case.get("pad") == "none")]), key,
                          field(unhex(case, "iv"))])
        for data in (unhex(case, "ct") + unhex(case, "tag"), unhex(case, "pt")):
            save("aes_decryption", setup, 0, data)
            save("aes_streams", 5, setup, data)


def seed_streams():
    area, single, uflow_only, lie, end, throw, tamper = range(7)
    plain = bytes([area, 0, 5]) + b"hello"
    pem = (KEYS / "p256-public.pem").read_bytes()
    long_area = bytes([area, 0, 255]) + 255 * b"a"
    scripts = [b"", plain, plain + plain, 40 * long_area, bytes([area, 0, len(pem)]) + pem,
               bytes([single, 0, 5]) + b"hello" + plain, bytes([uflow_only, 0, 5]) + b"hello" + plain,
               plain + bytes([end, 0]) + plain]
    scripts += [plain + bytes([throw, kind]) + plain for kind in range(5)]
    scripts += [plain + bytes([tamper, kind]) + plain for kind in range(7)]
    scripts += [bytes([lie, kind, 5]) + b"hello" + plain for kind in range(6)]
    for script in scripts:
        for operation in range(16):
            save("lying_streams", operation, 0, 16 * operation + operation % 3, script)
        for setup in range(16):
            save("lying_streams", setup, 17 * setup, 0, script)


def seed_sequences():
    message = field(b"a message")
    for kind in range(10):
        make = [bytes([0, slot, kind, 5]) + b"a key" + bytes([4]) + b"salt" + bytes([48]) for slot in range(4)]
        use = bytes([11, 0]) + message + bytes([12, 0]) + message + bytes([8, 0])
        save("object_sequences", make[0], use, use, bytes([9, 0]), message, bytes([10, 0]), message, use)
        save("object_sequences", make[0], bytes([11, 0]), message, bytes([5, 0, 1, 8, 1, 8, 0]), use, bytes([11, 1]), message)
        save("object_sequences", make[0], make[2], bytes([11, 0]), message, bytes([6, 0, 2, 8, 2, 8, 0, 8, 2, 6, 0, 0]), use)
        for signer in range(4):
            save("object_sequences", make[0], bytes([11, 0]), message, bytes([7, 0, signer]), message, use)
    for case in vectors("aes_sp800_38?.txt"):
        key = unhex(case, "key")
        setup = bytes([len(key) // 8 - 2, MODES.index(case["mode"]), int(case.get("pad") == "none")]) + key
        use = bytes([2, 0, 0]) + field(unhex(case, "pt"))
        save("object_sequences", bytes([1, 0, 0]), setup, field(unhex(case, "iv")), use, use)
    save("object_sequences", bytes([3, 0, 32, 3]), message, message, bytes([4, 0]), message, 32)


def main():
    seed_encoded_keys()
    seed_numbers()
    seed_verifiers()
    seed_decryption()
    seed_aes()
    seed_streams()
    seed_sequences()
    for folder in sorted(Path(sys.argv[1]).iterdir()):
        print(f"{folder.name}: {len(list(folder.iterdir()))} seeds")


if __name__ == "__main__":
    main()
