#include "transport/curl_use.h"

#include <curl/curl.h>

#include <atomic>
#include <chrono>
#include <mutex>
#include <thread>

#include "platform/process.h"

namespace SMTPClientNS {
namespace {

constexpr std::chrono::seconds LongestWaitAtExit(2);
constexpr std::chrono::milliseconds PollInterval(1);

// Atomics rather than a lock: another thread may hold a lock at the moment of a fork.
std::atomic<bool> processEnding{false};
std::atomic<int> uses{0};
thread_local int usesOfThisThread = 0;

/// Threads of the parent do not exist in the child, nor do their transfers.
void ForgetUsesOfOtherThreads() noexcept {
    uses.store(usesOfThisThread);
}

void StopTransfers() noexcept {
    processEnding.store(true);
    const auto deadline = std::chrono::steady_clock::now() + LongestWaitAtExit;
    // The thread that ends the process may itself be inside a use: in a message box, say.
    while (uses.load() > usesOfThisThread && std::chrono::steady_clock::now() < deadline) {
        std::this_thread::sleep_for(PollInterval);
    }
}

/// False if libcurl has no memory to start; the next call tries again.
bool InitialiseOnce() noexcept {
    struct StartFailed {};
    static std::once_flag started;
    try {
        std::call_once(started, [] {
            if (curl_global_init(CURL_GLOBAL_DEFAULT) != CURLE_OK) {
                throw StartFailed();
            }
            OnForkInChild(ForgetUsesOfOtherThreads);
            // Behind the initialisation, so that it runs ahead of the handlers registered there.
            OnProcessExit(StopTransfers);
        });
    } catch (const StartFailed &) {
        return false;
    }
    return true;
}

}  // namespace

CCurlUse::CCurlUse() noexcept {
    ++usesOfThisThread;
    uses.fetch_add(1);
    // Asked behind the count: the exit handler either sees this use or is seen by it.
    granted = !processEnding.load() && InitialiseOnce();
}

CCurlUse::~CCurlUse() {
    uses.fetch_sub(1);
    --usesOfThisThread;
}

bool IsProcessEnding() noexcept {
    return processEnding.load();
}

}  // namespace SMTPClientNS
