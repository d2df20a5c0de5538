#ifndef LOG_TRACE_CAPTURE_H
#define LOG_TRACE_CAPTURE_H

#include <curl/curl.h>

#include <array>
#include <string_view>

#include "log/dialogue.h"
#include "log/entry_queue.h"
#include "log/trace_rows.h"
#include "platform/text_types.h"

namespace SMTPClientNS {

/// What libcurl reports of one transfer, collected apart from all others: no lock is taken for a
/// report, and no log gets the lines of another send.
///
/// Outlives the easy handle that it is set on, which may report as late as its clean-up.
class CTransferTrace {
public:
    CTransferTrace() = default;
    CTransferTrace(const CTransferTrace &) = delete;
    CTransferTrace &operator=(const CTransferTrace &) = delete;

    /// Has the handle report here, and forgets what an earlier one reported.
    void SwitchOn(CURL *handle);

    /// Between SwitchOn and this call reports are collected; those of a later clean-up are not.
    void Finish() noexcept { collecting = false; }

    /// CURLOPT_DEBUGFUNCTION; trace is the CTransferTrace. Text of libcurl's own also goes to the
    /// standard error stream. When memory runs out, the entry is dropped. Always 0.
    static int TraceCallback(CURL *handle, curl_infotype type, char *data, std::size_t size,
                             void *trace) noexcept;

    /// The last finished entry.
    const TraceText &Scratch() const noexcept { return scratch; }

    /// All finished entries; the caller may move them away.
    CEntryQueue &FileLines() noexcept { return fileLines; }

    CDialogue &Dialogue() noexcept { return dialogue; }
    const CDialogue &Dialogue() const noexcept { return dialogue; }

    /// What libcurl says of a failure (CURLOPT_ERRORBUFFER); empty if it says nothing. Control
    /// bytes show as full stops: names in a server's certificate are quoted as they are.
    NarrowString ErrorText() const;

private:
    void Collect(curl_infotype type, std::string_view data);
    void CollectText(const char *text);
    void CollectRows(char label, std::string_view data);

    TraceText scratch;  ///< The entry under construction, reused from report to report.
    CEntryQueue fileLines;
    CDialogue dialogue;
    std::array<char, CURL_ERROR_SIZE> errorText = {};
    bool collecting = false;
};

}  // namespace SMTPClientNS

#endif  // LOG_TRACE_CAPTURE_H
