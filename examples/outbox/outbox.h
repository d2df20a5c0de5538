#ifndef EXAMPLES_OUTBOX_OUTBOX_H
#define EXAMPLES_OUTBOX_OUTBOX_H

#include <libpq-fe.h>
#include <nlohmann/json.hpp>

#include <functional>
#include <memory>
#include <string>
#include <vector>

/// The table of mails, over one connection of its own. A database that is away is waited for, until
/// the worker has to stop: then operations throw std::runtime_error.
class COutbox {
public:
    /// A row of the table, by the names of its columns.
    using Mail = nlohmann::json;

    /// worker      tells the owner of a lease from any other, on any machine.
    /// isStopping  asked while the database is away.
    COutbox(std::string connection, std::string worker, std::function<bool()> isStopping);

    /// Takes mails that are due, for as long as the lease lasts: an array of them.
    nlohmann::json Claim(int most, int leaseSeconds);

    /// What came of an attempt. state  "sent" or "failed"; "queued": it is due again after the
    /// seconds.
    void Record(const Mail &mail, const char *state, double seconds, int code,
                const std::string &text);
    /// As if it had not been claimed.
    void GiveBack(const Mail &mail);

    /// Waits for a notification, for wakeFd to become readable, or until the time is over.
    void WaitForMail(int seconds, int wakeFd);

    /// The view of counts, as an object.
    nlohmann::json Counts();

private:
    struct Closer {
        void operator()(PGconn *open) const { PQfinish(open); }
        void operator()(PGresult *result) const { PQclear(result); }
    };
    using Result = std::unique_ptr<PGresult, Closer>;

    Result Execute(const char *statement, const std::vector<std::string> &arguments);
    bool Connect();

    std::string connection;
    std::string worker;
    std::function<bool()> isStopping;
    std::unique_ptr<PGconn, Closer> database;
};

#endif  // EXAMPLES_OUTBOX_OUTBOX_H
