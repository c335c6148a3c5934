#include "records/Intervals.h"

Intervals& Intervals::current()
{
    static Intervals intervals;
    return intervals;
}
