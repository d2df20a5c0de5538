#include <time.h>

#include "tests/host/host_test.h"

namespace SMTPClientNS {
namespace {

/// Of this thread, in seconds: what other programs do leaves it alone.
double ProcessorTime() {
    timespec time = {};
    ::clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) / 1e9;
}

/// What it costs to compose a mail with that much of everything that comes in numbers.
double CostOf(std::size_t count) {
    const CTemporaryFolder folder;
    const Message message = MakeSmallMessage();
    const Client client = MakeClientFor(1);
    client->SetMessage(message.get());
    std::u16string subject;
    std::string html;
    for (std::size_t number = 0; number < count; ++number) {
        subject += u"ü x ü x ";
        html += "<img src=\"none\"><p>";
    }
    folder.Write("html", html);
    const double begin = ProcessorTime();
    for (std::size_t number = 0; number < count; ++number) {
        message->AddRecipient(u"a@x", u"name");
        message->AddAttachment(u"/");
    }
    message->SetSubject(subject.c_str());
    message->LoadBodyFromFile(folder.WidePathOf("html").c_str(), BodyHtmlUtf8WithImages);
    client->SendAsync();
    return ProcessorTime() - begin;
}

/// Eight times as much takes eight times as long, and not sixty-four times.
TEST(Growth, OfTheCostIsThatOfTheMail) {
    constexpr std::size_t Count = 6000;
    CostOf(Count);  // What is made at the first use is made.
    EXPECT_LT(CostOf(8 * Count), 24 * CostOf(Count));
}

}  // namespace
}  // namespace SMTPClientNS
