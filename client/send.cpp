#include <new>
#include <optional>

#include "client/prepare_send.h"
#include "client/smtp_client_wrapper.h"
#include "log/log_file.h"
#include "platform/cancellation.h"
#include "transport/curl_use.h"
#include "transport/result_catalogue.h"

namespace SMTPClientNS {

std::int32_t CSmtpClientWrapper::Send() {
    const CUncancellable untilSent;
    log.lastResult = NothingToSend;
    log.replacedResult.reset();
    ReleaseSendHandles(sendHandles);
    std::optional<CRunningSend> running;
    const std::int32_t preparation = Prepare(running);
    const std::int32_t code = preparation == 0 ? PerformTransfer(sendHandles) : preparation;
    trace.Finish();
    log.lastResult = code;
    log.replacedResult
        .reset();  // A message box may have asked for the log while mail was composed.
    try {
        if (preparation == 0) {
            LogTransfer(*running);
        }
        log.logLines = trace.Dialogue().TakeEntries(ClosingEntry(code));
    } catch (const std::bad_alloc &) {
        // Only the log is lost. The result of the send is known and still returned.
    }
    if (code != CURLE_OK) {
        StayWhileProcessEnds();
    }
    return GetPublicCode(GetResultCatalogue(), code);
}

std::int32_t CSmtpClientWrapper::Prepare(std::optional<CRunningSend> &running) {
    try {
        running.emplace();
        GetResultCatalogue();  // Made now: at the end there may be no memory for it.
        MakeSendHandles(sendHandles);
        ClearLogStores(log);
        trace.SwitchOn(sendHandles.easyHandle.get());
        sendHandles.trace = {&CTransferTrace::TraceCallback, &trace};
        return PrepareSend(sendHandles, this);
    } catch (const std::bad_alloc &) {
        return CURLE_OUT_OF_MEMORY;
    }
}

void CSmtpClientWrapper::LogTransfer(const CRunningSend &running) {
    if (logFilePath.empty()) {
        HandOverTrace(trace, running, log);
        return;
    }
    HandOverTraceAndMakeLogPass(trace, running, log);
    WriteFileLines(log, logFilePath, appendLog);
}

/// The result in the user's language with, where known, the server's own words: its refusal, or its
/// acceptance of the mail. What stopped a send before the server could refuse it is told by
/// libcurl.
NarrowString CSmtpClientWrapper::ClosingEntry(std::int32_t code) const {
    const CDialogue &dialogue = trace.Dialogue();
    const bool serverDecided = code == 0 || dialogue.LastReplyIsRefusal();
    const NarrowString reason = serverDecided ? dialogue.LastReply() : trace.ErrorText();
    return ResultLine(code) + (reason.empty() ? "" : " (" + reason + ")") + "\n";
}

}  // namespace SMTPClientNS
