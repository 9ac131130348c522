#ifndef ZRFL_TESTS_SUPPORT_TERMINAL_H
#define ZRFL_TESTS_SUPPORT_TERMINAL_H

#include <functional>
#include <string>

namespace support {

/// What a piece of work did with the terminal it ran on, or with the standard input it was left.
struct TerminalUse {
    bool finished;       ///< Whether it came to its end by itself; otherwise it waited for input and was stopped.
    std::string written; ///< What it wrote on its controlling terminal.
    std::string unread;  ///< What it left of its standard input.
};

/// Whether this machine has pseudo-terminals, which a container may lack.
bool hasPseudoTerminals();

/// Runs `work` in a process of its own whose controlling terminal and standard input is a new pseudo-terminal, at which
/// nobody types.
TerminalUse runAtTerminal(std::function<void()> const& work);

/// Runs `work` in a process of its own that has no terminal, and `input` on its standard input.
TerminalUse runWithInput(std::string const& input, std::function<void()> const& work);

} // namespace support

#endif
