#include "platform/cancellation.h"

namespace SMTPClientNS {

// The system has no such request.

CUncancellable::CUncancellable() noexcept = default;

CUncancellable::~CUncancellable() = default;

}  // namespace SMTPClientNS
