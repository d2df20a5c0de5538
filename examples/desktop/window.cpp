#include "window.h"

#include <QFileDialog>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QMessageBox>
#include <stdexcept>

CMailWindow::CMailWindow() : mailEvents(SmtpClientEventFd(), QSocketNotifier::Read) {
    setWindowTitle("Send a mail");
    LayOut();
    ShowSending(false);
    connect(choose, &QPushButton::clicked, this, &CMailWindow::ChooseAttachment);
    connect(send, &QPushButton::clicked, this, &CMailWindow::Send);
    connect(cancel, &QPushButton::clicked, this, &CMailWindow::Cancel);
    connect(&mailEvents, &QSocketNotifier::activated, [] { SmtpClientDispatchEvents(); });
    SmtpClientSetMessageBox(ShowBox, this);
}

CMailWindow::~CMailWindow() {
    SmtpClientSetMessageBox(nullptr, nullptr);
}

/// Called while a mail is composed, on the thread that sends: here the window's own.
void CMailWindow::ShowBox(const char16_t *text, const char16_t *caption, std::uint32_t /*style*/,
                          void *window) {
    QMessageBox::critical(static_cast<CMailWindow *>(window), QString::fromUtf16(caption),
                          QString::fromUtf16(text));
}

void CMailWindow::LayOut() {
    const auto row = [](std::initializer_list<QWidget *> widgets) {
        auto *const layout = new QHBoxLayout;
        for (QWidget *const widget : widgets) {
            layout->addWidget(widget);
        }
        return layout;
    };
    const std::pair<const char *, QWidget *> names[] = {{"server", server},
                                                        {"port", port},
                                                        {"plain", plain},
                                                        {"user", user},
                                                        {"password", password},
                                                        {"from", from},
                                                        {"to", to},
                                                        {"subject", subject},
                                                        {"charset", charset},
                                                        {"text", text},
                                                        {"attachment", attachment},
                                                        {"send", send},
                                                        {"cancel", cancel}};
    for (const auto &[name, widget] : names) {
        widget->setObjectName(name);
    }
    outcomeLine->setObjectName("outcome");
    outcomeLine->setWordWrap(true);
    port->setRange(1, 65535);
    port->setValue(587);
    password->setEchoMode(QLineEdit::Password);
    progress->setRange(0, 0);  // Busy: nobody knows how long a server takes.

    auto *const form = new QFormLayout(this);
    form->addRow("Server", row({server, port, plain}));
    form->addRow("Login", row({user, password}));
    form->addRow("From", from);
    form->addRow("To", to);
    form->addRow("Subject", subject);
    form->addRow(text);
    form->addRow("Charset", charset);
    form->addRow("Attachment", row({attachment, choose}));
    form->addRow(row({progress, cancel, send}));
    form->addRow(outcomeLine);
}

smtpclient::Client CMailWindow::MakeClient() const {
    smtpclient::Client made(server->text().toStdString(), port->value());
    made.Login(user->text().toStdString(), password->text().toStdString());
    if (plain->isChecked()) {
        made.WithoutTls();
    }
    return made;
}

smtpclient::Message CMailWindow::MakeMessage() const {
    smtpclient::Message message;
    message.From(from->text().toStdString()).To(to->text().toStdString());
    message.Subject(subject->text().toStdString()).Text(text->toPlainText().toStdString());
    message.Charset(charset->text().toStdString());
    if (!attachment->text().isEmpty()) {
        message.Attach(attachment->text().toStdString());
    }
    return message;
}

void CMailWindow::Send() {
    try {
        const smtpclient::Message message = MakeMessage();
        client.emplace(MakeClient());
        client->Send(message, [this](const smtpclient::Outcome &outcome) { ShowOutcome(outcome); });
        ShowSending(true);
    } catch (const std::invalid_argument &refusal) {
        outcomeLine->setText(refusal.what());
    }
}

/// A transfer that has begun goes on, and may still arrive; nobody waits for it any more.
void CMailWindow::Cancel() {
    const bool isTakenBack = client->CancelAll();
    client.reset();
    ShowSending(false);
    outcomeLine->setText(isTakenBack ? "Cancelled: not sent."
                                     : "Cancelled: the mail was on its way and may arrive.");
}

void CMailWindow::ShowOutcome(const smtpclient::Outcome &outcome) {
    ShowSending(false);
    outcomeLine->setText(outcome ? "Sent." : QString::fromStdString(outcome.text));
}

void CMailWindow::ShowSending(bool isSending) {
    progress->setVisible(isSending);
    cancel->setEnabled(isSending);
    send->setEnabled(!isSending);
    if (isSending) {
        outcomeLine->clear();
    }
}

void CMailWindow::ChooseAttachment() {
    attachment->setText(QFileDialog::getOpenFileName(this, "Attach a file"));
}
