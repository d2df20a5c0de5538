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

constexpr unsigned int ThreadCount = 4;
constexpr int BatchSize = 5;
constexpr std::size_t WarmUpMails = 1000;
/// What a sanitizer keeps of freed memory is no leak of ours.
constexpr long GrowthLimitKiB = TESTS_SANITIZED ? 1048576 : 4096;

/// Shared with the process that the servers run in.
struct Board {
    std::array<std::atomic<int>, 3> ports;                       ///< Accepting, refusing, dropping.
    std::array<std::atomic<std::uint8_t>, 10'000'000> arrivals;  ///< By the mail's number.
};

std::atomic<std::size_t> nextMail{0};
std::atomic<std::size_t> endedMails{0};
std::atomic<bool> timeIsUp{false};

[[noreturn]] void RunServers(Board &board, pid_t owner) {
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    std::array<CSmtpServer, 3> servers;
    for (CSmtpServer &server : servers) {
        server.SetKeeper([&board](const ReceivedMail &mail) {
            constexpr std::string_view head = "Subject: ";
            ++board.arrivals[std::stoul(mail.data.substr(mail.data.find(head) + head.size()))];
        });
    }
    servers[1].At("RCPT", "550 no such user\r\n");
    servers[2].At("DATA", CSmtpServer::Reset);
    for (const std::size_t i : {2U, 1U, 0U}) {
        board.ports[i] = servers[i].Port();
    }
    while (::getppid() == owner) {
        ::pause();
    }
    std::_Exit(0);
}

long MemoryKiB() {
    long size = 0;
    long residentPages = 0;
    std::ifstream("/proc/self/statm") >> size >> residentPages;
    return residentPages * (::sysconf(_SC_PAGESIZE) / 1024);
}

/// One thread's sends, each mail's number in its subject. acceptances counts, by that number, how
/// often a mail was said to be accepted.
void SendMany(const Board &board, std::vector<std::uint8_t> &acceptances, unsigned int seed) {
    std::minstd_rand random(seed);
    CRecordingSink sink;
    const Message message = MakeSmallMessage();
    const Client client = MakeClientFor(0);
    client->SetCompletionSink(&sink);
    client->SetMessage(message.get());
    const auto end = [&](std::size_t number, std::int32_t code) {
        if (code == ResultSuccess) {
            ++acceptances[number];
        }
        ++endedMails;
    };
    std::map<std::int32_t, std::size_t> numbers;  // By the task's id.
    sink.act = [&](std::int32_t taskId, std::int32_t code) { end(numbers.at(taskId), code); };
    while (!timeIsUp) {
        const bool isBatch = random() % 2 == 0;
        numbers.clear();
        for (int i = 0; i < (isBatch ? BatchSize : 1); ++i) {
            const std::size_t number = nextMail++;
            if (number >= acceptances.size()) {
                timeIsUp = true;
                break;
            }
            message->SetSubject(Wide(std::to_string(number)).c_str());
            const auto fate = random() % 10;
            client->SetPort(board.ports[fate < 3 ? fate : 0]);
            if (isBatch) {
                numbers[client->SendAsync()] = number;
            } else {
                end(number, client->Send());
            }
        }
        if (!numbers.empty() && client->CancelAsync(numbers.rbegin()->first) == 1) {
            numbers.erase(std::prev(numbers.end()));
            ++endedMails;
        }
        sink.told.clear();
        sink.reports = 0;
        sink.WaitForReports(numbers.size());
    }
}

bool Check(const char *what, bool holds) {
    std::printf("%-45s %s\n", what, holds ? "yes" : "NO");
    return holds;
}

bool Soak(std::size_t limit, std::chrono::seconds time) {
    auto &board = *static_cast<Board *>(
        ::mmap(nullptr, sizeof(Board), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0));
    const pid_t self = ::getpid();
    const pid_t servers = ::fork();
    if (servers == 0) {
        RunServers(board, self);
    }
    while (board.ports[0] == 0) {
        std::this_thread::yield();
    }
    if (std::freopen("/dev/null", "w", stderr) == nullptr) {  // libcurl's texts of every Send
        return false;
    }
    std::thread([&board] { MakeClientFor(board.ports[0])->Send(); }).join();
    const auto resources = Resources();  // Whatever the process makes once is made by now.

    std::vector<std::uint8_t> accepted(limit);
    std::vector<std::thread> running;
    std::atomic<unsigned int> left{ThreadCount};
    const auto start = std::chrono::steady_clock::now();
    for (unsigned int seed = 1; seed <= ThreadCount; ++seed) {
        running.emplace_back([&, seed] {
            SendMany(board, accepted, seed);
            --left;
        });
    }
    long warmMemory = 0;
    long memory = 0;
    while (left > 0) {
        const std::chrono::duration<double> passed = std::chrono::steady_clock::now() - start;
        timeIsUp = timeIsUp || passed > time;
        memory = MemoryKiB();
        warmMemory = warmMemory == 0 && endedMails >= WarmUpMails ? memory : warmMemory;
        const auto [threads, descriptors] = Resources();
        std::printf("\r%zu mails, %.0f a second, %ld KiB, %td descriptors, %td threads   ",
                    endedMails.load(), static_cast<double>(endedMails) / passed.count(), memory,
                    descriptors, threads);
        std::fflush(stdout);
        std::this_thread::sleep_for(std::chrono::milliseconds(200));
    }
    for (std::thread &thread : running) {
        thread.join();
    }
    const bool arrived = std::equal(accepted.begin(), accepted.end(), board.arrivals.begin());
    std::printf("\n%zu mails ended, %td accepted, memory %ld KiB after %zu, %ld KiB at the end\n",
                endedMails.load(), std::count(accepted.begin(), accepted.end(), 1), warmMemory,
                WarmUpMails, memory);
    const bool checks[] = {
        Check("every accepted mail there once, no other", arrived),
        Check("memory flat", memory - warmMemory < GrowthLimitKiB),
        Check("descriptors and threads as at the start", ReturnTo(resources)),
    };
    ::kill(servers, SIGKILL);
    ::waitpid(servers, nullptr, 0);
    return std::count(std::begin(checks), std::end(checks), false) == 0;
}

}  // namespace
}  // namespace SMTPClientNS

int main(int count, char **arguments) {
    if (count != 3 || std::stoul(arguments[1]) > sizeof(SMTPClientNS::Board::arrivals)) {
        std::fprintf(stderr, "soak MAILS SECONDS\n");
        return 2;
    }
    const std::chrono::seconds time(std::stol(arguments[2]));
    return SMTPClientNS::Soak(std::stoul(arguments[1]), time) ? 0 : 1;
}
