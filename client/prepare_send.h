#ifndef CLIENT_PREPARE_SEND_H
#define CLIENT_PREPARE_SEND_H

#include <cstdint>

#include <smtpclient/smtp_client.h>

#include "client/send_handles.h"
#include "client/transfer.h"  // So that async/ includes one header of this folder.

namespace SMTPClientNS {

/// Sets a client's settings and the whole mail of its message on freshly made handles: connection
/// options, envelope, header block, MIME tree. Opens no connection. Reads client and message
/// through their interfaces alone, and needs neither afterwards.
///
/// Gives 0; a PreparationFailure; or the libcurl code that stopped it (ApplyConnectionOptions, a
/// refused CURLOPT_MIMEPOST, CURLE_OUT_OF_MEMORY).
std::int32_t PrepareSend(SendHandles &handles, const ISmtpClient *client);

}  // namespace SMTPClientNS

#endif  // CLIENT_PREPARE_SEND_H
