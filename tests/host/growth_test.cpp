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

std::u16string Repeated(const std::u16string &piece, std::size_t count) {
    std::u16string text;
    for (std::size_t number = 0; number < count; ++number) {
        text += piece;
    }
    return text;
}

/// Eight times as much takes eight times as long, and not sixty-four times.
TEST(Growth, OfTheCostIsThatOfTheMail) {
    struct Case {
        const char *name;
        void (*fill)(IMimeMessage &message, std::size_t count);
        std::size_t count;
    };
    const Case cases[] = {
        {"recipients",
         [](IMimeMessage &message, std::size_t count) {
             for (std::size_t number = 0; number < count; ++number) {
                 message.AddRecipient(u"a@x", u"name");
             }
         },
         10000},
        {"blanks of a subject",
         [](IMimeMessage &message, std::size_t count) {
             message.SetSubject(Repeated(u"ü x ", count).c_str());
         },
         30000},
        {"picture tags of a file",
         [](IMimeMessage &message, std::size_t count) {
             const CTemporaryFolder folder;
             const std::string html = Narrow(Repeated(u"<img src=\"none\"><p>", count));
             message.LoadBodyFromFile(folder.Write("html", html).c_str(), BodyHtmlUtf8WithImages);
         },
         10000},
        {"attachments",
         [](IMimeMessage &message, std::size_t count) {
             for (std::size_t number = 0; number < count; ++number) {
                 message.AddAttachment(u"/");
             }
         },
         5000},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.name);
        const auto costOf = [&c](std::size_t count) {
            const Message message = MakeSmallMessage();
            const Client client = MakeClientFor(1);
            client->SetMessage(message.get());
            const double begin = ProcessorTime();
            c.fill(*message, count);
            client->SendAsync();
            return ProcessorTime() - begin;
        };
        costOf(c.count);  // What is made at the first use is made.
        EXPECT_LT(costOf(8 * c.count), 24 * costOf(c.count));
    }
}

}  // namespace
}  // namespace SMTPClientNS
