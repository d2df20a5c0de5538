// The library's descriptor as a source of GLib's main loop, and so of GTK and GNOME programs.

#include <glib-unix.h>

#include "event_loop_host.h"

namespace {

struct Loop {
    CMailingHost &host;
    GMainLoop *mainLoop;
};

gboolean OnTimer(gpointer data) noexcept {
    static_cast<Loop *>(data)->host.Tick();
    return G_SOURCE_CONTINUE;
}

gboolean OnMailEvents(gint /*descriptor*/, GIOCondition /*condition*/, gpointer data) noexcept {
    const auto &loop = *static_cast<Loop *>(data);
    SmtpClientDispatchEvents();
    if (loop.host.IsDone()) {
        g_main_loop_quit(loop.mainLoop);
    }
    return G_SOURCE_CONTINUE;
}

}  // namespace

bool RunEventLoop(CMailingHost &host) {
    const int mailEvents = SmtpClientEventFd();
    if (mailEvents < 0) {
        return false;
    }
    Loop loop{host, g_main_loop_new(nullptr, FALSE)};
    const guint timer = g_timeout_add(CMailingHost::TickInterval.count(), OnTimer, &loop);
    const guint watch = g_unix_fd_add(mailEvents, G_IO_IN, OnMailEvents, &loop);
    host.Start();
    g_main_loop_run(loop.mainLoop);
    g_source_remove(watch);
    g_source_remove(timer);
    g_main_loop_unref(loop.mainLoop);
    return true;
}
