#ifndef EXAMPLES_SEND_MAIL_OPTIONS_H
#define EXAMPLES_SEND_MAIL_OPTIONS_H

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include <smtpclient/smtpclient.h>

#include "secret.h"
#include "user_text.h"

struct Proxy {
    std::u16string host;
    std::int32_t port = 0;
    std::int32_t type = SMTPClientNS::ProxySocks5;
    std::u16string user;
    SecretSource password;
};

/// One of the two bodies: a text, a file, or neither.
struct Body {
    std::optional<std::u16string> text;
    std::u16string path;
    bool fileIsUtf8 = true;  ///< Else in the user's encoding.
};

struct InlineImage {
    std::u16string path;
    std::u16string id;
};

/// Everything that can be said on the command line.
struct Options {
    std::u16string host;
    std::int32_t port = 587;
    std::int32_t connectTimeout = 0;
    bool useTls = true;
    std::int32_t tlsVersion = SMTPClientNS::TlsDefault;
    bool verifyPeer = true;
    bool verifyStatus = false;
    bool login = true;
    std::u16string user;
    SecretSource password;
    SecretSource token;
    Proxy proxy;

    Address from;
    std::vector<Address> to;
    std::vector<Address> cc;
    std::vector<Address> bcc;
    std::u16string subject;
    std::u16string charset;
    std::int32_t priority = SMTPClientNS::PriorityNormal;
    Body text;
    Body html;
    bool scanImages = false;
    std::vector<InlineImage> images;
    std::vector<std::u16string> attachments;

    std::u16string logFile;
    bool appendLog = true;
    bool inBackground = false;
    bool isVerbose = false;
};

/// Throws CUsageError. No value if only help or the version was asked for, which has then
/// been shown.
std::optional<Options> ParseOptions(int argc, char **argv);

#endif  // EXAMPLES_SEND_MAIL_OPTIONS_H
