#include "support/Check.h"

#include <cstdio>
#include <cstdlib>
#include <string>

namespace fuzz {

namespace {

[[noreturn]] void fail(const std::string& text)
{
    std::fprintf(stderr, "does not hold: %s\n", text.c_str());
    std::abort();
}

} // namespace

void check(bool holds, std::string_view what)
{
    if (!holds) {
        fail(std::string(what));
    }
}

void checkSame(std::string_view expected, std::string_view found, std::string_view what)
{
    if (expected != found) {
        fail(std::string(what) + "\n--- expected\n" + std::string(expected) + "\n--- found\n" + std::string(found));
    }
}

} // namespace fuzz
