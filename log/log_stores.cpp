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
    /// The last entry, and each result block that followed it.
    NarrowString traceScratch GUARDED_BY(mutex);
    CEntryQueue pendingFileLines GUARDED_BY(mutex);
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

void TakeTrace(LogStores &stores, CTransferTrace &trace) REQUIRES(stores.mutex) {
    stores.traceScratch = trace.Scratch();
    stores.pendingFileLines = std::exchange(trace.FileLines(), {});
}

void MakePass(LogStores &stores, ClientLog &client) REQUIRES(stores.mutex) {
    const std::int32_t code = client.replacedResult.value_or(client.lastResult);
    stores.traceScratch += ResultBlock(code);
    stores.pendingFileLines.Append(stores.traceScratch);
    if (code != 0) {
        client.replacedResult = code;
        client.lastResult = GetPublicCode(GetResultCatalogue(), code);
    }
    client.fileLines.Append(std::exchange(stores.pendingFileLines, {}));
}

}  // namespace

void ClearLogStores(ClientLog &client) {
    client.logLines.clear();
    client.fileLines.Clear();
    LogStores &stores = TheStores();
    const CLock lock(stores.mutex);
    stores.pendingFileLines.Clear();
    stores.traceScratch.clear();
}

void HandOverTrace(CTransferTrace &trace) {
    LogStores &stores = TheStores();
    const CLock lock(stores.mutex);
    TakeTrace(stores, trace);
}

void MakeLogPass(ClientLog &client) {
    LogStores &stores = TheStores();
    const CLock lock(stores.mutex);
    MakePass(stores, client);
}

void HandOverTraceAndMakeLogPass(CTransferTrace &trace, ClientLog &client) {
    LogStores &stores = TheStores();
    const CLock lock(stores.mutex);
    TakeTrace(stores, trace);
    MakePass(stores, client);
}

NarrowString ResultLine(std::int32_t code) {
    return code == 0 ? NarrowString(SuccessLine)
                     : FailureHead + NarrowString(GetResultText(GetResultCatalogue(), code));
}

}  // namespace SMTPClientNS
