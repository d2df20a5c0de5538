#ifndef LOG_LOG_STORES_H
#define LOG_LOG_STORES_H

#include <cstddef>
#include <cstdint>
#include <deque>
#include <list>
#include <memory>
#include <optional>

#include <smtpclient/smtp_client.h>

#include "log/entry_queue.h"
#include "log/pass_text.h"
#include "log/trace_capture.h"
#include "platform/text_types.h"

namespace SMTPClientNS {

// A log pass closes the log of a send: it adds a result block to the end of the trace and moves all
// entries of the store to the client that asks for its log. A further pass on the same send adds a
// further block.

/// Entries of the last Send that no log pass has moved yet, and what the passes add to.
struct TraceStore {
    std::shared_ptr<CPassText> passText;  ///< Null until the first pass, if no trace came before.
    CEntryQueue entries;
};

/// What one log pass moved to a client: entries of the trace, then the pass's own. Passes that
/// follow one another over the same trace share a record.
struct LoggedPasses {
    CEntryQueue entries;
    std::shared_ptr<const CPassText> passText;
    std::size_t firstPass = 0;
    std::size_t lastPass = 0;
};

/// A client's share of the log.
struct ClientLog {
    std::int32_t lastResult = LastResultNone;  ///< As ISmtpClient::GetLastResult tells it.
    /// The internal code of a failure whose public code a log pass has put into lastResult.
    std::optional<std::int32_t> replacedResult;
    std::deque<NarrowString> logLines;  ///< The dialogue of the last Send, oldest row first.
    std::list<LoggedPasses> fileLines;  ///< Bound for the log file, oldest first.
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

    /// Whether another Send has run meanwhile, for however short a time. startedSends is how many
    /// have started by now.
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

/// Makes a log pass that tells the client's last result. A failure in lastResult becomes its public
/// code. A further pass on the same send tells the same result. Without memory for it nothing
/// changes.
void MakeLogPass(ClientLog &client);

/// All entries bound for the client's log file, oldest first.
void ReadFileLines(const ClientLog &client, const LogEntryReader &read);

/// HandOverTrace and MakeLogPass under one lock, so that no pass of another thread takes the trace.
void HandOverTraceAndMakeLogPass(CTransferTrace &trace, const CRunningSend &send,
                                 ClientLog &client);

/// "Email sent successfully!", or "Error Info: " and the text for an internal code.
NarrowString ResultLine(std::int32_t code);

}  // namespace SMTPClientNS

#endif  // LOG_LOG_STORES_H
