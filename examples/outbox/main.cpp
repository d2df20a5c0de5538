// Sends what stands in the outbox table, on as many threads, processes and machines as there are.

#include <CLI/CLI.hpp>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <iostream>
#include <thread>
#include <vector>

#include "worker.h"

namespace {

void Describe(CLI::App &app, Options &o) {
    app.option_defaults()->always_capture_default();
    app.add_option("--database", o.database, "as libpq takes it: \"host=... dbname=...\"");
    app.add_option("--host", o.host, "the mail server");
    app.add_option("--port", o.port, "its port");
    app.add_option("--user", o.user, "the login there");
    app.add_option("--password-file", o.passwordFile, "holds its password, on the first line");
    app.add_flag("--no-tls", o.noTls, "in plain text");
    app.add_option("--threads", o.threads, "mails that are under way at once");
    app.add_option("--lease", o.lease, "seconds until others may take a claimed mail");
    app.add_option("--attempts", o.attempts, "until a mail has failed");
    app.add_option("--minute", o.minute, "milliseconds that a minute of waiting lasts");
    app.add_option("--rate", o.rate, "mails a second of this process; 0: no limit");
    app.add_flag("--json", o.json, "a line of JSON for each attempt");
    app.add_flag("--status", o.status, "show the counts, and end");
}

void Work(CCrew &crew) try {
    // The client and the connection are made on the thread that uses them.
    CWorker(crew).Run();
} catch (const std::exception &fault) {
    // What could not be recorded comes back when its lease ends.
    std::cerr << "outbox_worker: " << fault.what() << std::endl;
    crew.hasFailed = true;
    ::kill(::getpid(), SIGTERM);
}

/// False if a worker could not go on.
bool WorkUntilStopped(const Options &options) {
    CCrew crew(options);
    std::vector<std::thread> threads(options.threads);
    for (std::thread &thread : threads) {
        thread = std::thread(Work, std::ref(crew));
    }
    while (::isatty(STDERR_FILENO) == 1 && !crew.WaitForStop(std::chrono::milliseconds(200))) {
        crew.ShowProgress();
    }
    for (std::thread &thread : threads) {
        thread.join();
    }
    crew.ShowProgress();
    std::cerr << '\n';
    return !crew.hasFailed;
}

}  // namespace

int main(int argc, char **argv) try {
    CLI::App app("Sends what stands in the outbox table.", "outbox_worker");
    Options options;
    Describe(app, options);
    CLI11_PARSE(app, argc, argv);
    if (options.status) {
        std::cout << COutbox(options.database, "", [] { return true; }).Counts() << '\n';
        return 0;
    }
    return WorkUntilStopped(options) ? 0 : 1;
} catch (const std::exception &fault) {
    std::cerr << "outbox_worker: " << fault.what() << '\n';
    return 1;
}
