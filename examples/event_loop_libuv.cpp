// The library's descriptor in libuv's loop.

#include <uv.h>

#include "event_loop_host.h"

namespace {

CMailingHost &HostOf(const uv_loop_t *loop) {
    return *static_cast<CMailingHost *>(loop->data);
}

void OnTimer(uv_timer_t *timer) noexcept {
    HostOf(timer->loop).Tick();
}

void OnMailEvents(uv_poll_t *poll, int /*status*/, int /*events*/) noexcept {
    SmtpClientDispatchEvents();
    if (HostOf(poll->loop).IsDone()) {
        uv_stop(poll->loop);
    }
}

}  // namespace

bool RunEventLoop(CMailingHost &host) {
    uv_loop_t *const loop = uv_default_loop();
    loop->data = &host;
    uv_timer_t timer;
    uv_poll_t mailEvents;
    constexpr auto Interval = static_cast<std::uint64_t>(CMailingHost::TickInterval.count());
    if (uv_timer_init(loop, &timer) != 0 ||
        uv_poll_init(loop, &mailEvents, SmtpClientEventFd()) != 0 ||
        uv_timer_start(&timer, OnTimer, Interval, Interval) != 0 ||
        uv_poll_start(&mailEvents, UV_READABLE, OnMailEvents) != 0) {
        return false;
    }
    host.Start();
    uv_run(loop, UV_RUN_DEFAULT);
    // Closing a handle leaves the descriptor open: it is the library's.
    uv_close(reinterpret_cast<uv_handle_t *>(&mailEvents), nullptr);
    uv_close(reinterpret_cast<uv_handle_t *>(&timer), nullptr);
    uv_run(loop, UV_RUN_DEFAULT);
    return uv_loop_close(loop) == 0;
}
