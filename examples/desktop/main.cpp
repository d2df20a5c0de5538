// A window that sends a mail.

#include <QApplication>

#include "window.h"

int main(int argc, char **argv) {
    const QApplication application(argc, argv);
    CMailWindow window;
    window.show();
    return QApplication::exec();
}
