#ifndef BENCH_MEASURE_H
#define BENCH_MEASURE_H

#include <cstdint>
#include <functional>
#include <vector>

/// What a piece of work cost a process that did nothing else.
struct Cost {
    double seconds;
    double processorSeconds;   ///< Of all its threads, in user and kernel.
    std::uint64_t peakMemory;  ///< By how many bytes its largest resident size grew.
    std::uint64_t result;      ///< What the work gave.
};

/// Runs work in a child of its own. Work gives 0 for a failure, which ends the benchmark. The
/// child's standard error stream is discarded.
Cost MeasureInChild(const std::function<std::uint64_t()> &work);

double Median(std::vector<double> values);

#endif  // BENCH_MEASURE_H
