#pragma once

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstddef>
#include <ctime>
#include <vector>

namespace Oxa::Benchmarks
{

/// Processor time, so that other programs do not count.
inline double GetThreadSeconds()
{
    timespec time = {};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
}

template <class TOperation>
double MeasureSeconds(const TOperation& operation)
{
    const double start = GetThreadSeconds();
    for (int round = 0; round < 200; ++round)
    {
        operation();
    }
    return GetThreadSeconds() - start;
}

/// Sets the counter "ratio" to the median ratio of an operation to its floor, the bare work for the same result. Both
/// run in turns, so that other load on the machine affects them equally.
template <class TOperation, class TFloor>
void CompareWithFloor(benchmark::State& state, const TOperation& operation, const TFloor& floor)
{
    std::vector<double> ratios;
    for ([[maybe_unused]] auto iteration : state)
    {
        const double seconds = MeasureSeconds(operation);
        ratios.push_back(seconds / MeasureSeconds(floor));
    }
    const auto middle = ratios.begin() + static_cast<std::ptrdiff_t>(ratios.size() / 2);
    std::nth_element(ratios.begin(), middle, ratios.end());
    state.counters["ratio"] = *middle;
}

} // namespace Oxa::Benchmarks
