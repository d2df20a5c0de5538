// The loop of a host that has none of its own: the library waits for it.

#include "event_loop_host.h"

bool RunEventLoop(CMailingHost &host) {
    using Clock = std::chrono::steady_clock;
    host.Start();
    auto nextTick = Clock::now() + CMailingHost::TickInterval;
    while (!host.IsDone()) {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(nextTick - Clock::now());
        if (left.count() > 0) {
            SmtpClientWaitEvents(static_cast<int>(left.count()));
        } else {
            nextTick += CMailingHost::TickInterval;
            host.Tick();
        }
    }
    return true;
}
