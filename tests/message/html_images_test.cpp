#include "message/html_images.h"

#include <gtest/gtest.h>

#include "tests/support/host_tools.h"

namespace SMTPClientNS {

TEST(HtmlImages, RewritesTheFirstQuotedValueOfEachTag) {
    struct Case {
        const char16_t *html, *expected;  // Null: the same.
        std::u16string images = u"";      // Path and id of each.
    };
    const Case cases[] = {
        {u"1<img src=\"/\">2", u"1<img src=\"cid:/\">2", u"//"},
        {u"<ImG \"/\"><IMGS \".\">", u"<ImG \"cid:/\"><IMGS \"cid:.\">", u"//.."},
        {u"<img alt=\"none\" src=\"/\">", u"<img alt=\"cid:none\" src=\"/\">"},
        {u"<img src='/'><img src=\"/><p x=\"/\">", nullptr},
        {u"x>", nullptr},
        {u"<img>", nullptr},
        {u"<img \"\">", u"<img \"cid:\">"},
    };
    for (const Case &c : cases) {
        const Message message = MakeMessage();
        message->SetHtmlBody(c.html);
        ScanHtmlImages(*message);
        EXPECT_EQ(message->GetHtmlBody(),
                  std::u16string(c.expected != nullptr ? c.expected : c.html));
        std::u16string images;
        for (std::uint32_t i = 1; *message->GetInlineImagePath(i) != 0; ++i) {
            images.append(message->GetInlineImagePath(i)).append(message->GetInlineImageId(i));
        }
        EXPECT_EQ(images, c.images);
    }
}

}  // namespace SMTPClientNS
