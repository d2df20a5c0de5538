#ifndef PLATFORM_PROCESS_H
#define PLATFORM_PROCESS_H

#include <cstddef>
#include <cstdint>

namespace SMTPClientNS {

/// How many forks lie between the process that loaded the library and this one. A thread or a
/// queue that was made under another number belongs to a parent and does not exist here.
std::uint32_t ForkGeneration() noexcept;

/// Has handler run in the child of every later fork, on its only thread, before fork returns.
void OnForkInChild(void (*handler)()) noexcept;

/// Has handler run when the process ends by exit or by a return from main, ahead of everything
/// that is registered already.
void OnProcessExit(void (*handler)()) noexcept;

/// Overwrites memory that held a secret, in a way that the compiler does not leave out.
void WipeMemory(void *memory, std::size_t size) noexcept;

}  // namespace SMTPClientNS

#endif  // PLATFORM_PROCESS_H
