#ifndef COMPOSE_HEADER_BLOCK_H
#define COMPOSE_HEADER_BLOCK_H

#include <smtpclient/smtp_client.h>

#include "platform/text_types.h"

namespace SMTPClientNS {

/// Appends the header lines of the client's message, each ended by CR LF:
///
///     From: =?UTF-8?b?w4Q=?= <a@example.org>
///     To: b@example.org,
///      C <c@example.org>
///     X-Priority: 3
///     Subject: Hello
///
///     Message - ID: <0F0E0D0C-0B0A-4908-8706-050403020100@host>
///
/// To, Cc and Bcc stand there if they have addresses. Addresses are in the system code page, names
/// and subject in encoded words where they need it. The empty line after the subject is part of
/// the block: what follows it stands in the mail before the first MIME boundary. A conversion that
/// fails is reported to the user and leaves its text out.
///
/// Without a client or a message, target stays as it was.
void BuildHeaderBlock(const ISmtpClient *client, NarrowString &target);

}  // namespace SMTPClientNS

#endif  // COMPOSE_HEADER_BLOCK_H
