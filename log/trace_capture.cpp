#include "log/trace_capture.h"

#include <algorithm>
#include <cstdio>
#include <exception>

namespace SMTPClientNS {

void CTransferTrace::SwitchOn(CURL *handle) {
    errorText.front() = '\0';
    scratch.clear();
    fileLines.Clear();
    dialogue.Clear();
    collecting = true;
    curl_easy_setopt(handle, CURLOPT_VERBOSE, 1L);
    curl_easy_setopt(handle, CURLOPT_DEBUGFUNCTION, &TraceCallback);
    curl_easy_setopt(handle, CURLOPT_DEBUGDATA, this);
    curl_easy_setopt(handle, CURLOPT_ERRORBUFFER, errorText.data());
}

NarrowString CTransferTrace::ErrorText() const {
    NarrowString text = errorText.data();
    const auto isControl = [](unsigned char byte) { return byte < 0x20 || byte == 0x7F; };
    std::replace_if(text.begin(), text.end(), isControl, '.');
    return text;
}

int CTransferTrace::TraceCallback(CURL * /*handle*/, curl_infotype type, char *data,
                                  std::size_t size, void *trace) noexcept {
    auto &self = *static_cast<CTransferTrace *>(trace);
    if (self.collecting) {
        try {
            self.Collect(type, {data, size});
        } catch (const std::exception
                     &) {  // No memory. Nothing may be thrown through libcurl, which is C.
            self.scratch.clear();
        }
    }
    return 0;
}

void CTransferTrace::Collect(curl_infotype type, std::string_view data) {
    scratch.clear();
    switch (type) {
        case CURLINFO_TEXT:
            CollectText(data.data());
            break;
        case CURLINFO_HEADER_IN:
            dialogue.ServerSaid(data);
            CollectRows(ServerLabel, data);
            break;
        case CURLINFO_HEADER_OUT:
            dialogue.ClientSaid(data);
            CollectRows(ClientLabel, data);
            break;
        case CURLINFO_DATA_OUT:
            dialogue.ClientSentMail(data.size());
            CollectRows(ClientLabel, data);
            break;
        case CURLINFO_SSL_DATA_OUT:
            CollectRows(ClientLabel, data);
            break;
        case CURLINFO_DATA_IN:
        case CURLINFO_SSL_DATA_IN:
            CollectRows(ServerLabel, data);
            break;
        default:
            break;
    }
}

void CTransferTrace::CollectText(const char *text) {
    std::fputs(text, stderr);
    scratch = text;
    scratch.erase(0, std::min(scratch.find_first_not_of(' '), scratch.size()));
    fileLines.Append(scratch);
}

void CTransferTrace::CollectRows(char label, std::string_view data) {
    AppendTraceRows(label, data, scratch);
    fileLines.Append(scratch);
}

}  // namespace SMTPClientNS
