#include "log/trace_capture.h"

#include <gtest/gtest.h>

#include "transport/curl_handles.h"

namespace SMTPClientNS {
namespace {

TEST(TraceCapture, MakesOneEntryOfEachReport) {
    struct Case {
        int type;
        std::string data;
        std::string entry;
        const char *onStandardError = "";
    };
    Case cases[] = {
        {CURLINFO_TEXT, "  Trying\n", "Trying\n", "  Trying\n"},
        {CURLINFO_TEXT, "\t %s\r\nb", "\t %s\r\nb", "\t %s\r\nb"},
        {CURLINFO_TEXT, "   ", "", "   "},
        {CURLINFO_HEADER_IN, "250 OK\r\n", "S: 250 OK\n"},
        {CURLINFO_HEADER_OUT, "QUIT\r\n", "C: QUIT\n"},
        {CURLINFO_DATA_OUT, "a\r\n\r\nb", "C: a\nC: \nC: b\n"},
        {CURLINFO_SSL_DATA_IN, std::string("\0\x1F \x7E\x7F\x80\xFF\t", 8), "S: .. ~\x7F...\n"},
        {CURLINFO_END, "a", ""},
    };
    CTransferTrace trace;
    const CurlEasy handle = MakeEasyHandle();
    for (auto &[type, data, entry, onStandardError] : cases) {
        trace.SwitchOn(handle.get());
        testing::internal::CaptureStderr();
        for (int report = 0; report < 2; ++report) {  // The second one comes too late.
            const auto kind = static_cast<curl_infotype>(type);
            EXPECT_EQ(trace.TraceCallback(nullptr, kind, data.data(), data.size(), &trace), 0);
            trace.Finish();
        }
        EXPECT_EQ(testing::internal::GetCapturedStderr(), onStandardError);
        EXPECT_EQ(std::string_view(trace.Scratch()), entry);
        const CEntryQueue::Chunks &stored = trace.FileLines().Bytes();
        EXPECT_EQ(stored.empty() ? std::string_view() : stored.front(), entry);
    }
}

}  // namespace
}  // namespace SMTPClientNS
