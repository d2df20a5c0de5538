#ifndef EXAMPLES_SEND_MAIL_MAIL_H
#define EXAMPLES_SEND_MAIL_MAIL_H

#include <smtpclient/smtpclient.h>

#include "options.h"

/// Puts the settings into a client and reads the secrets, asking for them if need be. Throws
/// CUsageError.
void FillClient(const Options &options, SMTPClientNS::ISmtpClient &client);

/// Puts the mail into a message. Throws CUsageError for an address or file that the message
/// refuses.
void FillMessage(const Options &options, SMTPClientNS::IMimeMessage &message);

#endif  // EXAMPLES_SEND_MAIL_MAIL_H
