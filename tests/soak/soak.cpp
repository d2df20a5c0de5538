// soak MAILS SECONDS: sends that many mails, for up to that long, through one process: on threads'
// own time and in the background, in parallel, with refusals, broken connections and cancellations
// mixed in. Ends in 0 if as many mails arrived as were accepted, and descriptors and threads are
// where they were, and memory has hardly grown since the first thousand.

#include <unistd.h>

#include <atomic>
#include <chrono>
#include <cstdio>
#include <random>

#include "tests/support/host_tools.h"
#include "tests/support/resources.h"

namespace SMTPClientNS {
namespace {

constexpr std::size_t ThreadCount = 4;
constexpr std::size_t BatchSize = 5;
constexpr std::size_t BatchesInARound = 50;
constexpr std::size_t MailsInARound = ThreadCount * BatchesInARound * BatchSize;
/// What a sanitizer keeps of freed memory is no leak of ours.
constexpr long GrowthLimitKiB = TESTS_SANITIZED ? 1048576 : 4096;

std::atomic<std::size_t> arrivedMails{0};
std::atomic<std::size_t> acceptedMails{0};

long MemoryKiB() {
    long size = 0;
    long residentPages = 0;
    std::ifstream("/proc/self/statm") >> size >> residentPages;
    return residentPages * (::sysconf(_SC_PAGESIZE) / 1024);
}

void End(std::int32_t code) {
    acceptedMails += code == ResultSuccess ? 1 : 0;
}

/// One thread's share of a round, with a server of its own.
void SendShare(std::size_t seed) {
    std::minstd_rand random(static_cast<unsigned int>(seed));
    CSender sender;
    auto &[server, sink, message, client] = sender;
    sink.act = [](std::int32_t, std::int32_t code) { End(code); };
    std::size_t reports = 0;
    for (std::size_t batch = 0; batch < BatchesInARound; ++batch) {
        const bool inBackground = random() % 2 == 0;
        std::int32_t lastTask = 0;
        for (std::size_t number = 0; number < BatchSize; ++number) {
            server.At("RCPT", random() % 10 == 0 ? "550 no such user\r\n" : "250 ok\r\n");
            server.At("DATA", random() % 10 == 0 ? CSmtpServer::Reset : "354 go\r\n");
            if (inBackground) {
                lastTask = client->SendAsync();
            } else {
                End(client->Send());
            }
        }
        if (inBackground) {
            reports += BatchSize - (client->CancelAsync(lastTask) == 1 ? 1 : 0);
        }
        sink.WaitForReports(reports);
    }
    arrivedMails += server.Mails().size();
}

bool Check(const char *what, bool holds) {
    std::printf("%-45s %s\n", what, holds ? "yes" : "NO");
    return holds;
}

bool Soak(std::size_t limit, std::chrono::seconds time) {
    if (std::freopen("/dev/null", "w", stderr) == nullptr) {  // libcurl's texts of every Send
        return false;
    }
    std::thread([] { MakeClient()->Send(); }).join();
    const auto resources = Resources();  // Whatever the process makes once is made by now.
    const auto start = std::chrono::steady_clock::now();
    std::chrono::duration<double> passed(0);
    long memory = 0;
    long warmMemory = 0;
    for (std::size_t mails = 0; mails < limit && passed < time;) {
        std::vector<std::thread> threads;
        for (std::size_t number = 1; number <= ThreadCount; ++number) {
            threads.emplace_back(SendShare, mails + number);
        }
        for (std::thread &thread : threads) {
            thread.join();
        }
        mails += MailsInARound;
        passed = std::chrono::steady_clock::now() - start;
        memory = MemoryKiB();
        warmMemory = warmMemory == 0 ? memory : warmMemory;
        std::printf("%zu mails, %.0f a second, %ld KiB\n", mails,
                    static_cast<double>(mails) / passed.count(), memory);
        std::fflush(stdout);
    }
    const bool hasArrived =
        Check("as many mails there as were accepted", arrivedMails == acceptedMails);
    const bool isFlat = Check("memory flat", memory - warmMemory < GrowthLimitKiB);
    return Check("descriptors and threads as at the start", ReturnTo(resources)) && hasArrived &&
           isFlat;
}

}  // namespace
}  // namespace SMTPClientNS

int main(int count, char **arguments) {
    if (count != 3) {
        std::fprintf(stderr, "soak MAILS SECONDS\n");
        return 2;
    }
    const std::chrono::seconds time(std::stol(arguments[2]));
    return SMTPClientNS::Soak(std::stoul(arguments[1]), time) ? 0 : 1;
}
