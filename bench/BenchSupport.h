#pragma once

// Small helpers shared by the benchmarks: timing, CPU time and percentiles.

#include <algorithm>
#include <chrono>
#include <ctime>
#include <vector>

namespace veilora::bench {

inline double processCpuSeconds()
{
    timespec t{};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &t);
    return double(t.tv_sec) + double(t.tv_nsec) / 1e9;
}

inline double wallSeconds()
{
    return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
}

struct Figures
{
    double median = 0;
    double p95 = 0;
};

inline Figures figures(std::vector<double> values)
{
    if (values.empty())
        return {};
    std::sort(values.begin(), values.end());
    const auto at = [&](double q) {
        return values[std::min(values.size() - 1, size_t(q * double(values.size())))];
    };
    return {at(0.5), at(0.95)};
}

} // namespace veilora::bench
