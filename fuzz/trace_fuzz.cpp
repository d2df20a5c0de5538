#include <cstdio>

#include "fuzz/fuzz_input.h"
#include "log/log_text.h"
#include "log/trace_capture.h"
#include "log/trace_rows.h"

namespace SMTPClientNS {
namespace {

/// Byte by byte, as a reader would say it.
std::string NaiveRows(char label, std::string_view data) {
    const auto isBreak = [data](std::size_t at) {
        return at + 1 < data.size() && data[at] == '\r' && data[at + 1] == '\n';
    };
    std::string rows;
    for (std::size_t position = 0; position < data.size();) {
        rows += std::string{label} + ": ";
        std::size_t next = position + 96;
        for (std::size_t at = position; at < data.size() && at < position + 96; ++at) {
            if (isBreak(at)) {
                next = at + 2;
                break;
            }
            const auto byte = static_cast<unsigned char>(data[at]);
            rows += byte >= 0x20 && byte < 0x80 ? data[at] : '.';
            if (isBreak(at + 1)) {
                next = at + 3;
                break;
            }
        }
        position = next;
        rows += '\n';
    }
    return rows;
}

}  // namespace
}  // namespace SMTPClientNS

int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    using namespace SMTPClientNS;
    CFuzzInput input(data, size);
    CTransferTrace trace;
    trace.SwitchOn(nullptr);
    std::string expected;
    while (!input.IsEmpty()) {
        const auto type = static_cast<curl_infotype>(1 + input.Byte() % 7);
        std::string report(input.Take(input.Byte()));
        CTransferTrace::TraceCallback(nullptr, type, report.data(), report.size(), &trace);
        if (type < CURLINFO_END) {
            expected += NaiveRows(type % 2 == 1 ? 'S' : 'C', report);
        }
    }
    ClientLog log;
    log.lastResult = 0;
    HandOverTraceAndMakeLogPass(trace, CRunningSend(), log);
    std::string joined;
    ReadFileLines(log, [&joined](std::string_view entry) {
        joined += entry;
        return true;
    });
    Require(joined.compare(0, expected.size(), expected) == 0);
    log.logLines = trace.Dialogue().TakeEntries("end\n");
    Require(!JoinLogLines(log).empty() && LastLogLine(log) == u"end\n");
    return 0;
}
