#include "platform/process.h"

#include <pthread.h>

#include <atomic>
#include <cstdlib>
#include <cstring>

#include "platform/first_use.h"

namespace SMTPClientNS {
namespace {

pthread_mutex_t firstUseMutex = PTHREAD_RECURSIVE_MUTEX_INITIALIZER_NP;

std::atomic<std::uint32_t> forkGeneration{0};

void WaitForFirstUse() noexcept {
    ::pthread_mutex_lock(&firstUseMutex);
}

void GoOnInParent() noexcept {
    ::pthread_mutex_unlock(&firstUseMutex);
}

void StartInChild() noexcept {
    // The mutex is held by this thread, but under the id that it had in the parent, so that it
    // cannot be unlocked. Nobody else is here to hold it.
    pthread_mutexattr_t recursive;
    ::pthread_mutexattr_init(&recursive);
    ::pthread_mutexattr_settype(&recursive, PTHREAD_MUTEX_RECURSIVE);
    ::pthread_mutex_init(&firstUseMutex, &recursive);
    ::pthread_mutexattr_destroy(&recursive);
    forkGeneration.fetch_add(1);
}

// Made when the library is loaded: any later, a fork might come first.
[[maybe_unused]] const int watchingForks =
    ::pthread_atfork(WaitForFirstUse, GoOnInParent, StartInChild);

}  // namespace

CFirstUse::CFirstUse() noexcept {
    ::pthread_mutex_lock(&firstUseMutex);
}

CFirstUse::~CFirstUse() {
    ::pthread_mutex_unlock(&firstUseMutex);
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
