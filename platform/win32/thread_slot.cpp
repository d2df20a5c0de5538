#include "platform/thread_slot.h"

namespace SMTPClientNS {

CThreadSlot::CThreadSlot(void (*end)(void *)) noexcept
    : key(::FlsAlloc(end)), made(key != FLS_OUT_OF_INDEXES) {}

void *CThreadSlot::Get() const noexcept {
    return made ? ::FlsGetValue(key) : nullptr;
}

bool CThreadSlot::Set(void *value) const noexcept {
    return made && ::FlsSetValue(key, value) != 0;
}

}  // namespace SMTPClientNS
