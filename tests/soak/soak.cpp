// soak MAILS SECONDS: sends up to that many mails, for up to that long, through one process: on
// threads' own time and in the background, in parallel, with refusals, broken connections and
// cancellations mixed in. Ends in 0 if every accepted mail arrived exactly once, no other did, and
// descriptors and threads are where they were and memory has hardly grown since the first thousand.

#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <map>
#include <random>

#include "tests/support/host_tools.h"
#include "tests/support/smtp_server.h"

namespace SMTPClientNS {
namespace {

constexpr std::size_t ThreadCount = 4;
constexpr std::size_t BatchSize = 5;
constexpr std::size_t WarmUpMails = 1000;
/// What a sanitizer keeps of freed memory is no leak of ours.
constexpr long GrowthLimitKiB = TESTS_SANITIZED ? 1048576 : 4096;

/// Shared by the process that sends and the one that the servers run in.
struct Board {
    std::array<std::atomic<int>, 3> ports;                       ///< Accepting, refusing, dropping.
    std::array<std::atomic<std::uint8_t>, 10'000'000> arrivals;  ///< By the mail's number.
};

std::atomic<std::size_t> endedMails{0};
std::atomic<bool> isOver{false};

/// The servers' part: until the sending process ends, whose status it gives.
int Serve(Board &board, pid_t sender) {
    const auto keep = [&board](const ReceivedMail &mail) {
        constexpr std::string_view head = "Subject: ";
        ++board.arrivals.at(std::stoul(mail.data.substr(mail.data.find(head) + head.size())));
    };
    const CSmtpServer accepting(keep);
    CSmtpServer refusing(keep);
    CSmtpServer dropping(keep);
    refusing.At("RCPT", "550 no such user\r\n");
    dropping.At("DATA", CSmtpServer::Reset);
    board.ports[2] = dropping.Port();
    board.ports[1] = refusing.Port();
    board.ports[0] = accepting.Port();  // Last: the sender waits for it.
    int status = -1;
    ::waitpid(sender, &status, 0);
    return status;
}

long MemoryKiB() {
    long size = 0;
    long residentPages = 0;
    std::ifstream("/proc/self/statm") >> size >> residentPages;
    return residentPages * (::sysconf(_SC_PAGESIZE) / 1024);
}

/// One thread's share of the sends, each mail's number in its subject. acceptances counts, by that
/// number, how often a mail was said to be accepted.
void SendShare(std::size_t share, const Board &board, std::vector<int> &acceptances) {
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
            client->SetPort(board.ports[fate < 3 ? fate : 0]);
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

/// The sender's part.
bool Soak(const Board &board, std::size_t limit, std::chrono::seconds time) {
    while (board.ports[0] == 0) {
        std::this_thread::yield();
    }
    if (std::freopen("/dev/null", "w", stderr) == nullptr) {  // libcurl's texts of every Send
        return false;
    }
    std::thread([] { MakeClient()->Send(); }).join();
    const auto resources = Resources();  // Whatever the process makes once is made by now.

    std::vector<int> accepted(limit - limit % BatchSize);
    std::vector<std::thread> running;
    const auto start = std::chrono::steady_clock::now();
    for (std::size_t share = 0; share < ThreadCount; ++share) {
        running.emplace_back([&, share] { SendShare(share, board, accepted); });
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
    const bool arrived = std::equal(accepted.begin(), accepted.end(), board.arrivals.begin());
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
    if (limit == 0 || limit > sizeof(Board::arrivals)) {
        std::fprintf(stderr, "soak MAILS SECONDS\n");
        return 2;
    }
    auto &board = *static_cast<Board *>(
        ::mmap(nullptr, sizeof(Board), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0));
    const pid_t sender = ::fork();
    if (sender == 0) {
        ::prctl(PR_SET_PDEATHSIG, SIGKILL);
        return Soak(board, limit, std::chrono::seconds(std::stol(arguments[2]))) ? 0 : 1;
    }
    return Serve(board, sender) == 0 ? 0 : 1;
}
