#include "transport/trust_store.h"

namespace SMTPClientNS {

void WarmUpTls() noexcept {}

CSharedTrust::~CSharedTrust() = default;

void CSharedTrust::ApplyTo(CURL * /*handle*/, const TrustPlaces & /*places*/,
                           TraceTarget /*traceTarget*/) noexcept {}

}  // namespace SMTPClientNS
