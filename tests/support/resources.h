#ifndef TESTS_SUPPORT_RESOURCES_H
#define TESTS_SUPPORT_RESOURCES_H

#include <chrono>
#include <cstddef>
#include <filesystem>
#include <iterator>
#include <thread>
#include <utility>

namespace SMTPClientNS {

/// Threads and open descriptors of this process.
inline std::pair<std::ptrdiff_t, std::ptrdiff_t> Resources() {
    using Entries = std::filesystem::directory_iterator;
    return {std::distance(Entries("/proc/self/task"), {}),
            std::distance(Entries("/proc/self/fd"), {})};
}

/// Whether no more are left than before: a joined thread is listed a moment longer, and a server
/// closes in its own time.
inline bool ReturnTo(const std::pair<std::ptrdiff_t, std::ptrdiff_t> &before) {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::minutes(1);
    while (Resources().first > before.first || Resources().second > before.second) {
        if (std::chrono::steady_clock::now() > deadline) {
            return false;
        }
        std::this_thread::yield();
    }
    return true;
}

}  // namespace SMTPClientNS

#endif  // TESTS_SUPPORT_RESOURCES_H
