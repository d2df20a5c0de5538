#include <gtest/gtest.h>
#include <unistd.h>

#include <atomic>
#include <random>

#include "tests/support/host_tools.h"
#include "tests/support/resources.h"

namespace SMTPClientNS {
namespace {

constexpr std::size_t ThreadCount = 4;
constexpr std::size_t BatchSize = 5;
constexpr std::size_t BatchesOfAThread = 50;
/// What a sanitizer keeps of freed memory is no leak of ours.
constexpr long GrowthLimitKiB = TESTS_SANITIZED ? 1048576 : 4096;

std::atomic<std::size_t> arrivedMails{0};
std::atomic<std::size_t> acceptedMails{0};

void CountAccepted(std::int32_t code) {
    acceptedMails += code == ResultSuccess ? 1 : 0;
}

long MemoryKiB() {
    long size = 0;
    long residentPages = 0;
    std::ifstream("/proc/self/statm") >> size >> residentPages;
    return residentPages * (::sysconf(_SC_PAGESIZE) / 1024);
}

/// One thread's share: mails sent directly and in the background, with refusals, broken connections
/// and cancellations mixed in.
void SendShare(std::size_t seed) {
    std::minstd_rand random(static_cast<unsigned int>(seed));
    CSender sender;
    auto &[server, sink, message, client] = sender;
    sink.act = [](std::int32_t, std::int32_t code) { CountAccepted(code); };
    std::size_t reports = 0;
    for (std::size_t batch = 0; batch < BatchesOfAThread; ++batch) {
        const bool inBackground = random() % 2 == 0;
        std::int32_t lastTask = 0;
        for (std::size_t number = 0; number < BatchSize; ++number) {
            server.At("RCPT", random() % 10 == 0 ? "550 no such user\r\n" : "250 ok\r\n");
            server.At("DATA", random() % 10 == 0 ? CSmtpServer::Reset : "354 go\r\n");
            if (inBackground) {
                lastTask = client->SendAsync();
            } else {
                CountAccepted(client->Send());
            }
        }
        if (inBackground) {
            reports += BatchSize - (client->CancelAsync(lastTask) == 1 ? 1 : 0);
        }
        EXPECT_TRUE(sink.WaitForReports(reports));
    }
    arrivedMails += server.Mails().size();
}

/// A thousand mails.
void SendRound() {
    static std::size_t seed = 0;
    std::vector<std::thread> threads;
    for (std::size_t number = 0; number < ThreadCount; ++number) {
        threads.emplace_back(SendShare, ++seed);
    }
    for (std::thread &thread : threads) {
        thread.join();
    }
}

// Repeated in one process, it sends as many mails as one likes.
TEST(Soak, LosesNoMailAndHoldsNothing) {
    testing::internal::CaptureStderr();  // libcurl's texts of every Send
    std::thread([] { MakeClient()->Send(); }).join();
    const auto resources = Resources();  // Whatever the process makes once is made by now.
    SendRound();
    static const long warmMemory = MemoryKiB();
    SendRound();
    SendRound();
    testing::internal::GetCapturedStderr();
    EXPECT_EQ(arrivedMails, acceptedMails);
    EXPECT_TRUE(ReturnTo(resources));
    EXPECT_LT(MemoryKiB() - warmMemory, GrowthLimitKiB);
    std::printf("%zu mails accepted, %ld KiB\n", acceptedMails.load(), MemoryKiB());
}

}  // namespace
}  // namespace SMTPClientNS
