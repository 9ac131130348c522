#ifndef ZRFL_TESTS_ABI_THROWER_H
#define ZRFL_TESTS_ABI_THROWER_H

#include <string>

/// Throws the exception class of this name with `text`, from a shared library other than the one that catches it.
[[gnu::visibility("default")]] void throwByName(std::string const& name, std::string const& text);

#endif
