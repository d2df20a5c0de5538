#include "crew.h"

#include <poll.h>
#include <sys/signalfd.h>

#include <algorithm>
#include <csignal>
#include <iostream>

namespace {

/// Nobody reads it, so that it stays readable, for every thread.
int OpenStopFd() {
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGTERM);
    sigaddset(&signals, SIGINT);
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);
    return ::signalfd(-1, &signals, SFD_CLOEXEC);
}

}  // namespace

CCrew::CCrew(const Options &given) : options(given), stopFd(OpenStopFd()) {}

bool CCrew::WaitForStop(std::chrono::milliseconds longest) const {
    pollfd stop = {stopFd, POLLIN, 0};
    return ::poll(&stop, 1, static_cast<int>(longest.count())) != 0;
}

bool CCrew::WaitForTurn(Clock::time_point latest) {
    const Clock::time_point now = Clock::now();
    Clock::time_point turn = now;
    if (options.rate > 0) {
        const std::lock_guard<std::mutex> lock(mutex);
        turn = std::max(nextTurn, now);
        nextTurn = turn <= latest ? turn + std::chrono::nanoseconds(1'000'000'000) / options.rate
                                  : nextTurn;
    }
    return turn <= latest && !WaitForStop(std::chrono::ceil<std::chrono::milliseconds>(turn - now));
}

void CCrew::Report(const nlohmann::ordered_json &attempt) {
    const std::lock_guard<std::mutex> lock(mutex);
    ++counts[attempt["state"]];
    if (options.json) {
        std::cout << attempt << std::endl;
    }
}

void CCrew::ShowProgress() {
    const std::lock_guard<std::mutex> lock(mutex);
    std::cerr << '\r' << counts["sent"] << " sent, " << counts["queued"] << " put off, "
              << counts["failed"] << " failed  " << std::flush;
}
