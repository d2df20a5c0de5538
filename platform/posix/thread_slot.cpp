#include "platform/thread_slot.h"

#include <pthread.h>

namespace SMTPClientNS {

CThreadSlot::CThreadSlot(void (*end)(void *)) noexcept
    : made(::pthread_key_create(&key, end) == 0) {}

void *CThreadSlot::Get() const noexcept {
    return made ? ::pthread_getspecific(key) : nullptr;
}

bool CThreadSlot::Set(void *value) const noexcept {
    return made && ::pthread_setspecific(key, value) == 0;
}

}  // namespace SMTPClientNS
