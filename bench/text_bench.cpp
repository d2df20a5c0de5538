// What a byte costs in the places that a mail's every byte passes.

#include <benchmark/benchmark.h>

#include <string>

#include "compose/charset_converter.h"
#include "compose/encoded_word.h"
#include "log/trace_rows.h"
#include "message/html_images.h"
#include "tests/support/host_tools.h"

namespace SMTPClientNS {
namespace {

std::u16string Repeated(const std::u16string &piece, std::size_t units) {
    std::u16string text;
    while (text.size() < units) {
        text += piece;
    }
    return text;
}

/// Shows the time for one byte of input beside that for one turn.
void CountBytes(benchmark::State &state, std::size_t bytesPerTurn) {
    const auto bytes = static_cast<double>(state.iterations()) * static_cast<double>(bytesPerTurn);
    state.counters["time/byte"] =
        benchmark::Counter(bytes, benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
}

/// A report of libcurl's as it comes from an attachment in Base64: lines of 76.
void TraceRowsOfBase64(benchmark::State &state) {
    const std::string line = std::string(76, 'A') + "\r\n";
    std::string report = line + line + line + line;
    report.resize(349, 'A');
    TraceText rows;
    for (auto turn : state) {
        rows.clear();
        AppendTraceRows(ClientLabel, report, rows);
        benchmark::DoNotOptimize(rows.data());
    }
    CountBytes(state, report.size());
}
BENCHMARK(TraceRowsOfBase64);

/// Bytes without a line end, as TLS data come.
void TraceRowsOfBinary(benchmark::State &state) {
    std::string report(16384, '\0');
    for (std::size_t at = 0; at < report.size(); ++at) {
        report[at] = static_cast<char>(at * 37);
    }
    TraceText rows;
    for (auto turn : state) {
        rows.clear();
        AppendTraceRows(ClientLabel, report, rows);
        benchmark::DoNotOptimize(rows.data());
    }
    CountBytes(state, report.size());
}
BENCHMARK(TraceRowsOfBinary);

/// Image tags alone, whose pictures do not exist. The time for a byte has to stay the same however
/// many there are.
void HtmlWithImages(benchmark::State &state) {
    const std::u16string tag = u"<img alt=x src=\"/nonexistent/a.png\">\r\n";
    const std::u16string html =
        Repeated(tag, static_cast<std::size_t>(state.range(0)) * tag.size());
    const Message message = MakeMessage();
    for (auto turn : state) {
        message->SetHtmlBody(html.c_str());
        ScanHtmlImages(*message);
        benchmark::DoNotOptimize(message->GetHtmlBody());
    }
    CountBytes(state, html.size() * sizeof(char16_t));
}
BENCHMARK(HtmlWithImages)->Arg(100)->Arg(5000)->Arg(50000);

void SubjectWithBlanks(benchmark::State &state) {
    const std::u16string subject =
        Repeated(u"Gr\u00FC\u00DFe an alle ", static_cast<std::size_t>(state.range(0)));
    for (auto turn : state) {
        NarrowString line;
        EncodeSubject("UTF-8", subject.c_str(), line);
        benchmark::DoNotOptimize(line.data());
    }
    CountBytes(state, subject.size() * sizeof(char16_t));
}
BENCHMARK(SubjectWithBlanks)->Arg(64)->Arg(4096)->Arg(1 << 20);

void BodyToCharset(benchmark::State &state, const char *charset) {
    const std::u16string body =
        Repeated(u"\u6771\u4EAC\u3078\u3088\u3046\u3053\u305D Hello\r\n", 1 << 20);
    for (auto turn : state) {
        ConvertedText converted;
        GetCharsetConverter().ConvertWideToCharset(charset, body.c_str(), converted);
        benchmark::DoNotOptimize(converted.buffer.get());
    }
    CountBytes(state, body.size() * sizeof(char16_t));
}
BENCHMARK_CAPTURE(BodyToCharset, utf8, "UTF-8");
BENCHMARK_CAPTURE(BodyToCharset, iso2022jp, "ISO-2022-JP");
BENCHMARK_CAPTURE(BodyToCharset, latin1_drops_most, "ISO-8859-1");

}  // namespace
}  // namespace SMTPClientNS
