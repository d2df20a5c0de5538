#include "message/html_images.h"

#include <gtest/gtest.h>

#include <chrono>

#include "tests/support/host_tools.h"

namespace SMTPClientNS {

TEST(HtmlImages, RewritesTheFirstQuotedValueOfEachTag) {
    // So often that a search through, or a copy of, the rest for each tag takes minutes.
    constexpr int Often = 400000;
    struct Case {
        const char16_t *html, *expected;  // Null: the same.
        std::u16string images = u"";      // Path and id of each.
        int times = 1;
    };
    const Case cases[] = {
        {u"1<img src=\"/\">2", u"1<img src=\"cid:/\">2", u"//"},
        {u"<ImG \"/\"><IMGS \".\">", u"<ImG \"cid:/\"><IMGS \"cid:.\">", u"//.."},
        {u"<img alt=\"none\" src=\"/\">", u"<img alt=\"cid:none\" src=\"/\">"},
        {u"<img src='/'><img src=\"/><p x=\"/\">", nullptr},
        {u"x>", nullptr, u"", Often},
        {u"<img>", nullptr, u"", Often},
        {u"<img \"\">", u"<img \"cid:\">", u"", Often},
    };
    for (const Case &c : cases) {
        std::u16string html, expected, images;
        for (int i = 0; i < c.times; ++i) {
            html += c.html;
            expected += c.expected != nullptr ? c.expected : c.html;
        }
        const Message message = MakeMessage();
        message->SetHtmlBody(html.c_str());
        const auto start = std::chrono::steady_clock::now();
        ScanHtmlImages(*message);
        EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(20));
        EXPECT_TRUE(message->GetHtmlBody() == expected) << Narrow(c.html);
        for (std::uint32_t i = 1; *message->GetInlineImagePath(i) != 0; ++i) {
            images.append(message->GetInlineImagePath(i)).append(message->GetInlineImageId(i));
        }
        EXPECT_EQ(images, c.images);
    }
}

}  // namespace SMTPClientNS
