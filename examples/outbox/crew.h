#ifndef EXAMPLES_OUTBOX_CREW_H
#define EXAMPLES_OUTBOX_CREW_H

#include <nlohmann/json.hpp>

#include <atomic>
#include <chrono>
#include <map>
#include <mutex>
#include <string>

/// The command line, with its defaults.
struct Options {
    std::string database;  ///< As libpq takes it: "host=... dbname=...".
    std::string host;
    int port = 587;
    std::string user;
    std::string passwordFile;
    bool noTls = false;
    unsigned threads = 4;
    int lease = 600;     ///< Seconds.
    int attempts = 10;   ///< Until a mail that is only ever put off has failed.
    int minute = 60000;  ///< Milliseconds.
    int rate = 0;        ///< Mails a second of this process; 0: as fast as it can.
    bool json = false;
    bool status = false;
};

/// What the workers of a process share: the options, the rate, the sign to stop, the report.
/// SIGTERM and SIGINT are that sign. Made before any thread is started: each then blocks them.
class CCrew {
public:
    using Clock = std::chrono::steady_clock;

    explicit CCrew(const Options &given);

    /// True once the workers have to finish the mail that is under way and give the rest back.
    bool WaitForStop(std::chrono::milliseconds longest = {}) const;
    /// Readable from then on.
    int StopFd() const { return stopFd; }

    /// Waits until the rate allows one more mail. False, without a turn: that would be later than
    /// latest, or the workers have to stop.
    bool WaitForTurn(Clock::time_point latest);

    /// Counts an attempt, and shows it as a line of JSON if that is wanted.
    void Report(const nlohmann::ordered_json &attempt);
    /// The counts, on one line that is written over again.
    void ShowProgress();

    const Options options;
    std::atomic<bool> hasFailed{false};  ///< A worker could not go on.

private:
    const int stopFd;
    std::mutex mutex;  ///< Guards all below, and the standard output stream.
    Clock::time_point nextTurn;
    std::map<std::string, int> counts;
};

#endif  // EXAMPLES_OUTBOX_CREW_H
