#include "log/log_stores.h"

#include <array>
#include <atomic>
#include <cstdio>
#include <memory>
#include <utility>

#include "platform/first_use.h"
#include "platform/local_time.h"
#include "platform/process.h"
#include "platform/thread_safety.h"
#include "transport/result_catalogue.h"

namespace SMTPClientNS {
namespace {

constexpr const char *SuccessLine = "Email sent successfully!";
constexpr const char *FailureHead = "Error Info: ";
constexpr const char *TimeHead = "End Connnect: ";
constexpr const char *TimeFormat = "%02d-%02d-%02d %02d:%02d:%02d";
constexpr std::size_t RuleLength = 82;

struct LogStores {
    CMutex mutex;
    TraceStore shared GUARDED_BY(mutex);
    int runningSends GUARDED_BY(mutex) = 0;
    std::uint64_t startedSends GUARDED_BY(mutex) = 0;
};

std::atomic<LogStores *> processStores{nullptr};
bool isWatchingForks = false;  // Touched inside a CFirstUse alone.

/// The child of a fork makes stores of its own. The parent's lock may be held by a thread that does
/// not exist in the child.
void ForgetParentStores() noexcept {
    processStores.store(nullptr);
}

/// Never destroyed: threads of the host may send for as long as the process lives.
LogStores &TheStores() {
    if (LogStores *const existing = processStores.load()) {
        return *existing;
    }
    const CFirstUse firstUse;
    if (processStores.load() == nullptr) {
        processStores.store(std::make_unique<LogStores>().release());
        if (!std::exchange(isWatchingForks, true)) {
            OnForkInChild(ForgetParentStores);
        }
    }
    return *processStores.load();
}

NarrowString TimeText() {
    const LocalTime now = GetLocalTime();
    std::array<char, 80> text = {};
    std::snprintf(text.data(), text.size(), TimeFormat, now.year, now.month, now.day, now.hour,
                  now.minute, now.second);
    return text.data();
}

NarrowString ResultBlock(std::int32_t code) {
    return ResultLine(code) + "\n" + TimeHead + TimeText() + "\n\n" +
           NarrowString(RuleLength, '=') + "\n\n";
}

/// Keeps the trace where the passes that follow look for it: with all clients, whose next pass
/// takes it, if the send ran alone; with its own client if others ran beside it, so that no log
/// mixes two.
void KeepTrace(LogStores &stores, CTransferTrace &trace, const CRunningSend &send,
               ClientLog &client) REQUIRES(stores.mutex) {
    auto passText = std::make_shared<CPassText>(trace.Scratch());
    TraceStore ended = {std::move(passText), std::exchange(trace.FileLines(), {})};
    if (send.HasMetAnother(stores.startedSends)) {
        client.ownTrace = std::move(ended);
    } else {
        stores.shared = std::move(ended);
    }
}

/// Nothing has been traced since the client's last pass, and that was a pass over the same text.
/// Its record then takes in this pass too: otherwise each pass would add a record, and a client
/// that is asked for its log a thousand times would hold a thousand.
bool ContinuesLast(const ClientLog &client, const TraceStore &store, std::size_t pass) {
    return !client.fileLines.empty() && store.entries.Bytes().empty() &&
           client.fileLines.back().passText == store.passText &&
           client.fileLines.back().lastPass + 1 == pass;
}

void MakePass(LogStores &stores, ClientLog &client) REQUIRES(stores.mutex) {
    const std::int32_t code = client.replacedResult.value_or(client.lastResult);
    TraceStore &store = client.ownTrace ? *client.ownTrace : stores.shared;
    if (store.passText == nullptr) {
        store.passText = std::make_shared<CPassText>();
    }
    std::list<LoggedPasses> record(1);  // Made first: once the pass is counted nothing may fail.
    const std::size_t pass = store.passText->AddPass(ResultBlock(code));
    if (ContinuesLast(client, store, pass)) {
        client.fileLines.back().lastPass = pass;
    } else {
        record.front() = {std::exchange(store.entries, {}), store.passText, pass, pass};
        client.fileLines.splice(client.fileLines.end(), record);
    }
    if (code != 0) {
        // GetLastResult tells the public code from now on. Later passes still need the internal
        // one, which alone has a text.
        client.replacedResult = code;
        client.lastResult = GetPublicCode(GetResultCatalogue(), code);
    }
}

}  // namespace

CRunningSend::CRunningSend() {
    LogStores &stores = TheStores();
    const CLock lock(stores.mutex);
    // Together these tell at the end whether any other send ran meanwhile, even one that is over.
    startedAlone = stores.runningSends++ == 0;
    startNumber = ++stores.startedSends;
}

CRunningSend::~CRunningSend() {
    LogStores &stores = TheStores();
    const CLock lock(stores.mutex);
    --stores.runningSends;
}

void ClearLogStores(ClientLog &client) {
    client.logLines.clear();
    client.fileLines.clear();
    client.ownTrace.reset();
    TraceStore dropped;  // Freed after unlocking: it may be as large as a mail.
    LogStores &stores = TheStores();
    const CLock lock(stores.mutex);
    std::swap(dropped, stores.shared);
}

void HandOverTrace(CTransferTrace &trace, const CRunningSend &send, ClientLog &client) {
    LogStores &stores = TheStores();
    const CLock lock(stores.mutex);
    KeepTrace(stores, trace, send, client);
}

void MakeLogPass(ClientLog &client) {
    LogStores &stores = TheStores();
    const CLock lock(stores.mutex);
    MakePass(stores, client);
}

void HandOverTraceAndMakeLogPass(CTransferTrace &trace, const CRunningSend &send,
                                 ClientLog &client) {
    LogStores &stores = TheStores();
    const CLock lock(stores.mutex);
    KeepTrace(stores, trace, send, client);
    MakePass(stores, client);
}

void ReadFileLines(const ClientLog &client, const LogEntryReader &read) {
    for (const LoggedPasses &passes : client.fileLines) {
        for (const TraceText &chunk : passes.entries.Bytes()) {
            if (!read(chunk)) {
                return;
            }
        }
        if (!passes.passText->ReadEntries(passes.firstPass, passes.lastPass, read)) {
            return;
        }
    }
}

NarrowString ResultLine(std::int32_t code) {
    return code == 0 ? NarrowString(SuccessLine)
                     : FailureHead + NarrowString(GetResultText(GetResultCatalogue(), code));
}

}  // namespace SMTPClientNS
