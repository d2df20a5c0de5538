#include "log/log_stores.h"

#include <array>
#include <atomic>
#include <cstdio>
#include <memory>
#include <utility>

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

/// The child of a fork starts afresh: a thread that it does not have may hold the parent's lock.
void ForgetParentStores() noexcept {
    processStores.store(nullptr);
}

/// Left to the end of the process: threads of the host may send for as long as it lives.
LogStores &TheStores() {
    LogStores *stores = processStores.load();
    if (stores == nullptr) {
        static const bool watchingForks = (OnForkInChild(ForgetParentStores), true);
        static_cast<void>(watchingForks);
        auto fresh = std::make_unique<LogStores>();
        if (processStores.compare_exchange_strong(stores, fresh.get())) {
            stores = fresh.release();
        }
    }
    return *stores;
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

/// Keeps the trace where the passes behind it look for it.
void KeepTrace(LogStores &stores, CTransferTrace &trace, const CRunningSend &send,
               ClientLog &client) REQUIRES(stores.mutex) {
    TraceStore ended = {trace.Scratch(), std::exchange(trace.FileLines(), {})};
    if (send.HasMetAnother(stores.startedSends)) {
        client.ownTrace = std::move(ended);
    } else {
        stores.shared = std::move(ended);
    }
}

void MakePass(LogStores &stores, ClientLog &client) REQUIRES(stores.mutex) {
    const std::int32_t code = client.replacedResult.value_or(client.lastResult);
    TraceStore &store = client.ownTrace ? *client.ownTrace : stores.shared;
    store.scratch += ResultBlock(code);
    store.fileLines.Append(store.scratch);
    if (code != 0) {
        client.replacedResult = code;
        client.lastResult = GetPublicCode(GetResultCatalogue(), code);
    }
    client.fileLines.Append(std::exchange(store.fileLines, {}));
}

}  // namespace

CRunningSend::CRunningSend() {
    LogStores &stores = TheStores();
    const CLock lock(stores.mutex);
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
    client.fileLines.Clear();
    client.ownTrace.reset();
    TraceStore dropped;  // Freed behind the lock: it may be as large as a mail.
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

NarrowString ResultLine(std::int32_t code) {
    return code == 0 ? NarrowString(SuccessLine)
                     : FailureHead + NarrowString(GetResultText(GetResultCatalogue(), code));
}

}  // namespace SMTPClientNS
