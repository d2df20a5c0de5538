#include <ctime>

#include "tests/host/host_test.h"

namespace SMTPClientNS {

/// The processor time that it takes to compose a mail with that much of everything that comes in
/// numbers.
static std::clock_t CostOf(std::size_t count) {
    const CTemporaryFolder folder;
    const CSender sender;
    sender.client->SetPort(1);
    std::u16string subject;
    std::string html;
    for (std::size_t number = 0; number < count; ++number) {
        subject += u"ü x ü x ";
        html += "<img src=\"none\"><p>";
    }
    folder.Write("html", html);
    const std::clock_t begin = std::clock();
    for (std::size_t number = 0; number < count; ++number) {
        sender.message->AddRecipient(u"a@x", u"name");
        sender.message->AddAttachment(u"/");
    }
    sender.message->SetSubject(subject.c_str());
    sender.message->LoadBodyFromFile(folder.WidePathOf("html").c_str(), BodyHtmlUtf8WithImages);
    sender.client->SendAsync();
    return std::clock() - begin;
}

/// Eight times as much takes eight times as long, and not sixty-four times.
TEST(Growth, OfTheCostIsThatOfTheMail) {
    constexpr std::size_t Count = 6000;
    CostOf(Count);  // What is made at the first use is made.
    EXPECT_LT(CostOf(8 * Count), 24 * CostOf(Count));
}

}  // namespace SMTPClientNS
