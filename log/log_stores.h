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

/// What a trace leaves for the log passes behind it.
struct TraceStore {
    TraceText scratch;      ///< The last entry, and each result block that followed it.
    CEntryQueue fileLines;  ///< All entries that no pass has moved yet.
};

/// A client's share of the log.
struct ClientLog {
    std::int32_t lastResult = LastResultNone;  ///< As ISmtpClient::GetLastResult tells it.
    /// The internal code of a failure whose public code a log pass has put into lastResult.
    std::optional<std::int32_t> replacedResult;
    std::deque<NarrowString> logLines;  ///< The dialogue of the last Send, oldest row first.
    CEntryQueue fileLines;              ///< Bound for the log file.
    /// The trace of a Send that ran beside another: kept from the stores that all clients share.
    std::optional<TraceStore> ownTrace;
};

/// Counts a Send, from its start to its end, so that those that run at once know of each other.
class CRunningSend {
public:
    CRunningSend();
    ~CRunningSend();
    CRunningSend(const CRunningSend &) = delete;
    CRunningSend &operator=(const CRunningSend &) = delete;

    /// Another Send has run meanwhile, for however short a time. startedSends is how many have
    /// started by now.
    bool HasMetAnother(std::uint64_t startedSends) const noexcept {
        return !startedAlone || startedSends != startNumber;
    }

private:
    bool startedAlone = false;
    std::uint64_t startNumber = 0;
};

// The trace of the last Send, until a log pass moves it to a client, lies in a store that the whole
// process shares: any client's pass takes it. Where Sends run at once each client keeps its own.
// All of these operations may be called by several threads at once, each for a client of its own.

/// Empties the store of the process and the client's lines: a Send starts.
void ClearLogStores(ClientLog &client);

/// A transfer has ended: its trace takes the place of what the store holds.
void HandOverTrace(CTransferTrace &trace, const CRunningSend &send, ClientLog &client);

/// Appends a result block for the client's last result to the store, and moves all that it holds to
/// the client. A failure in lastResult becomes its public code. A further pass on the same send
/// tells the same result; its block follows what the earlier ones left in the store.
void MakeLogPass(ClientLog &client);

/// HandOverTrace and MakeLogPass in one step, between which no other thread comes.
void HandOverTraceAndMakeLogPass(CTransferTrace &trace, const CRunningSend &send,
                                 ClientLog &client);

/// "Email sent successfully!", or "Error Info: " and the text for an internal code.
NarrowString ResultLine(std::int32_t code);

}  // namespace SMTPClientNS

#endif  // LOG_LOG_STORES_H
