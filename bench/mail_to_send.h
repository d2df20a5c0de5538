#ifndef BENCH_MAIL_TO_SEND_H
#define BENCH_MAIL_TO_SEND_H

#include <string>
#include <vector>

/// A mail and the server that it goes to, the same for every way to send it.
struct MailToSend {
    int port = 0;             ///< Of a server on loopback.
    bool isTls = false;       ///< STARTTLS, which the server has to offer.
    bool isVerified = false;  ///< The server has to show a trusted certificate.
    std::size_t recipients = 1;
    std::size_t bodyBytes = 16;  ///< Of the text, ASCII.
    std::string html;            ///< None if empty.
    std::vector<std::string> pictures;
    std::vector<std::string> attachments;
    std::string logFile;  ///< For the one way that writes a log.
};

/// The text of the mail: lines of 62 letters.
std::string BodyOf(const MailToSend &mail);

std::string RecipientOf(std::size_t number);

#endif  // BENCH_MAIL_TO_SEND_H
