#include "platform/process.h"

#include <pthread.h>

#include <atomic>
#include <cstdlib>
#include <cstring>

#include "platform/first_use.h"

namespace SMTPClientNS {
namespace {

// Neither recursive nor checking its owner, whose id is another in the child of a fork: the child
// could not unlock it.
pthread_mutex_t firstUseMutex = PTHREAD_MUTEX_INITIALIZER;
thread_local int firstUsesOfThisThread = 0;

std::atomic<std::uint32_t> forkGeneration{0};

void EnterFirstUse() noexcept {
    if (firstUsesOfThisThread++ == 0) {
        ::pthread_mutex_lock(&firstUseMutex);
    }
}

void LeaveFirstUse() noexcept {
    if (--firstUsesOfThisThread == 0) {
        ::pthread_mutex_unlock(&firstUseMutex);
    }
}

void StartInChild() noexcept {
    LeaveFirstUse();
    forkGeneration.fetch_add(1);
}

// Made when the library is loaded: any later, a fork might come first.
[[maybe_unused]] const int watchingForks =
    ::pthread_atfork(EnterFirstUse, LeaveFirstUse, StartInChild);

}  // namespace

CFirstUse::CFirstUse() noexcept {
    EnterFirstUse();
}

CFirstUse::~CFirstUse() {
    LeaveFirstUse();
}

std::uint32_t ForkGeneration() noexcept {
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
