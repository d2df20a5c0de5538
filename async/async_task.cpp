#include "async/async_task.h"

#include <smtpclient/completion_sink.h>

#include "client/prepare_send.h"
#include "compose/text_conversion.h"
#include "transport/result_catalogue.h"

namespace SMTPClientNS {
namespace {

class CNestingImp final : public INesting {
public:
    void Prepare() override {
        MakeSendHandles(record->sendHandles);
        record->result = PrepareSend(record->sendHandles, record->client.Get());
    }

    void Perform() override {
        if (record->result == 0) {
            record->result = PerformTransfer(record->sendHandles, record->stopRequested);
        }
    }

    void Finish() override {
        // The sink of this moment, not of the start.
        ICompletionSink *const sink = record->client->GetCompletionSink();
        if (sink == nullptr) {
            return;
        }
        const ResultCatalogue &catalogue = GetResultCatalogue();
        WideString text;
        BytesToWide(GetResultText(catalogue, record->result), text, SystemCodePage);
        sink->OnSendComplete(record->taskId, GetPublicCode(catalogue, record->result),
                             text.c_str());
    }

    void SetTaskData(AsyncTaskRecord *task) override { record = task; }
    AsyncTaskRecord *GetTaskData() const override { return record; }

private:
    AsyncTaskRecord *record = nullptr;
};

}  // namespace

std::int32_t CAsyncTask::ExecuteTask(ISmtpClient *client) {
    auto record = std::make_unique<AsyncTaskRecord>(client);
    record->nesting = std::make_unique<CNestingImp>();
    return thread.StartTask(std::move(record));
}

}  // namespace SMTPClientNS
