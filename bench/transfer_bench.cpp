// Sends one large attachment in four ways to a server that throws it away, in turns, and compares
// the library with bare libcurl: only ratios within one run say something, whatever the machine.

#include <stdlib.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <random>
#include <string>
#include <vector>

#include "bench/measure.h"
#include "bench/sink_server.h"
#include "bench/transfers.h"

namespace {

constexpr double Mebi = 1024.0 * 1024.0;

enum Way : std::size_t { BareCurl, CountingTrace, WithLogFile, InBackground, WayCount };
constexpr std::array<const char *, WayCount> WayNames = {"a  bare libcurl",
                                                         "b  bare libcurl, counting trace",
                                                         "c  Send with a log file", "d  SendAsync"};

using Costs = std::array<std::vector<Cost>, WayCount>;

/// The attachment and the log, in a folder that goes with them.
class CScratchFolder {
public:
    CScratchFolder() {
        std::string pattern = std::filesystem::temp_directory_path() / "smtpclient-bench-XXXXXX";
        const char *const made = ::mkdtemp(pattern.data());
        if (made == nullptr) {
            std::perror("temporary folder");
            std::exit(EXIT_FAILURE);
        }
        path = made;
    }
    ~CScratchFolder() { std::filesystem::remove_all(path); }
    CScratchFolder(const CScratchFolder &) = delete;
    CScratchFolder &operator=(const CScratchFolder &) = delete;

    std::string PathOf(const char *name) const { return path / name; }

private:
    std::filesystem::path path;
};

void WriteNoise(const std::string &path, std::size_t mebibytes) {
    std::mt19937_64 noise(1);
    std::vector<std::uint64_t> block((std::size_t{1} << 20U) / sizeof(std::uint64_t));
    std::ofstream file(path, std::ios::binary);
    for (; mebibytes > 0; --mebibytes) {
        for (std::uint64_t &word : block) {
            word = noise();
        }
        file.write(reinterpret_cast<const char *>(block.data()), 1 << 20);
    }
}

std::uint64_t SendOnce(Way way, const MailToSend &mail) {
    std::uint64_t wireBytes = 1;
    switch (way) {
        case BareCurl:
            return SendWithBareCurl(mail) ? 1 : 0;
        case CountingTrace:
            return SendWithCountingTrace(mail, wireBytes) ? wireBytes : 0;
        case WithLogFile:
            return SendWithLogFile(mail) ? 1 : 0;
        default:
            return SendInBackground(mail) ? 1 : 0;
    }
}

double MedianOf(const std::vector<Cost> &costs, double (*value)(const Cost &)) {
    std::vector<double> values;
    for (const Cost &cost : costs) {
        values.push_back(value(cost));
    }
    return Median(values);
}

/// How fast fast is beside base: the median over the rounds of the ratio within a round.
double RateRatio(const std::vector<Cost> &fast, const std::vector<Cost> &base,
                 double Cost::*seconds) {
    std::vector<double> ratios;
    for (std::size_t round = 0; round < fast.size(); ++round) {
        ratios.push_back(base[round].*seconds / (fast[round].*seconds));
    }
    return Median(ratios);
}

double PeakMebibytes(const Cost &cost) {
    return static_cast<double>(cost.peakMemory) / Mebi;
}

void ShowWays(const Costs &costs, double wireMebibytes) {
    std::printf("%-34s%9s%9s%9s%11s\n", "", "seconds", "cpu s", "MiB/s", "peak MiB");
    for (std::size_t way = 0; way < WayCount; ++way) {
        const double seconds = MedianOf(costs[way], [](const Cost &cost) { return cost.seconds; });
        const double processor =
            MedianOf(costs[way], [](const Cost &cost) { return cost.processorSeconds; });
        std::printf("%-34s%9.2f%9.2f%9.1f%11.1f\n", WayNames[way], seconds, processor,
                    wireMebibytes / seconds, MedianOf(costs[way], PeakMebibytes));
    }
}

bool ShowTarget(const char *what, double reached, const char *relation, double wanted, bool met) {
    std::printf("%-46s%9.2f  wanted %s %.2f: %s\n", what, reached, relation, wanted,
                met ? "met" : "MISSED");
    return met;
}

bool ShowTargets(const Costs &costs, double wireMebibytes) {
    const auto atLeast = [](const char *what, double reached, double wanted) {
        return ShowTarget(what, reached, ">=", wanted, reached >= wanted);
    };
    const auto below = [](const char *what, double reached, double wanted) {
        return ShowTarget(what, reached, "<", wanted, reached < wanted);
    };
    bool met = atLeast("rate of c in that of b",
                       RateRatio(costs[WithLogFile], costs[CountingTrace], &Cost::seconds), 0.8);
    met &= atLeast("rate of d in that of a",
                   RateRatio(costs[InBackground], costs[BareCurl], &Cost::seconds), 0.95);
    met &= below("peak memory of c in bytes on the wire",
                 MedianOf(costs[WithLogFile], PeakMebibytes) / wireMebibytes, 1.25);
    met &= below("peak memory of d, MiB", MedianOf(costs[InBackground], PeakMebibytes), 32);
    std::printf("By processor time, which other load disturbs less: c in b %.2f, d in a %.2f\n",
                RateRatio(costs[WithLogFile], costs[CountingTrace], &Cost::processorSeconds),
                RateRatio(costs[InBackground], costs[BareCurl], &Cost::processorSeconds));
    return met;
}

}  // namespace

int main(int argc, char **argv) {
    const std::size_t mebibytes = argc > 1 ? std::strtoul(argv[1], nullptr, 10) : 256;
    const std::size_t rounds = argc > 2 ? std::strtoul(argv[2], nullptr, 10) : 5;
    if (argc > 3 || mebibytes == 0 || rounds == 0) {
        std::fprintf(stderr, "Usage: %s [MEBIBYTES [ROUNDS]]\n", argv[0]);
        return EXIT_FAILURE;
    }
    const CSinkServer server;
    const CScratchFolder folder;
    const MailToSend mail = {server.Port(), folder.PathOf("attachment"), folder.PathOf("log")};
    WriteNoise(mail.attachment, mebibytes);
    Costs costs;
    for (std::size_t round = 0; round < rounds; ++round) {
        for (std::size_t way = 0; way < WayCount; ++way) {
            costs[way].push_back(
                MeasureInChild([&] { return SendOnce(static_cast<Way>(way), mail); }));
        }
    }
    const double wireMebibytes = static_cast<double>(costs[CountingTrace].front().result) / Mebi;
    std::printf("An attachment of %zu MiB, %.1f MiB on the wire, medians of %zu rounds\n\n",
                mebibytes, wireMebibytes, rounds);
    ShowWays(costs, wireMebibytes);
    std::printf("\n");
    return ShowTargets(costs, wireMebibytes) ? EXIT_SUCCESS : EXIT_FAILURE;
}
