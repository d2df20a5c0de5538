#include "async/async_task.h"

#include <new>

#include <smtpclient/completion_sink.h>

#include "client/prepare_send.h"
#include "compose/text_conversion.h"
#include "transport/curl_use.h"
#include "transport/result_catalogue.h"

namespace SMTPClientNS {
namespace {

class CNestingImp final : public INesting {
public:
    void Prepare() override {
        try {
            GetResultCatalogue();  // Made now: in Finish there may be no memory for it.
            MakeSendHandles(record->sendHandles);
            record->result = PrepareSend(record->sendHandles, record->client.Get());
        } catch (const std::bad_alloc &) {
            record->result = CURLE_OUT_OF_MEMORY;
        }
    }

    void Perform() override {
        if (record->result == 0) {
            record->result = PerformTransfer(record->sendHandles, record->stopRequested);
        }
        // Released here rather than in Finish: a report that nobody fetches would keep the
        // connection open.
        ReleaseSendHandles(record->sendHandles);
        if (record->result != CURLE_OK) {
            StayWhileProcessEnds();
        }
    }

    void Finish() override {
        // Asked for only now: the host may have set another sink since the send began.
        ICompletionSink *const sink = record->client->GetCompletionSink();
        if (sink == nullptr) {
            return;
        }
        sink->OnSendComplete(record->taskId, GetPublicCode(GetResultCatalogue(), record->result),
                             TextFor(record->result).c_str());
    }

    void SetTaskData(AsyncTaskRecord *task) override { record = task; }
    AsyncTaskRecord *GetTaskData() const override { return record; }

private:
    /// Empty where memory has run out. The sink is told the code alone then.
    static WideString TextFor(std::int32_t result) {
        WideString text;
        try {
            BytesToWide(GetResultText(GetResultCatalogue(), result), text, SystemCodePage);
        } catch (const std::bad_alloc &) {
            text.clear();
        }
        return text;
    }

    AsyncTaskRecord *record = nullptr;
};

}  // namespace

std::int32_t CAsyncTask::ExecuteTask(ISmtpClient *client) {
    try {
        auto record = std::make_unique<AsyncTaskRecord>(client);
        record->nesting = std::make_unique<CNestingImp>();
        return thread.StartTask(std::move(record));
    } catch (const std::bad_alloc &) {
        return -1;
    }
}

}  // namespace SMTPClientNS
