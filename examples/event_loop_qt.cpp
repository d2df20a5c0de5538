// The library's descriptor in Qt's event loop.

#include <QCoreApplication>
#include <QSocketNotifier>
#include <QTimer>

#include "event_loop_host.h"

bool RunEventLoop(CMailingHost &host) {
    int count = 1;
    char name[] = "event_loop_qt";
    char *arguments[] = {name, nullptr};
    const QCoreApplication application(count, arguments);
    QTimer timer;
    QObject::connect(&timer, &QTimer::timeout, [&host] { host.Tick(); });
    timer.start(CMailingHost::TickInterval);
    const QSocketNotifier mailEvents(SmtpClientEventFd(), QSocketNotifier::Read);
    QObject::connect(&mailEvents, &QSocketNotifier::activated, [&host] {
        SmtpClientDispatchEvents();
        if (host.IsDone()) {
            QCoreApplication::quit();
        }
    });
    host.Start();
    return QCoreApplication::exec() == 0;
}
