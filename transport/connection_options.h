#ifndef TRANSPORT_CONNECTION_OPTIONS_H
#define TRANSPORT_CONNECTION_OPTIONS_H

#include <curl/curl.h>

#include <cstdint>

#include <smtpclient/smtp_client.h>

namespace SMTPClientNS {

/// Sets a client's connection settings on an easy handle: proxy, server, time-out, login, TLS and
/// certificate checks, in this order. Every text goes to libcurl in the system code page.
///
/// Gives 0, or what stops the send: CURLE_URL_MALFORMAT without a host, CURLE_AUTH_ERROR without a
/// user name or a password, libcurl's refusal of URL, port, user name or password. Any other
/// refusal is ignored. What has been set by then stays set. A missing handle or client gives 0.
std::int32_t ApplyConnectionOptions(CURL *handle, const ISmtpClient *client);

}  // namespace SMTPClientNS

#endif  // TRANSPORT_CONNECTION_OPTIONS_H
