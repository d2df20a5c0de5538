#ifndef BENCH_TRANSFERS_H
#define BENCH_TRANSFERS_H

#include <cstdint>
#include <string>

/// One mail, sent in each of the ways that are compared: a short text and one attachment.
struct MailToSend {
    int port;                ///< Of a server on loopback.
    std::string attachment;  ///< Path.
    std::string logFile;     ///< Path; for the one way that writes a log.
};

// Each sends the mail once, from a cold start. False if the server has not accepted it.

bool SendWithBareCurl(const MailToSend &mail);

/// With a trace callback that does nothing but count. wireBytes: the mail's text on the wire.
bool SendWithCountingTrace(const MailToSend &mail, std::uint64_t &wireBytes);

/// ISmtpClient::Send with a log file.
bool SendWithLogFile(const MailToSend &mail);

/// ISmtpClient::SendAsync.
bool SendInBackground(const MailToSend &mail);

#endif  // BENCH_TRANSFERS_H
