#include "platform/first_use.h"

#include <gtest/gtest.h>
#include <pthread.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <thread>

namespace SMTPClientNS {
namespace {

std::atomic<bool> isForking{false};
std::atomic<bool> isInside{false};
std::atomic<bool> hasForked{false};

void WaitFor(const std::atomic<bool> &event) {
    while (!event) {
        std::this_thread::yield();
    }
}

TEST(FirstUse, IsOverBeforeAForkComes) {
    ::pthread_atfork([] { isForking = true; }, nullptr, nullptr);  // Runs ahead of the library's.
    std::thread initialising([] {
        {
            const CFirstUse firstUse;
            isInside = true;
            WaitFor(isForking);
            for (int step = 0; step < 1000; ++step) {
                std::this_thread::yield();
            }
            isInside = false;
        }
        // The thread sanitizer takes one that has ended for a leak of the child's.
        WaitFor(hasForked);
    });
    WaitFor(isInside);
    const pid_t child = ::fork();
    if (child == 0) {
        ::alarm(60);
        const CFirstUse again;
        ::_exit(isInside ? 1 : 0);
    }
    hasForked = true;
    int status = -1;
    EXPECT_EQ(::waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0);
    initialising.join();
}

}  // namespace
}  // namespace SMTPClientNS
