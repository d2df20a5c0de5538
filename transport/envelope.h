#ifndef TRANSPORT_ENVELOPE_H
#define TRANSPORT_ENVELOPE_H

#include <curl/curl.h>

#include <cstdint>

#include <smtpclient/smtp_client.h>

#include "transport/curl_handles.h"

namespace SMTPClientNS {

/// Sets the addresses of the To, Cc and Bcc lists, in this order, as the recipients of the
/// envelope (RCPT TO, RFC 5321). Nothing is tested, sorted or merged.
///
/// list  null on entry; holds the recipients afterwards, and has to live as long as the transfer:
///       libcurl takes no copy.
///
/// Gives 0, NothingToSend, NoRecipients, which leaves list and handle untouched, or
/// CURLE_OUT_OF_MEMORY: a mail does not go to some of its recipients alone.
std::int32_t ApplyEnvelopeRecipients(CURL *handle, CurlList &list, const ISmtpClient *client);

}  // namespace SMTPClientNS

#endif  // TRANSPORT_ENVELOPE_H
