#ifndef LOG_LOG_STORES_H
#define LOG_LOG_STORES_H

#include <cstdint>
#include <deque>
#include <optional>

#include <smtpclient/smtp_client.h>

#include "log/entry_queue.h"
#include "log/trace_capture.h"
#include "platform/text_types.h"

namespace SMTPClientNS {

/// A client's share of the log.
struct ClientLog {
    std::int32_t lastResult = LastResultNone;  ///< As ISmtpClient::GetLastResult tells it.
    /// The internal code of a failure whose public code a log pass has put into lastResult.
    std::optional<std::int32_t> replacedResult;
    std::deque<NarrowString> logLines;  ///< The dialogue of the last Send, oldest row first.
    CEntryQueue fileLines;              ///< Bound for the log file.
};

// The trace of the last Send, until a log pass moves it to a client, lies in stores that the whole
// process shares. All of these operations may be called by several threads at once, each for a
// client of its own.

/// Empties the stores of the process and the client's lines: a Send starts.
void ClearLogStores(ClientLog &client);

/// A transfer has ended: its trace takes the place of what the stores hold.
void HandOverTrace(CTransferTrace &trace);

/// Appends a result block for the client's last result to the stores, and moves all that they hold
/// to the client. A failure in lastResult becomes its public code. A further pass on the same send
/// tells the same result; its block follows what the earlier ones left in the stores.
void MakeLogPass(ClientLog &client);

/// HandOverTrace and MakeLogPass in one step, between which no other thread comes.
void HandOverTraceAndMakeLogPass(CTransferTrace &trace, ClientLog &client);

/// "Email sent successfully!", or "Error Info: " and the text for an internal code.
NarrowString ResultLine(std::int32_t code);

}  // namespace SMTPClientNS

#endif  // LOG_LOG_STORES_H
