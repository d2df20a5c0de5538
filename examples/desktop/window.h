#ifndef EXAMPLES_DESKTOP_WINDOW_H
#define EXAMPLES_DESKTOP_WINDOW_H

#include <QCheckBox>
#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QProgressBar>
#include <QPushButton>
#include <QSocketNotifier>
#include <QSpinBox>
#include <QWidget>
#include <optional>

#include <smtpclient/mail.h>

/// Composes one mail and sends it in the background: the window stays alive meanwhile.
class CMailWindow : public QWidget {
public:
    CMailWindow();
    ~CMailWindow() override;

private:
    static void ShowBox(const char16_t *text, const char16_t *caption, std::uint32_t style,
                        void *window);

    void LayOut();
    void Send();
    void Cancel();
    void ChooseAttachment();
    void ShowSending(bool isSending);
    void ShowOutcome(const smtpclient::Outcome &outcome);

    smtpclient::Client MakeClient() const;
    smtpclient::Message MakeMessage() const;

    QLineEdit *const server = new QLineEdit(this);
    QSpinBox *const port = new QSpinBox(this);
    QCheckBox *const plain = new QCheckBox("without TLS", this);
    QLineEdit *const user = new QLineEdit(this);
    QLineEdit *const password = new QLineEdit(this);
    QLineEdit *const from = new QLineEdit(this);
    QLineEdit *const to = new QLineEdit(this);
    QLineEdit *const subject = new QLineEdit(this);
    QLineEdit *const charset = new QLineEdit("UTF-8", this);
    QPlainTextEdit *const text = new QPlainTextEdit(this);
    QLineEdit *const attachment = new QLineEdit(this);
    QPushButton *const choose = new QPushButton("Choose...", this);
    QPushButton *const send = new QPushButton("Send", this);
    QPushButton *const cancel = new QPushButton("Cancel", this);
    QProgressBar *const progress = new QProgressBar(this);
    QLabel *const outcomeLine = new QLabel(this);

    QSocketNotifier mailEvents;
    std::optional<smtpclient::Client> client;  ///< Of the send that is under way.
};

#endif  // EXAMPLES_DESKTOP_WINDOW_H
