#include "platform/cancellation.h"

#include <pthread.h>

namespace SMTPClientNS {

CUncancellable::CUncancellable() noexcept {
    ::pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &stateBefore);
}

CUncancellable::~CUncancellable() {
    ::pthread_setcancelstate(stateBefore, nullptr);
}

}  // namespace SMTPClientNS
