// soak MAILS SECONDS: sends up to that many mails, for up to that long, through one process: on
// threads' own time and in the background, in parallel, with refusals, broken connections and
// cancellations mixed in. Ends in 0 if every accepted mail arrived exactly once, no other did, and
// descriptors and threads are where they were and memory has hardly grown since the first thousand.

#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <map>
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

/// Where the mails go, and what has arrived there.
struct Servers {
    explicit Servers(std::size_t mails) : arrivals(mails) {
        refusing.At("RCPT", "550 no such user\r\n");
        dropping.At("DATA", CSmtpServer::Reset);
    }

    void Keep(const ReceivedMail &mail) {
        constexpr std::string_view head = "Subject: ";
        ++arrivals.at(std::stoul(mail.data.substr(mail.data.find(head) + head.size())));
    }

    std::vector<std::atomic<int>> arrivals;  ///< By the mail's number.
    const CSmtpServer::Keeper keeper = [this](const ReceivedMail &mail) { Keep(mail); };
    CSmtpServer accepting{keeper};
    CSmtpServer refusing{keeper};
    CSmtpServer dropping{keeper};
    const std::array<int, 3> ports = {accepting.Port(), refusing.Port(), dropping.Port()};
};

std::atomic<std::size_t> endedMails{0};
std::atomic<bool> isOver{false};

long MemoryKiB() {
    long size = 0;
    long residentPages = 0;
    std::ifstream("/proc/self/statm") >> size >> residentPages;
    return residentPages * (::sysconf(_SC_PAGESIZE) / 1024);
}

/// One thread's share of the sends, each mail's number in its subject. acceptances counts, by that
/// number, how often a mail was said to be accepted.
void SendShare(std::size_t share, const Servers &servers, std::vector<int> &acceptances) {
    std::minstd_rand random(static_cast<unsigned int>(share + 1));
    const Message message = MakeSmallMessage();
    const Client client = MakeClientFor(0);
    client->SetMessage(message.get());
    const auto end = [&acceptances](std::size_t number, std::int32_t code) {
        acceptances[number] += code == ResultSuccess ? 1 : 0;
        ++endedMails;
    };
    for (std::size_t first = share * BatchSize; first < acceptances.size() && !isOver;
         first += ThreadCount * BatchSize) {
        CRecordingSink sink;
        client->SetCompletionSink(&sink);
        std::map<std::int32_t, std::size_t> numbers;  // By the task's id.
        sink.act = [&](std::int32_t taskId, std::int32_t code) { end(numbers.at(taskId), code); };
        const bool inBackground = random() % 2 == 0;
        for (std::size_t number = first; number < first + BatchSize; ++number) {
            message->SetSubject(Wide(std::to_string(number)).c_str());
            const auto fate = random() % 10;
            client->SetPort(servers.ports[fate < 3 ? fate : 0]);
            if (inBackground) {
                numbers[client->SendAsync()] = number;
            } else {
                end(number, client->Send());
            }
        }
        if (inBackground && client->CancelAsync(numbers.rbegin()->first) == 1) {
            numbers.erase(std::prev(numbers.end()));
            ++endedMails;
        }
        sink.WaitForReports(numbers.size());
    }
}

bool Check(const char *what, bool holds) {
    std::printf("%-45s %s\n", what, holds ? "yes" : "NO");
    return holds;
}

bool Soak(std::size_t limit, std::chrono::seconds time) {
    Servers servers(limit - limit % BatchSize);
    if (std::freopen("/dev/null", "w", stderr) == nullptr) {  // libcurl's texts of every Send
        return false;
    }
    std::thread([] { MakeClient()->Send(); }).join();
    const auto resources = Resources();  // Whatever the process makes once is made by now.

    std::vector<int> accepted(servers.arrivals.size());
    std::vector<std::thread> running;
    const auto start = std::chrono::steady_clock::now();
    for (std::size_t share = 0; share < ThreadCount; ++share) {
        running.emplace_back([&, share] { SendShare(share, servers, accepted); });
    }
    long warmMemory = 0;
    long memory = 0;
    while (!isOver) {
        std::this_thread::sleep_for(std::chrono::milliseconds(200));
        const std::chrono::duration<double> passed = std::chrono::steady_clock::now() - start;
        isOver = passed > time || endedMails == accepted.size();
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
    std::printf("\n%zu mails ended, %td accepted, memory %ld KiB at the end\n", endedMails.load(),
                std::count(accepted.begin(), accepted.end(), 1), memory);
    const bool arrived = std::equal(accepted.begin(), accepted.end(), servers.arrivals.begin());
    bool good = Check("every accepted mail there once, no other", arrived);
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
