#include "transport/curl_use.h"

#include <curl/curl.h>

#include <atomic>
#include <chrono>
#include <thread>

#include "platform/first_use.h"
#include "platform/process.h"
#include "transport/trust_store.h"

namespace SMTPClientNS {
namespace {

using Clock = std::chrono::steady_clock;

constexpr std::chrono::seconds LongestEnd(2);
constexpr std::chrono::milliseconds PollInterval(1);

// Atomics rather than a lock: another thread may hold a lock at the moment of a fork.
std::atomic<bool> started{false};
std::atomic<bool> tlsStarted{false};
std::atomic<bool> processEnding{false};
std::atomic<int> uses{0};
thread_local int usesOfThisThread = 0;

// Both are set before processEnding, so whoever sees that true may read them.
std::atomic<Clock::time_point> endDeadline{};
std::atomic<std::thread::id> endingThread{};

/// In the child of a fork: the other threads and their transfers exist in the parent alone.
void ForgetUsesOfOtherThreads() noexcept {
    uses.store(usesOfThisThread);
}

void StopTransfers() noexcept {
    const Clock::time_point deadline = Clock::now() + LongestEnd;
    endDeadline.store(deadline);
    endingThread.store(std::this_thread::get_id());
    processEnding.store(true);
    // The thread that ends the process may itself be inside a use: in a message box, say.
    while (uses.load() > usesOfThisThread && Clock::now() < deadline) {
        std::this_thread::sleep_for(PollInterval);
    }
}

/// A tree of MIME parts asks for random numbers, whose source is made at its first use.
void MakeFirstTree() noexcept {
    CURL *const easy = curl_easy_init();
    curl_mime_free(curl_mime_init(easy));
    curl_easy_cleanup(easy);
}

/// False if libcurl has no memory to start; the next call tries again.
bool InitialiseOnce() noexcept {
    if (started.load()) {
        return true;
    }
    const CFirstUse firstUse;
    if (!started.load() && curl_global_init(CURL_GLOBAL_DEFAULT) == CURLE_OK) {
        MakeFirstTree();
        OnForkInChild(ForgetUsesOfOtherThreads);
        // Registered after curl_global_init: exit handlers run in reverse order.
        OnProcessExit(StopTransfers);
        started.store(true);
    }
    return started.load();
}

}  // namespace

CCurlUse::CCurlUse() noexcept {
    ++usesOfThisThread;
    uses.fetch_add(1);
    // Count first, then check; otherwise the exit handler could miss this use.
    granted = !processEnding.load() && InitialiseOnce();
}

CCurlUse::~CCurlUse() {
    uses.fetch_sub(1);
    --usesOfThisThread;
}

void StartTls() noexcept {
    if (tlsStarted.load()) {
        return;
    }
    const CFirstUse firstUse;
    if (!tlsStarted.load()) {
        WarmUpTls();
        tlsStarted.store(true);
    }
}

bool IsProcessEnding() noexcept {
    return processEnding.load();
}

void StayWhileProcessEnds() noexcept {
    if (processEnding.load() && endingThread.load() != std::this_thread::get_id()) {
        std::this_thread::sleep_until(endDeadline.load());
    }
}

}  // namespace SMTPClientNS
