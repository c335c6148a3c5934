#include "support/Fuzzing.h"

#include <cstdio>
#include <cstdlib>

void require(bool holds, const char* invariant)
{
    if (!holds) {
        std::fprintf(stderr, "does not hold: %s\n", invariant);
        std::abort();
    }
}

// What the leak sanitizer overlooks: fontconfig keeps what it has found until the program ends.
extern "C" Q_DECL_EXPORT const char* __lsan_default_suppressions()
{
    return "leak:libfontconfig\n";
}
