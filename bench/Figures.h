#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdio>
#include <vector>

#include <ctime>

// What the benchmarks share: how they measure, and how they say it to bench/measure.
namespace Figures {

// What this thread has used of the processor, in milliseconds: waiting and other programs don't
// count.
inline double processorTime()
{
    timespec used = {};
    ::clock_gettime(CLOCK_THREAD_CPUTIME_ID, &used);
    return static_cast<double>(used.tv_sec) * 1e3 + static_cast<double>(used.tv_nsec) / 1e6;
}

template <typename Work>
double processorTimeOf(const Work& work)
{
    const double before = processorTime();
    work();
    return processorTime() - before;
}

inline double median(std::vector<double> values)
{
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

// A row of the table.
inline void show(const char* what, const std::vector<double>& values,
                 const std::vector<double>& references, const char* unit)
{
    std::printf("%s;%f;%f;%s\n", what, median(values), median(references), unit);
}

// A row without a reference.
inline void show(const char* what, double value, const char* unit)
{
    std::printf("%s;%f;;%s\n", what, value, unit);
}

} // namespace Figures
