#include "platform/process.h"

#include <mutex>

#include "platform/first_use.h"

namespace SMTPClientNS {
namespace {

std::recursive_mutex firstUseMutex;

/// Unloading the library would pull the code from under its threads and windows.
bool StayLoaded() noexcept {
    HMODULE self = nullptr;
    return ::GetModuleHandleExW(
               GET_MODULE_HANDLE_EX_FLAG_PIN | GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS,
               reinterpret_cast<LPCWSTR>(&StayLoaded), &self) != 0;
}

[[maybe_unused]] const bool isPinned = StayLoaded();

}  // namespace

CFirstUse::CFirstUse() noexcept {
    firstUseMutex.lock();
}

CFirstUse::~CFirstUse() {
    firstUseMutex.unlock();
}

// A process of this system never forks.

std::uint32_t ForkGeneration() noexcept {
    return 0;
}

void OnForkInChild(void (*)()) noexcept {}

// When a library's exit handlers run, the other threads are dead: there is nothing to stop, and
// nothing to wait for.
void OnProcessExit(void (*)()) noexcept {}

void WipeMemory(void *memory, std::size_t size) noexcept {
    ::SecureZeroMemory(memory, size);
}

}  // namespace SMTPClientNS
