#include <gtest/gtest.h>
#include <sys/stat.h>

#include "tests/support/host_tools.h"

namespace SMTPClientNS {
namespace {

using Text = std::u16string;

// Ahead of the first use: a system code page that is not UTF-8.
const int CodePageSet = ::setenv("LC_ALL", "xx_XX.ISO-8859-1", 1);

struct List {
    std::int32_t (IMimeMessage::*add)(const char16_t *address, const char16_t *name);
    const char16_t *(IMimeMessage::*entry)(std::uint32_t index, std::int32_t selector) const;
};
constexpr List Lists[] = {
    {&IMimeMessage::AddRecipient, &IMimeMessage::GetRecipient},
    {&IMimeMessage::AddCc, &IMimeMessage::GetCc},
    {&IMimeMessage::AddBcc, &IMimeMessage::GetBcc},
};

/// What a message holds: how many of each, then the texts.
std::string Dump(const IMimeMessage &message) {
    std::string text;
    for (const std::int32_t number :
         {message.GetRecipientCount(), message.GetCcCount(), message.GetBccCount(),
          message.GetAttachmentCount(), message.GetInlineImageCount(), message.GetPriority()}) {
        text += std::to_string(number);
    }
    for (const char16_t *field :
         {message.GetSender(FieldAddress), message.GetSender(FieldName), message.GetCharset(),
          message.GetSubject(), message.GetHtmlBody(), message.GetTextBody()}) {
        text += Narrow(field);
    }
    return text;
}

TEST(MimeMessage, Reset) {
    const char *const byKind[] = {
        "000000K",        "011117s@xSKuht", "101117s@xSKuht", "110117s@xSKuht",
        "111017s@xSKuht", "111107s@xSKuht", "111117Kuht",
    };
    for (std::int32_t kind = -1; kind <= 7; ++kind) {
        const bool isKnown = kind >= ResetAll && kind <= ResetSender;
        const Message message = MakeMessage();
        message->AddRecipient(u"t@x", u"T");
        message->AddCc(u"c@x", u"C");
        message->AddBcc(u"b@x", u"B");
        message->SetSender(u"s@x", u"S");
        message->AddAttachment(u"/");
        message->AddInlineImage(u"/", u"id");
        message->SetPriority(7);
        message->SetCharset(u"K");
        message->SetSubject(u"u");
        message->SetHtmlBody(u"h");
        message->SetTextBody(u"t");
        const std::string before = Dump(*message);
        EXPECT_EQ(message->Reset(kind), isKnown ? 1 : -1);
        EXPECT_EQ(Dump(*message), isKnown ? byKind[kind] : before) << kind;
    }
}

TEST(MimeMessage, TakesNullAndWhatItHolds) {
    const Message message = MakeMessage();
    for (const auto &[add, entry] : Lists) {
        EXPECT_EQ((message.get()->*add)(nullptr, u"A"), -1);
        EXPECT_EQ((message.get()->*add)(u"a@b", u"A"), 1);
        EXPECT_EQ((message.get()->*entry)(0, FieldAddress), Text());
        EXPECT_EQ((message.get()->*entry)(1, FieldAddress), Text(u"a@b"));
        EXPECT_EQ((message.get()->*entry)(1, FieldName), Text(u"A"));
        EXPECT_EQ((message.get()->*entry)(1, 2), Text()) << "no such selector";
    }
    message->SetSubject(nullptr);
    message->SetHtmlBody(nullptr);
    message->SetTextBody(nullptr);
    message->SetCharset(nullptr);
    EXPECT_EQ(Dump(*message), "111000UTF-8");
    const Text longAddress = Text(100, u'a') + u"@b";
    message->SetSender(u"c@d", nullptr);
    message->SetSender(longAddress.c_str(), message->GetSender(FieldAddress));
    EXPECT_EQ(message->GetSender(FieldName), Text(u"c@d")) << "what it holds may come back to it";
    message->SetSender(u"e@f", nullptr);
    EXPECT_EQ(message->GetSender(FieldName), Text(u"c@d")) << "the old name stays";
    for (const char16_t *path : {static_cast<const char16_t *>(nullptr), u"", u"/none"}) {
        EXPECT_EQ(message->AddAttachment(path), -1);
        EXPECT_EQ(message->AddInlineImage(path, u"id"), -1);
    }
    EXPECT_EQ(message->AddAttachment(u"/./"), 1);
    EXPECT_EQ(message->AddInlineImage(u"//", nullptr), 1);
    EXPECT_EQ(message->GetAttachment(1), Text(u"/./"));
    EXPECT_EQ(message->GetInlineImagePath(1), Text(u"//"));
    EXPECT_EQ(message->GetInlineImageId(1), Text());
    EXPECT_EQ(message->GetAttachment(2), Text());
}

TEST(MimeMessage, LoadBodyFromFile) {
    using namespace std::literals;
    struct Case {
        std::string content;
        std::int32_t mode;
        const char16_t *expected;      // HTML body, then text body.
        const char16_t *images = u"";  // Path and id of each.
    };
    const Case cases[] = {
        {"\xEF\xBB\xBF\xC3\xA9", BodyTextUtf8, u"<img \"/\">\uFEFFé"},
        {"<img \".\">\xC3\xA9", BodyHtmlSystem, u"<img \".\">Ã©old"},
        {"<img \".\">\xC3\xA9", BodyHtmlUtf8WithImages, u"<img \"cid:.\">éold", u".."},
        {"x", -1, u"<img \"/\">old"},
        {"a\0b"s, BodyTextUtf8, u"<img \"/\">a"},
        {"", BodyHtmlUtf8WithImages, u"<img \"cid:/\">old", u"//"},  // The old body is scanned.
    };
    const CTemporaryFolder folder;
    const Message message = MakeMessage();
    for (const Case &c : cases) {
        message->Reset(ResetInlineImages);
        message->SetHtmlBody(u"<img \"/\">");
        message->SetTextBody(u"old");
        message->LoadBodyFromFile(folder.Write("file", c.content).c_str(), c.mode);
        EXPECT_EQ(message->GetHtmlBody() + Text(message->GetTextBody()), c.expected);
        Text images;
        for (std::uint32_t i = 1; *message->GetInlineImagePath(i) != 0; ++i) {
            images.append(message->GetInlineImagePath(i)).append(message->GetInlineImageId(i));
        }
        EXPECT_EQ(images, c.images);
    }
    ASSERT_EQ(::mkfifo(folder.PathOf("pipe").c_str(), 0600), 0);
    folder.Write("huge", "x");
    std::filesystem::resize_file(folder.PathOf("huge"), std::uintmax_t{4} << 30U);  // Sparse
    for (const char *name : {"missing", "pipe", "", "huge"}) {
        message->LoadBodyFromFile(folder.WidePathOf(name).c_str(), BodyTextUtf8);
        EXPECT_EQ(message->GetTextBody(), Text(u"old")) << name;
    }
}

}  // namespace
}  // namespace SMTPClientNS
