#include "bench/measure.h"

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <string>

namespace {

/// VmHWM: the most memory that was ever resident, in bytes. A fork starts it afresh.
std::uint64_t PeakMemory() {
    std::ifstream status("/proc/self/status");
    for (std::string word; status >> word;) {
        if (word == "VmHWM:") {
            std::uint64_t kibibytes = 0;
            status >> kibibytes;
            return kibibytes * 1024;
        }
    }
    return 0;
}

double Seconds(const timeval &time) {
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) / 1e6;
}

double ProcessorSeconds() {
    rusage usage = {};
    ::getrusage(RUSAGE_SELF, &usage);
    return Seconds(usage.ru_utime) + Seconds(usage.ru_stime);
}

[[noreturn]] void WorkInChild(const std::function<std::uint64_t()> &work, int report) {
    ::dup2(::open("/dev/null", O_WRONLY | O_CLOEXEC), STDERR_FILENO);
    const std::uint64_t memoryBefore = PeakMemory();
    const double processorBefore = ProcessorSeconds();
    const auto start = std::chrono::steady_clock::now();
    Cost cost = {};
    cost.result = work();
    cost.seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    cost.processorSeconds = ProcessorSeconds() - processorBefore;
    cost.peakMemory = PeakMemory() - memoryBefore;
    const bool told = ::write(report, &cost, sizeof cost) == sizeof cost;
    ::_exit(told ? EXIT_SUCCESS : EXIT_FAILURE);
}

}  // namespace

Cost MeasureInChild(const std::function<std::uint64_t()> &work) {
    std::array<int, 2> ends = {};
    if (::pipe2(ends.data(), O_CLOEXEC) != 0) {
        std::perror("pipe");
        std::exit(EXIT_FAILURE);
    }
    std::fflush(stdout);
    const pid_t child = ::fork();
    if (child == 0) {
        WorkInChild(work, ends[1]);
    }
    ::close(ends[1]);
    Cost cost = {};
    const bool told = ::read(ends[0], &cost, sizeof cost) == sizeof cost;
    ::close(ends[0]);
    ::waitpid(child, nullptr, 0);
    if (!told || cost.result == 0) {
        std::fputs("A transfer has failed.\n", stderr);
        std::exit(EXIT_FAILURE);
    }
    return cost;
}

double Median(std::vector<double> values) {
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}
