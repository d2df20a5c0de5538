#ifndef EXAMPLES_OUTBOX_WORKER_H
#define EXAMPLES_OUTBOX_WORKER_H

#include <random>

#include <smtpclient/mail.h>

#include "crew.h"
#include "outbox.h"

/// One thread's work, with a client and a database connection of its own: claims mails, sends them,
/// records what became of them.
class CWorker {
public:
    explicit CWorker(CCrew &crew);

    /// Returns once the crew is stopping.
    void Run();

private:
    void Handle(const COutbox::Mail &mail);
    void Record(const COutbox::Mail &mail, const smtpclient::Outcome &outcome, bool isPermanent);

    CCrew &crew;
    COutbox outbox;
    smtpclient::Client client;
    std::minstd_rand random{std::random_device()()};
};

#endif  // EXAMPLES_OUTBOX_WORKER_H
