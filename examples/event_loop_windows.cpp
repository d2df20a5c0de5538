// The library in an ordinary message loop: nothing of it need be called there.

#include <windows.h>

#include "event_loop_host.h"

bool RunEventLoop(CMailingHost &host) {
    const UINT_PTR timer =
        ::SetTimer(nullptr, 0, static_cast<UINT>(CMailingHost::TickInterval.count()), nullptr);
    host.Start();
    MSG message = {};
    while (!host.IsDone() && ::GetMessageW(&message, nullptr, 0, 0) > 0) {
        if (message.message == WM_TIMER && message.wParam == timer) {
            host.Tick();
        }
        ::DispatchMessageW(&message);
    }
    ::KillTimer(nullptr, timer);
    return host.IsDone();
}
