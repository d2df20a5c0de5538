#ifndef CLIENT_PROXY_SETTINGS_H
#define CLIENT_PROXY_SETTINGS_H

#include <cstdint>

#include <smtpclient/smtp_client.h>

#include "client/secret_text.h"
#include "platform/text_types.h"

namespace SMTPClientNS {

/// In the order of ProxyField. No text is longer than ProxyValueCapacity - 1 units.
struct ProxySettings {
    WideString host;
    std::int32_t port = -1;
    std::int32_t type = ProxySocks5;
    WideString userName;
    CSecretText password;
};

}  // namespace SMTPClientNS

#endif  // CLIENT_PROXY_SETTINGS_H
