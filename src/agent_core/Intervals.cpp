#include "agent_core/Intervals.h"

Intervals& Intervals::current()
{
    static Intervals intervals;
    return intervals;
}
