#ifndef ZRFL_TESTS_SUPPORT_KEYPROMPTTESTS_H
#define ZRFL_TESTS_SUPPORT_KEYPROMPTTESTS_H

#include "Bytes.h"
#include "Terminal.h"
#include "Throws.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <sstream>
#include <stdexcept>
#include <string>

/// Nobody is ever asked for a password: not on a terminal, and not by reading the host's standard input. A test program
/// instantiates the suite `KeyPrompt` for a family of keys.
namespace support {

/// A family reads all its keys without their passwords, as the library does, and one as libcrypto's own reader does
/// that gets no pass phrase. `prepare()` has the keys ready before the process is split.
struct KeyPromptCase {
    void (*prepare)();
    void (*readAllWithoutPasswords)();
    void (*readWithoutPassPhrase)();
};

class KeyPrompt : public testing::TestWithParam<KeyPromptCase> {
protected:
    void SetUp() override { GetParam().prepare(); }

    /// What the library must not do.
    static void askForThePassword() {
        if (std::freopen("/dev/null", "w", stderr) == nullptr) { // where libcrypto asks when there is no terminal
            throw std::runtime_error("no /dev/null");
        }
        GetParam().readWithoutPassPhrase();
    }
};

TEST_P(KeyPrompt, IsNeverWrittenOnTheTerminal) {
    if (!hasPseudoTerminals()) {
        GTEST_SKIP() << "this machine has no pseudo-terminals";
    }
    TerminalUse const use = runAtTerminal(GetParam().readAllWithoutPasswords);
    EXPECT_TRUE(use.finished);
    EXPECT_EQ(use.written, "");
}

TEST_P(KeyPrompt, NeverReadsTheStandardInput) {
    TerminalUse const use = runWithInput("password\n", GetParam().readAllWithoutPasswords);
    EXPECT_TRUE(use.finished);
    EXPECT_EQ(use.unread, "password\n");
}

TEST_P(KeyPrompt, WouldHaveBeenSeen) {
    EXPECT_NE(runWithInput("password\n", askForThePassword).unread, "password\n");
    if (!hasPseudoTerminals()) {
        GTEST_SKIP() << "this machine has no pseudo-terminals";
    }
    TerminalUse const atTerminal = runAtTerminal(askForThePassword);
    EXPECT_FALSE(atTerminal.finished);
    EXPECT_EQ(atTerminal.written, "Enter PEM pass phrase:");
}

/// Throws unless each of `readers` refuses the key with exactly `Refusal` and `text`. They get the key as a stream.
template <class Refusal, class... Readers>
void mustRefuse(char const* text, std::string const& encoded, Readers&&... readers) {
    auto const refuse = [&](auto&& read) {
        if (!throwsExactly<Refusal>(text, false, [&] {
                std::istringstream stream(encoded);
                read(stream);
            })) {
            throw std::logic_error("the key was not refused in the reader's words");
        }
    };
    (refuse(readers), ...);
}

/// No password, and passwords that do not open a key.
inline std::string const uselessPasswords[] = {"", "wrong", std::string(1, '\0')};

} // namespace support

#endif
