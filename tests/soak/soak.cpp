// soak MAILS SECONDS KIB: sends up to that many mails, for up to that long, through one process: on
// threads' own time and in the background, in parallel, with refusals, broken connections and
// cancellations mixed in. Ends in 0 if every accepted mail arrived exactly once, no other did, and
// descriptors and threads are where they were and memory has grown by less than KIB since the first
// thousand.

#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

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

constexpr int ThreadCount = 4;
constexpr int BatchSize = 5;
constexpr std::size_t WarmUpMails = 1000;

/// Shared with the process that the servers run in.
struct Board {
    std::atomic<int> acceptingPort, refusingPort, droppingPort;
    std::array<std::atomic<std::uint8_t>, 10'000'000> arrivals;  ///< By the mail's number.
};

std::atomic<std::size_t> nextMail{0};
std::atomic<std::size_t> endedMails{0};
std::atomic<bool> timeIsUp{false};

std::size_t NumberOf(const ReceivedMail &mail) {
    constexpr std::string_view head = "Subject: ";
    return std::stoul(mail.data.substr(mail.data.find(head) + head.size()));
}

[[noreturn]] void RunServers(Board &board, pid_t owner) {
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    CSmtpServer accepting;
    accepting.SetKeeper([&board](const ReceivedMail &mail) { ++board.arrivals[NumberOf(mail)]; });
    CSmtpServer refusing;
    refusing.SetKeeper([](const ReceivedMail &) {});
    refusing.At("RCPT", "550 no such user\r\n");
    CSmtpServer dropping;
    dropping.SetKeeper([](const ReceivedMail &) {});
    dropping.At("DATA", CSmtpServer::Reset);
    board.refusingPort = refusing.Port();
    board.droppingPort = dropping.Port();
    board.acceptingPort = accepting.Port();
    while (::getppid() == owner) {
        ::pause();
    }
    std::_Exit(0);
}

long Status(const std::string &field) {
    std::ifstream status("/proc/self/status");
    for (std::string line; std::getline(status, line);) {
        if (line.compare(0, field.size(), field) == 0) {
            return std::stol(line.substr(field.size() + 1));
        }
    }
    return -1;
}

std::ptrdiff_t DescriptorCount() {
    const std::filesystem::directory_iterator all("/proc/self/fd");
    return std::distance(begin(all), end(all));
}

/// One thread's sends, each mail's number in its subject.
class CSender {
public:
    /// acceptances counts, by the mail's number, how often a mail was said to be accepted.
    CSender(const Board &shared, std::vector<std::uint8_t> &acceptances, unsigned int seed)
        : board(shared), accepted(acceptances), random(seed) {
        client->SetCompletionSink(&sink);
        client->SetMessage(message.get());
    }

    void Run() {
        while (!timeIsUp) {
            const bool goesOn = random() % 2 == 0 ? SendOne() : SendBatch();
            if (!goesOn) {
                return;
            }
        }
    }

private:
    bool Next(std::size_t &number) {
        number = nextMail++;
        message->SetSubject(Wide(std::to_string(number)).c_str());
        const auto fate = random() % 10;
        client->SetPort(fate == 0   ? board.refusingPort.load()
                        : fate == 1 ? board.droppingPort.load()
                                    : board.acceptingPort.load());
        return number < accepted.size();
    }

    bool SendOne() {
        std::size_t number = 0;
        if (!Next(number)) {
            return false;
        }
        if (client->Send() == ResultSuccess) {
            ++accepted[number];
        }
        ++endedMails;
        return true;
    }

    bool SendBatch() {
        std::map<std::int32_t, std::size_t> numbers;
        std::size_t number = 0;
        bool goesOn = true;
        for (int i = 0; i < BatchSize && (goesOn = Next(number)); ++i) {
            numbers[client->SendAsync()] = number;
        }
        if (!numbers.empty() && client->CancelAsync(numbers.rbegin()->first) == 1) {
            numbers.erase(std::prev(numbers.end()));
            ++endedMails;
        }
        sink.reports.clear();
        sink.WaitForReports(numbers.size());
        for (const CRecordingSink::Report &report : sink.reports) {
            if (report.code == ResultSuccess) {
                ++accepted[numbers.at(report.taskId)];
            }
            ++endedMails;
        }
        return goesOn;
    }

    const Board &board;
    std::vector<std::uint8_t> &accepted;
    std::minstd_rand random;
    CRecordingSink sink;
    Message message = MakeSmallMessage();
    Client client = MakeClientFor(0);
};

bool Check(const char *what, bool holds) {
    std::printf("%-45s %s\n", what, holds ? "yes" : "NO");
    return holds;
}

int Soak(std::size_t limit, std::chrono::seconds time, long growthLimit) {
    auto &board = *static_cast<Board *>(
        ::mmap(nullptr, sizeof(Board), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0));
    const pid_t self = ::getpid();
    const pid_t servers = ::fork();
    if (servers == 0) {
        RunServers(board, self);
    }
    while (board.acceptingPort == 0) {
        std::this_thread::yield();
    }
    if (std::freopen("/dev/null", "w", stderr) == nullptr) {  // libcurl's texts of every Send
        return 1;
    }

    std::thread([&board] { MakeClientFor(board.acceptingPort)->Send(); }).join();
    // Whatever the process makes once is made by now.
    const std::ptrdiff_t descriptors = DescriptorCount();
    const long threads = Status("Threads:");
    std::vector<std::uint8_t> accepted(limit);
    std::vector<std::unique_ptr<CSender>> senders;
    std::vector<std::thread> running;
    for (unsigned int i = 0; i < ThreadCount; ++i) {
        senders.push_back(std::make_unique<CSender>(board, accepted, i + 1));
    }
    const auto start = std::chrono::steady_clock::now();
    std::atomic<int> left{ThreadCount};
    for (auto &sender : senders) {
        running.emplace_back([&left, &sender] {
            sender->Run();
            --left;
        });
    }
    long warmMemory = 0;
    while (left > 0) {
        const std::chrono::duration<double> passed = std::chrono::steady_clock::now() - start;
        timeIsUp = passed > time;
        if (warmMemory == 0 && endedMails >= WarmUpMails) {
            warmMemory = Status("VmRSS:");
        }
        std::printf("\r%zu mails, %.0f a second, %ld KiB, %td descriptors, %ld threads   ",
                    endedMails.load(), static_cast<double>(endedMails) / passed.count(),
                    Status("VmRSS:"), DescriptorCount(), Status("Threads:"));
        std::fflush(stdout);
        std::this_thread::sleep_for(std::chrono::milliseconds(200));
    }
    std::printf("\n");
    for (std::thread &thread : running) {
        thread.join();
    }
    const long memory = Status("VmRSS:");
    senders.clear();
    const bool arrived = std::equal(accepted.begin(), accepted.end(), board.arrivals.begin());
    std::printf("%zu mails ended, %td accepted, memory %ld KiB after %zu, %ld KiB at the end\n",
                endedMails.load(), std::count(accepted.begin(), accepted.end(), 1), warmMemory,
                WarmUpMails, memory);
    const bool checks[] = {
        Check("every accepted mail there once, no other", arrived),
        Check("memory flat", memory - warmMemory < growthLimit),
        Check("descriptors as at the start", DescriptorCount() == descriptors),
        Check("threads as at the start", Status("Threads:") == threads),
    };
    ::kill(servers, SIGKILL);
    ::waitpid(servers, nullptr, 0);
    return std::all_of(std::begin(checks), std::end(checks), [](bool holds) { return holds; }) ? 0
                                                                                               : 1;
}

}  // namespace
}  // namespace SMTPClientNS

int main(int count, char **arguments) {
    if (count != 4 || std::stoul(arguments[1]) > sizeof(SMTPClientNS::Board::arrivals)) {
        std::fprintf(stderr, "soak MAILS SECONDS KIB\n");
        return 2;
    }
    return SMTPClientNS::Soak(std::stoul(arguments[1]),
                              std::chrono::seconds(std::stol(arguments[2])),
                              std::stol(arguments[3]));
}
