// soak MAILS SECONDS: sends up to that many mails, for up to that long, through one process: on
// threads' own time and in the background, in parallel, with refusals, broken connections and
// cancellations mixed in. Ends in 0 if as many mails arrived as were accepted, and
// descriptors and threads are where they were and memory has hardly grown since the first thousand.

#include <unistd.h>

#include <array>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <random>

#include "tests/support/host_tools.h"
#include "tests/support/resources.h"
#include "tests/support/smtp_server.h"

namespace SMTPClientNS {
namespace {

constexpr std::size_t ThreadCount = 4;
constexpr std::size_t BatchSize = 5;
constexpr std::size_t WarmUpMails = 1000;
/// What a sanitizer keeps of freed memory is no leak of ours.
constexpr long GrowthLimitKiB = TESTS_SANITIZED ? 1048576 : 4096;

std::atomic<std::size_t> arrivedMails{0};
std::atomic<std::size_t> acceptedMails{0};
std::atomic<std::size_t> endedMails{0};
std::atomic<bool> isOver{false};

long MemoryKiB() {
    long size = 0;
    long residentPages = 0;
    std::ifstream("/proc/self/statm") >> size >> residentPages;
    return residentPages * (::sysconf(_SC_PAGESIZE) / 1024);
}

void End(std::int32_t code) {
    acceptedMails += code == ResultSuccess ? 1 : 0;
    ++endedMails;
}

/// One thread's share of the sends: most go to the first port.
void SendShare(unsigned int share, std::size_t count, const std::array<int, 3> &ports) {
    std::minstd_rand random(share + 1);
    const Message message = MakeSmallMessage();
    const Client client = MakeClientFor(0);
    client->SetMessage(message.get());
    CRecordingSink sink;
    sink.act = [](std::int32_t, std::int32_t code) { End(code); };
    client->SetCompletionSink(&sink);
    for (std::size_t sent = 0; sent < count && !isOver; sent += BatchSize) {
        const bool inBackground = random() % 2 == 0;
        std::int32_t lastTask = 0;
        std::size_t toReport = sink.reports;
        for (std::size_t number = 0; number < BatchSize; ++number) {
            const auto fate = random() % 10;
            client->SetPort(ports[fate < 3 ? fate : 0]);
            if (inBackground) {
                lastTask = client->SendAsync();
                ++toReport;
            } else {
                End(client->Send());
            }
        }
        if (inBackground && client->CancelAsync(lastTask) == 1) {
            --toReport;
            ++endedMails;
        }
        sink.WaitForReports(toReport);
        client->GetLogText();
    }
}

bool Check(const char *what, bool holds) {
    std::printf("%-45s %s\n", what, holds ? "yes" : "NO");
    return holds;
}

bool Soak(std::size_t limit, std::chrono::seconds time) {
    const auto count = [](const ReceivedMail &) { ++arrivedMails; };
    CSmtpServer accepting(count);
    CSmtpServer refusing(count);
    CSmtpServer dropping(count);
    refusing.At("RCPT", "550 no such user\r\n");
    dropping.At("DATA", CSmtpServer::Reset);
    const std::array<int, 3> ports = {accepting.Port(), refusing.Port(), dropping.Port()};
    const std::size_t shareSize = limit / ThreadCount / BatchSize * BatchSize;
    if (std::freopen("/dev/null", "w", stderr) == nullptr) {  // libcurl's texts of every Send
        return false;
    }
    std::thread([] { MakeClient()->Send(); }).join();
    const auto resources = Resources();  // Whatever the process makes once is made by now.

    std::vector<std::thread> running;
    const auto start = std::chrono::steady_clock::now();
    for (unsigned int share = 0; share < ThreadCount; ++share) {
        running.emplace_back([&, share] { SendShare(share, shareSize, ports); });
    }
    long warmMemory = 0;
    long memory = 0;
    while (!isOver) {
        std::this_thread::sleep_for(std::chrono::milliseconds(200));
        const std::chrono::duration<double> passed = std::chrono::steady_clock::now() - start;
        isOver = passed > time || endedMails == ThreadCount * shareSize;
        memory = MemoryKiB();
        warmMemory = warmMemory == 0 && endedMails >= WarmUpMails ? memory : warmMemory;
        const auto [threads, descriptors] = Resources();
        std::printf("\r%zu mails, %.0f a second, %ld KiB, %td descriptors, %td threads   ",
                    endedMails.load(), static_cast<double>(endedMails) / passed.count(), memory,
                    descriptors, threads);
        std::fflush(stdout);
    }
    for (std::thread &thread : running) {
        thread.join();
    }
    std::printf("\n%zu mails ended, %zu accepted, memory %ld KiB at the end\n", endedMails.load(),
                acceptedMails.load(), memory);
    bool good = Check("as many mails there as were accepted", arrivedMails == acceptedMails);
    if (warmMemory == 0) {
        std::printf("memory flat: not judged, for that takes %zu mails and more\n", WarmUpMails);
    } else {
        std::printf("memory %ld KiB after %zu mails\n", warmMemory, WarmUpMails);
        good &= Check("memory flat", memory - warmMemory < GrowthLimitKiB);
    }
    good &= Check("descriptors and threads as at the start", ReturnTo(resources));
    return good;
}

}  // namespace
}  // namespace SMTPClientNS

int main(int count, char **arguments) {
    using namespace SMTPClientNS;
    const std::size_t limit = count == 3 ? std::stoul(arguments[1]) : 0;
    if (limit == 0) {
        std::fprintf(stderr, "soak MAILS SECONDS\n");
        return 2;
    }
    return Soak(limit, std::chrono::seconds(std::stol(arguments[2]))) ? 0 : 1;
}
