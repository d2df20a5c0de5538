#ifndef SMTPCLIENT_SMTPCLIENT_H
#define SMTPCLIENT_SMTPCLIENT_H

/// Everything a host needs to send mail: the client, the message, the sink of background sends,
/// and the entry points that join the library to the host's event loop.

#include <smtpclient/completion_sink.h>
#include <smtpclient/host_platform.h>
#include <smtpclient/mime_message.h>
#include <smtpclient/smtp_client.h>

#endif  // SMTPCLIENT_SMTPCLIENT_H
