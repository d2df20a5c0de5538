#include "compose/header_block.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include "tests/support/host_tools.h"

namespace SMTPClientNS {
namespace {

using Boxes = std::vector<std::u16string>;

void RecordBox(const char16_t *text, const char16_t *caption, std::uint32_t style, void *boxes) {
    const std::string end = "|" + std::to_string(style);
    static_cast<Boxes *>(boxes)->push_back(std::u16string(caption) + u"|" + text + Wide(end));
}

TEST(HeaderBlock, LosesTheTextsThatCannotBeConverted) {
    NarrowString host(256, '\0');
    ASSERT_EQ(::gethostname(host.data(), host.size()), 0);
    host.resize(host.find_first_of(std::string(".\0", 2)));
    const Client client = MakeClient();
    const Message message = MakeMessage();
    message->SetSender(u"a@x", u"Ä");
    message->AddRecipient(u"b@x", u"B, \"C\"");
    message->AddRecipient(u"ü@x", nullptr);
    message->AddBcc(u"d@x", u"日本");
    message->SetSubject(u"an Ä Ä x");
    message->SetCharset(u"no-such-charset");
    message->SetPriority(7);
    Boxes boxes;
    SmtpClientSetMessageBox(RecordBox, &boxes);
    NarrowString block = "kept ", next;
    BuildHeaderBlock(client.get(), block);  // Nothing without a message.
    client->SetMessage(message.get());
    BuildHeaderBlock(client.get(), block);
    const std::u16string box = u"SmtpClient Error|EncodingConvert Failed, Error Number : -3|16";
    EXPECT_EQ(boxes, Boxes(3, box));
    BuildHeaderBlock(client.get(), next);
    SmtpClientSetMessageBox(nullptr, nullptr);
    EXPECT_NE(next, block.substr(5)) << "not each mail has an identifier of its own";
    EXPECT_EQ(block.replace(block.rfind('<') + 1, 36, "ID"),
              "kept From:  <a@x>\r\nTo: B, \"C\" <b@x>,\r\n \xC3\xBC@x\r\nBcc:  <d@x>\r\n"
              "Subject: an \r\n\r\nMessage - ID: <ID@" +
                  host + ">\r\n");
}

}  // namespace
}  // namespace SMTPClientNS
