#ifndef LOG_LOG_TEXT_H
#define LOG_LOG_TEXT_H

#include "log/log_stores.h"
#include "platform/text_types.h"

namespace SMTPClientNS {

// What GetLogText and GetLastLogEntry show.

/// logLines, joined, in UTF-16.
WideString JoinLogLines(const ClientLog &client);

/// The last of logLines in UTF-16; empty if there is none.
WideString LastLogLine(const ClientLog &client);

}  // namespace SMTPClientNS

#endif  // LOG_LOG_TEXT_H
