#include "support/Fuzzing.h"

void require(bool holds, const char* invariant)
{
    if (!holds) {
        qFatal("does not hold: %s", invariant);
    }
}

// What the leak sanitizer overlooks: fontconfig keeps what it has found until the program ends.
extern "C" Q_DECL_EXPORT const char* __lsan_default_suppressions()
{
    return "leak:libfontconfig\n";
}
