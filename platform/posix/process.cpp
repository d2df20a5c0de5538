#include "platform/process.h"

#include <pthread.h>

#include <atomic>
#include <cstdlib>
#include <cstring>

namespace SMTPClientNS {
namespace {

std::atomic<std::uint32_t> forkGeneration{0};

void CountFork() noexcept {
    forkGeneration.fetch_add(1);
}

}  // namespace

std::uint32_t ForkGeneration() noexcept {
    static const bool counting = (OnForkInChild(CountFork), true);
    static_cast<void>(counting);
    return forkGeneration.load();
}

void OnForkInChild(void (*handler)()) noexcept {
    ::pthread_atfork(nullptr, nullptr, handler);
}

void OnProcessExit(void (*handler)()) noexcept {
    std::atexit(handler);
}

void WipeMemory(void *memory, std::size_t size) noexcept {
    ::explicit_bzero(memory, size);
}

}  // namespace SMTPClientNS
