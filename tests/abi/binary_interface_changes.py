#!/usr/bin/env python3
"""Shows that binary_interface.py notices what breaks hosts: makes such changes in copies of the public headers and of a
library, and looks for each in what the check says.

Usage: binary_interface_changes.py INCLUDE READELF TYPES_OBJECT UTILS_LIBRARY OPENSSL_LIBRARY COMPILER [OPTION...]
"""
import re
import shutil
import subprocess
import sys
import tempfile
from pathlib import Path

HERE = Path(__file__).resolve().parent

# A header, what stands there, what stands there instead, and a line that the check has to print.
IN_HEADERS = [
    # Operations change places, one comes between others, the last one goes, and so does a const.
    ("ICryptoPRNG.h", r"(virtual bool isSeeded\(\) const = 0;)(.*)(virtual std::string getPRNGName\(\) const = 0;)", r"\3\2\1",
     r"-    slot 4: \w+ICryptoPRNG8isSeeded"),
    ("IAESTransform.h", r"virtual ByteArray decrypt", r"virtual void reset() = 0; \g<0>", r"-    slot 2: \w+IAESDecryptor7decrypt"),
    ("IHSMSigner.h", r"virtual unsigned long getKeySize\(\) const = 0;", "", r"-    slot 4: \w+IHSMSigner10getKeySize"),
    ("IAESKey.h", r"(getKeyBytes\(\)) const", r"\1", r"-    slot 3: _ZNK\w+7IAESKey\w+192\w+getKeyBytes"),
    # The provider's operations and those of its interface follow one another.
    ("ICryptoProvider.h", r"virtual ~ICryptoProvider\(\) = default;", r"\g<0> virtual void first() const {}",
     r"-    slot 2: \w+14CryptoProvider23createDefaultCryptoPRNG"),
    # An argument and a result.
    ("IDigestEngine.h", r"std::size_t size\)", "unsigned size)", r"-    slot 5: \w+IDigestEngine6updateEPKhm"),
    ("IECCSignature.h", r"virtual long getKeySize", "virtual int getKeySize", r"-    slot 4: \w+IECCSigner10getKeySizeEv gives long"),
    # Data in an interface, another order, a further member, another base.
    ("IRSASignature.h", r"class IRSASigner \{", r"\g<0> int count_ = 0;", r"-class .*IRSASigner: 8 bytes"),
    ("HSMObject.h", r"(std::string modulePath_;)\s*(std::string uri_;)", r"\2 \1", r"-    data at 32: uri_"),
    ("Exceptions.h", r"class ZRFL_EXPORT InvalidKey :[^{]*\{", r"\g<0> int reason_ = 0;", r"-class .*utils::InvalidKey: 16 bytes"),
    ("Exceptions.h", r"(class ZRFL_EXPORT NotImplemented : public) Exception", r"\1 InternalException",
     r"\+    base at 0: \S+::InternalException"),
    # A value that has a destructor is no longer handed over in a register.
    ("SignatureVerificationStatus.h", r"bool isValid\(\)", r"~SignatureVerificationStatus(); \g<0>",
     r"\+    function: \w+SignatureVerificationStatusD4Ev"),
    # An enumerator's number, and an enumeration's size.
    ("AESMode.h", r"GCM = 3", "GCM = 7", r"-    GCM = 3"),
    ("EllipticCurve.h", r"EllipticCurve : int", "EllipticCurve : short", r"-enumeration \S+::EllipticCurve: int"),
    # A static function's result.
    ("DigestAlgorithms.h", r"(class ZRFL_EXPORT MD5DigestAlgorithm.*?)std::size_t", r"\1int",
     r"-    function: \w+18MD5DigestAlgorithm13getDigestSizeEv gives long unsigned int"),
]

# Names of one length each: only the copy's tables of names change.
IN_LIBRARY = [
    (b"21createMD5DigestEngineEv", b"21createMD6DigestEngineEv", r"-    \w+createMD5DigestEngineEv@@"),
    (b"ZRFLCRYPTOOPENSSL_1", b"ZRFLCRYPTOOPENSSL_2", r"-    \w+createSHA1DigestEngineEv@@ZRFLCRYPTOOPENSSL_1"),
    (b"libzrflcryptoopenssl.so.1", b"libzrflcryptoopenssl.so.2", r"-library libzrflcryptoopenssl.so.1"),
]


def check(readelf, types_object, *libraries):
    result = subprocess.run([sys.executable, HERE / "binary_interface.py", "check", HERE / "interface.txt", readelf,
                             types_object, *libraries], capture_output=True, text=True)
    return result.returncode, result.stdout + result.stderr


def expect(passed, what):
    if not passed:
        sys.exit(f"binary_interface.py does not notice: {what}")


def main(include, readelf, types_object, utils, openssl, compiler, *options):
    with tempfile.TemporaryDirectory() as folder:
        scratch = Path(folder)
        headers, types, changed_object = scratch / "include", scratch / "PublicTypes.cpp", scratch / "changed.o"
        shutil.copytree(include, headers)
        files = {path.name: path for path in headers.rglob("*.h")}
        (scratch / "PublicHeaders.h").write_text(
            "".join(f'#include "{path}"\n' for path in sorted(files.values())))

        def compile_types(text):
            types.write_text(text)
            subprocess.run([compiler, "-std=c++17", *options, "-I", headers, "-c", types, "-o", changed_object], check=True)

        complete = (HERE / "PublicTypes.cpp").read_text()
        compile_types(complete)
        expect(check(readelf, changed_object, utils, openssl)[0] == 0, "that a copy without a change is the same")

        compile_types(complete.replace("template class IAESKey<AESKeySize<192>>;\n", ""))
        status, said = check(readelf, changed_object, utils, openssl)
        expect(status != 0 and "IAESKey<foundation::crypto::utils::AESKeySize<192>>" in said, "a type that is not read")

        for header, old, new, _ in IN_HEADERS:
            text, count = re.subn(old, new, files[header].read_text(), count=1, flags=re.DOTALL)
            expect(count == 1, f"a change that cannot be made, since {header} has no {old}")
            files[header].write_text(text)
        compile_types(complete)
        status, said = check(readelf, changed_object, utils, openssl)
        for header, _, new, line in IN_HEADERS:
            expect(status != 0 and re.search("^" + line, said, re.MULTILINE), f"{new} in {header}")

        library = scratch / "changed.so"
        content = Path(openssl).read_bytes()
        for old, new, _ in IN_LIBRARY:
            expect(old in content, f"a change that cannot be made, since the library has no {old}")
            content = content.replace(old, new)
        library.write_bytes(content)
        status, said = check(readelf, types_object, utils, library)
        for _, new, line in IN_LIBRARY:
            expect(status != 0 and re.search("^" + line, said, re.MULTILINE), f"{new} in the library")


if __name__ == "__main__":
    main(*sys.argv[1:])
