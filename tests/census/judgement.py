#!/usr/bin/env python3
"""What tools/census finds wrong with a run, in clones of a few lines."""
import contextlib
import io
import runpy
import sys
import tempfile
import unittest
from pathlib import Path

sys.dont_write_bytecode = True
TOOLS = Path(__file__).resolve().parents[2] / "tools"
sys.path.insert(0, str(TOOLS))
judge = runpy.run_path(str(TOOLS / "census"))["main"]

OURS = "N10foundation6crypto5utils17InternalExceptionE"

CLONE = {
    "include/foundation/crypto/utils/Exceptions.h": """
        class ZRFL_EXPORT InternalException : public Exception {
    """,
    "src/openssl/common/Handles.h": """
        template <> struct HandleTraits<BIO> { static constexpr auto name = "BIOUPtr"; };
        template <> struct HandleTraits<BIGNUM> { static constexpr auto name = "BNUPtr"; };
        throw utils::InternalException(std::string("Fail to create ") + HandleTraits<Object>::name +
                                       "; the given raw pointer is NULL");
    """,
    "src/openssl/kdf/Derive.cpp": """
        static_assert(isBool, "compare the result");
        require(ready, "The engine is cold."); // "The engine is warm."
        requireExplained(ready, "Could not start. ");
        throw utils::InternalException("Found " + std::to_string(read) + " of " + std::to_string(all) +
                                       " bytes.");
        return name == "sha1";
    """,
    "tests/kdf/DeriveTest.cpp": """
        throw InternalException("of a test");
        EXPECT_THROWS(InternalException, "The engine is cold.", derive());
        EXPECT_THROWS_PREFIX(InternalException, "Could not "
                                                "start. ", derive());
    """,
    "tests/vectors/derive.txt": "# cases: 2\n\nid=one\nfamily=KDF\ndk=00\n\nid=two\nfamily=KDF\ndk=01\n",
}

THROWN = [("derive_tests", OURS, text) for text in (
    "The engine is cold.", "Could not start. No OpenSSL errors.", "Found 1 of 20 bytes.", "of a test",
    "Fail to create BIOUPtr; the given raw pointer is NULL", "Fail to create BNUPtr; the given raw pointer is NULL")]

VECTORS = ["derive.txt one", "derive.txt two"]


class Judgement(unittest.TestCase):
    def setUp(self):
        self.clone, self.thrown, self.vectors = dict(CLONE), list(THROWN), list(VECTORS)

    def judge(self):
        with tempfile.TemporaryDirectory() as folder:
            for name, content in self.clone.items():
                path = Path(folder, "clone", name)
                path.parent.mkdir(parents=True, exist_ok=True)
                path.write_text(content)
            Path(folder, "thrown").write_text("".join(f"{part}\0" for record in self.thrown for part in record))
            Path(folder, "vectors").write_text("".join(f"{line}\n" for line in self.vectors))
            with contextlib.redirect_stdout(io.StringIO()) as output:
                status = judge(folder, Path(folder, "clone"))
            return status, output.getvalue()

    def passes(self):
        status, output = self.judge()
        self.assertEqual(status, 0, output)
        return output

    def fails_with(self, *breaches):
        status, output = self.judge()
        self.assertEqual(status, 1, output)
        found = [line.strip() for line in output.split("What the run did not show:\n")[1].splitlines()]
        self.assertEqual(found, list(breaches))

    def add_to(self, file, line):
        self.clone[file] += line + "\n"

    def test_a_complete_run_passes(self):
        self.assertIn("5 texts; 6 different ones were thrown", self.passes())

    def test_a_text_that_nothing_provokes_is_found_with_its_place(self):
        self.add_to("src/openssl/kdf/Derive.cpp", 'require(hot, "The engine is\\n"\n"too hot.");')
        self.fails_with('src/openssl/kdf/Derive.cpp:8: nothing provokes "The engine is\\ntoo hot."')

    def test_a_text_of_one_word_is_a_text(self):
        self.add_to("src/openssl/kdf/Derive.cpp", 'require<InvalidKey>(hot, "Cold.");\nthrow InvalidKey("Hot.");')
        self.fails_with('src/openssl/kdf/Derive.cpp:8: nothing provokes "Cold."',
                        'src/openssl/kdf/Derive.cpp:9: nothing provokes "Hot."')

    def test_each_owner_is_to_refuse_null(self):
        self.thrown = self.thrown[:-1]
        self.fails_with('src/openssl/common/Handles.h:4: nothing provokes '
                        '"Fail to create BNUPtr; the given raw pointer is NULL"')

    def test_a_text_with_numbers_is_to_be_whole(self):
        self.thrown[2] = ("derive_tests", OURS, "Found 1 of 20")
        self.fails_with('src/openssl/kdf/Derive.cpp:5: nothing provokes "Found .+ of .+ bytes."',
                        'derive_tests: "Found 1 of 20" was thrown as InternalException, and stands in no source')

    def test_an_unknown_text_is_found(self):
        self.thrown.append(("derive_tests", OURS, "The engine is old."))
        self.fails_with('derive_tests: "The engine is old." was thrown as InternalException, and stands in no source')

    def test_a_foreign_exception_may_be_translated(self):
        self.thrown += [("derive_tests", "St9bad_alloc", "std::bad_alloc"), ("derive_tests", OURS, "std::bad_alloc"),
                        ("derive_tests", OURS, "std::bad_alloc;Size = 7")]
        self.passes()

    def test_a_foreign_exception_explains_its_own_program_alone(self):
        self.thrown += [("other_tests", "St9bad_alloc", "std::bad_alloc"), ("derive_tests", OURS, "std::bad_alloc")]
        self.fails_with('derive_tests: "std::bad_alloc" was thrown as InternalException, and stands in no source')

    def test_a_foreign_exception_provokes_nothing(self):
        self.thrown[0] = ("derive_tests", "St13runtime_error", "The engine is cold.")
        self.fails_with('src/openssl/kdf/Derive.cpp:3: nothing provokes "The engine is cold."')

    def test_a_test_may_not_provoke_a_text_by_throwing_it(self):
        self.add_to("tests/kdf/DeriveTest.cpp", 'throw InternalException("The engine is cold.");')
        self.fails_with("tests/kdf/DeriveTest.cpp:6: a test throws \"The engine is cold.\" itself, "
                        "which is the library's to throw")

    def test_an_expected_text_is_to_exist(self):
        self.add_to("tests/kdf/DeriveTest.cpp", 'EXPECT_THROWS(InternalException, "The engine is old.", derive());')
        self.fails_with('tests/kdf/DeriveTest.cpp:6: "The engine is old." is expected, and stands in no source')

    def test_the_table_counts_what_was_run(self):
        self.vectors *= 2  # two programs
        self.assertRegex(self.passes(), r"KDF +2 +1\n +in all +2 +1\n")

    def test_a_vector_that_nothing_runs_is_found(self):
        self.vectors.pop()
        self.fails_with("tests/vectors/derive.txt: no test runs two")

    def test_a_vector_has_a_family(self):
        self.add_to("tests/vectors/derive.txt", "\nid=three")
        self.vectors.append("derive.txt three")
        self.fails_with("tests/vectors/derive.txt: three has no family")

    def test_a_run_that_wrote_nothing_down_fails(self):
        self.thrown, self.vectors = [], []
        self.assertEqual(self.judge()[0], 1)


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
