#include <regex>

#include "fuzz/fuzz_input.h"
#include "log/log_text.h"
#include "log/trace_capture.h"
#include "log/trace_rows.h"

/// Rows of up to 96 bytes, each ended early by a CR LF.
static std::string ByRegularExpression(char label, const std::string &data) {
    static const std::regex row("((?:(?!\\r\\n)[\\s\\S]){1,96})(?:\\r\\n)?|\\r\\n");
    std::string rows;
    for (std::sregex_iterator next(data.begin(), data.end(), row), end; next != end; ++next) {
        rows += std::string{label} + ": ";
        for (const char byte : next->str(1)) {
            rows += byte >= 0x20 ? byte : '.';
        }
        rows += '\n';
    }
    return rows;
}

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
            expected += ByRegularExpression(type % 2 == 1 ? 'S' : 'C', report);
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
