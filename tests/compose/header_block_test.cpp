#include "compose/header_block.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <utility>

#include "tests/support/host_tools.h"

namespace SMTPClientNS {
namespace {

using Boxes = std::vector<std::u16string>;

void RecordBox(const char16_t *text, const char16_t *caption, std::uint32_t style, void *boxes) {
    const std::string end = "|" + std::to_string(style);
    static_cast<Boxes *>(boxes)->push_back(std::u16string(caption) + u"|" + text + Wide(end));
}

TEST(HeaderBlock, Whole) {
    struct Case {
        const char16_t *charset;
        std::int32_t priority;
        std::size_t boxes;  ///< One for each text that cannot be converted.
        const char *expected;
    };
    const Case cases[] = {
        {u"UTF-8", PriorityNormal, 0,
         "kept From: =?UTF-8?b?w4Q=?= <a@x>\r\nTo: B, \"C\" <b@x>,\r\n \xC3\xBC@x\r\n"
         "Bcc: =?UTF-8?b?5pel5pysIPCfmIA=?= <d@x>\r\nX-Priority: 3 \r\n"
         "Subject: an =?UTF-8?b?w4Qg?==?UTF-8?b?w4Qg?=x\r\n\r\n"},
        {u"ISO-8859-1", PriorityLow, 0,
         "kept From: =?ISO-8859-1?b?xA==?= <a@x>\r\nTo: B, \"C\" <b@x>,\r\n \xC3\xBC@x\r\n"
         "Bcc: =?ISO-8859-1?b?IA==?= <d@x>\r\nX-Priority: 4 \r\n"
         "Subject: an =?ISO-8859-1?b?xCA=?==?ISO-8859-1?b?xCA=?=x\r\n\r\n"},
        {u"no-such-charset", PriorityHigh, 3,
         "kept From:  <a@x>\r\nTo: B, \"C\" <b@x>,\r\n \xC3\xBC@x\r\n"
         "Bcc:  <d@x>\r\nX-Priority: 2 \r\nSubject: an \r\n\r\n"},
        {u"no-such-charset", 7, 3,
         "kept From:  <a@x>\r\nTo: B, \"C\" <b@x>,\r\n \xC3\xBC@x\r\n"
         "Bcc:  <d@x>\r\nSubject: an \r\n\r\n"},
    };
    NarrowString host(256, '\0'), previous;
    ASSERT_EQ(::gethostname(host.data(), host.size()), 0);
    host.resize(host.find_first_of(std::string(".\0", 2)));
    for (const Case &c : cases) {
        const Client client = MakeClient();
        const Message message = MakeMessage();
        message->SetSender(u"a@x", u"Ä");
        message->AddRecipient(u"b@x", u"B, \"C\"");
        message->AddRecipient(u"ü@x", nullptr);
        message->AddBcc(u"d@x", u"日本 \U0001F600");
        message->SetSubject(u"an Ä Ä x");
        message->SetCharset(c.charset);
        message->SetPriority(c.priority);
        Boxes boxes;
        SmtpClientSetMessageBox(RecordBox, &boxes);
        NarrowString block = "kept ";
        BuildHeaderBlock(client.get(), block);  // Nothing without a message.
        client->SetMessage(message.get());
        BuildHeaderBlock(client.get(), block);
        SmtpClientSetMessageBox(nullptr, nullptr);
        const std::size_t at = block.rfind('<') + 1;
        const NarrowString id = block.substr(at, 36);
        EXPECT_EQ(block.replace(at, 36, "ID"),
                  c.expected + ("Message - ID: <ID@" + host + ">\r\n"));
        EXPECT_EQ(id.find_first_not_of("0123456789ABCDEF-"), id.npos) << id;
        EXPECT_EQ(id.substr(8, 1) + id.substr(13, 2) + id[18] + id[23], "--4--") << id;
        EXPECT_NE(NarrowString("89AB").find(id[19]), id.npos) << id;
        EXPECT_NE(std::exchange(previous, id), id) << "not each mail has an identifier of its own";
        const std::string box = "SmtpClient Error|EncodingConvert Failed, Error Number : -3|16";
        EXPECT_EQ(boxes, Boxes(c.boxes, Wide(box)));
    }
}

}  // namespace
}  // namespace SMTPClientNS
