#include <gtest/gtest.h>

#include <QApplication>
#include <QMessageBox>
#include <QtTest>

#include "tests/support/smtp_server.h"
#include "window.h"

namespace SMTPClientNS {
namespace {

constexpr int LongestWait = 60000;  // Milliseconds

class Desktop : public testing::Test {
protected:
    Desktop() {
        Find<QSpinBox>("port")->setValue(server.Port());
        Find<QCheckBox>("plain")->setChecked(true);
        Find<QPlainTextEdit>("text")->setPlainText("Good morning!");
        const std::pair<const char *, const char *> lines[] = {
            {"server", "127.0.0.1"}, {"user", "me"},  {"password", "secret"},
            {"from", "a@b.c"},       {"to", "d@e.f"}, {"subject", "Grüße"}};
        for (const auto &[name, line] : lines) {
            Find<QLineEdit>(name)->setText(line);
        }
        window.show();
    }

    template <typename Widget>
    Widget *Find(const char *name) {
        return window.findChild<Widget *>(name);
    }
    void Click(const char *button) { QTest::mouseClick(Find<QPushButton>(button), Qt::LeftButton); }
    QString Outcome() { return Find<QLabel>("outcome")->text(); }
    void WaitFor(const QString &outcome) {
        EXPECT_TRUE(QTest::qWaitFor([&] { return Outcome() == outcome; }, LongestWait))
            << Outcome().toStdString();
    }

    CSmtpServer server;
    CMailWindow window;
};

TEST_F(Desktop, ShowsTheLibrarysBoxAsADialog) {
    Find<QLineEdit>("charset")->setText("unknown");
    QString caption;
    QTimer answering;
    QObject::connect(&answering, &QTimer::timeout, [&caption] {
        if (auto *const box = qobject_cast<QMessageBox *>(QApplication::activeModalWidget())) {
            caption = box->windowTitle();
            box->accept();
        }
    });
    answering.start(1);
    Click("send");
    WaitFor("Sent.");
    EXPECT_EQ(caption, "SmtpClient Error");
}

TEST_F(Desktop, GoesOnWhileTheServerKeepsItWaiting) {
    server.At("MAIL", CSmtpServer::Hold);
    Click("send");
    EXPECT_TRUE(QTest::qWaitFor([&] { return Find<QPushButton>("cancel")->isEnabled(); }));
    EXPECT_TRUE(server.WaitForCommands("MAIL", 1));
    window.grab().save("desktop.png");
    Click("cancel");
    WaitFor("Cancelled: the mail was on its way and may arrive.");
    Find<QLineEdit>("to")->setText("nobody");
    Click("send");
    WaitFor("Message::To: the address is not of the form local@domain");
    server.OpenGate();
}

}  // namespace
}  // namespace SMTPClientNS

int main(int argc, char **argv) {
    testing::InitGoogleTest(&argc, argv);
    const QApplication application(argc, argv);
    return RUN_ALL_TESTS();
}
