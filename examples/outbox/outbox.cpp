#include "outbox.h"

#include <poll.h>

#include <chrono>
#include <stdexcept>
#include <thread>

COutbox::COutbox(std::string connectionText, std::string workerName,
                 std::function<bool()> stopQuestion)
    : connection(std::move(connectionText)),
      worker(std::move(workerName)),
      isStopping(std::move(stopQuestion)) {}

nlohmann::json COutbox::Claim(int most, int leaseSeconds) {
    const Result mails =
        Execute("SELECT coalesce(json_agg(mail), '[]') FROM outbox_claim($1, $2, $3) AS mail",
                {worker, std::to_string(leaseSeconds) + " s", std::to_string(most)});
    return nlohmann::json::parse(PQgetvalue(mails.get(), 0, 0));
}

void COutbox::Record(const Mail &mail, const char *state, double seconds, int code,
                     const std::string &text) {
    Execute("SELECT outbox_record($1, $2, $3, $4, $5, $6)",
            {mail["id"].dump(), worker, state, std::to_string(seconds) + " s", std::to_string(code),
             text});
}

void COutbox::GiveBack(const Mail &mail) {
    Execute("SELECT outbox_give_back($1, $2)", {mail["id"].dump(), worker});
}

void COutbox::WaitForMail(int seconds, int wakeFd) {
    PGnotify *notification = PQnotifies(database.get());
    pollfd watched[] = {{PQsocket(database.get()), POLLIN, 0}, {wakeFd, POLLIN, 0}};
    if (notification == nullptr && ::poll(watched, std::size(watched), seconds * 1000) > 0) {
        PQconsumeInput(database.get());
        notification = PQnotifies(database.get());
    }
    for (; notification != nullptr; notification = PQnotifies(database.get())) {
        PQfreemem(notification);
    }
}

nlohmann::json COutbox::Counts() {
    const Result row = Execute("SELECT row_to_json(outbox_counts) FROM outbox_counts", {});
    return nlohmann::json::parse(PQgetvalue(row.get(), 0, 0));
}

/// Repeats the statement until the database has taken it. Each can be repeated without harm: it
/// names the mail's state and owner, and a claim that got lost on its way ends with its lease.
COutbox::Result COutbox::Execute(const char *statement, const std::vector<std::string> &arguments) {
    std::vector<const char *> values;
    for (const std::string &argument : arguments) {
        values.push_back(argument.c_str());
    }
    for (;;) {
        if (PQstatus(database.get()) == CONNECTION_OK || Connect()) {
            Result result(PQexecParams(database.get(), statement, static_cast<int>(values.size()),
                                       nullptr, values.data(), nullptr, nullptr, 0));
            if (PQresultStatus(result.get()) == PGRES_TUPLES_OK) {
                return result;
            }
            if (PQstatus(database.get()) == CONNECTION_OK) {
                throw std::runtime_error(PQerrorMessage(database.get()));
            }
        }
        if (isStopping()) {
            throw std::runtime_error("stopped while the database was away");
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(200));
    }
}

bool COutbox::Connect() {
    database.reset(PQconnectdb(connection.c_str()));
    return PQsetClientEncoding(database.get(), "UTF8") == 0 &&
           PQresultStatus(Result(PQexec(database.get(), "LISTEN outbox")).get()) ==
               PGRES_COMMAND_OK;
}
