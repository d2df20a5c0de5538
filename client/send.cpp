#include "client/prepare_send.h"
#include "client/smtp_client_wrapper.h"
#include "log/log_file.h"
#include "transport/envelope.h"
#include "transport/result_catalogue.h"

namespace SMTPClientNS {

std::int32_t CSmtpClientWrapper::Send() {
    log.lastResult = NothingToSend;
    log.replacedResult.reset();
    ReleaseSendHandles(sendHandles);
    MakeSendHandles(sendHandles);
    ClearLogStores(log);
    trace.SwitchOn(sendHandles.easyHandle.get());
    const std::int32_t preparation = PrepareSend(sendHandles, this);
    log.lastResult = preparation;
    if (preparation == 0) {
        RunTransfer();
    }
    trace.Finish();
    const std::int32_t code = log.replacedResult.value_or(log.lastResult);
    log.logLines = trace.Dialogue().TakeEntries(ClosingEntry(code));
    return GetPublicCode(GetResultCatalogue(), code);
}

void CSmtpClientWrapper::RunTransfer() {
    log.lastResult = PerformTransfer(sendHandles);
    trace.Finish();
    if (logFilePath.empty()) {
        HandOverTrace(trace);
        return;
    }
    HandOverTraceAndMakeLogPass(trace, log);
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
