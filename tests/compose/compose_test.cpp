#include <gtest/gtest.h>

#include "compose/body_tree.h"
#include "compose/encoded_word.h"

namespace SMTPClientNS {

TEST(EncodedWord, ExactBytes) {
    struct Case {
        const char *charset;
        const char16_t *text;
        const char *subject, *displayName;
    };
    const Case cases[] = {
        {"UTF-8", nullptr, "", ""},
        {"UTF-8", u" \u007F  =?x?b?YQ==?=\t", " \x7F  =?x?b?YQ==?=\t", " \x7F  =?x?b?YQ==?=\t"},
        {"UTF-8", u"\u0080", "=?UTF-8?b?woA=?=", "=?UTF-8?b?woA=?="},
        {"UTF-8", u"x ü an", "x =?UTF-8?b?w7wg?=an", "=?UTF-8?b?eCDDvCBhbg==?="},
        {"UTF-8", u"ü ü", "=?UTF-8?b?w7wg?==?UTF-8?b?w7w=?=", "=?UTF-8?b?w7wgw7w=?="},
        {"UTF-8", u" ü  x ", " =?UTF-8?b?w7wg?= x ", "=?UTF-8?b?IMO8ICB4IA==?="},
        {"UTF-8", u"ü\tx y", "=?UTF-8?b?w7wJeCA=?=y", "=?UTF-8?b?w7wJeCB5?="},
        {"iso-8859-1", u"ûï¾ÿ x", "=?iso-8859-1?b?++++/yA=?=x", "=?iso-8859-1?b?++++/yB4?="},
        {"Shift_JIS", u"日本", "=?Shift_JIS?b?k/qWew==?=", "=?Shift_JIS?b?k/qWew==?="},
        {"ASCII", u"日", "=?ASCII?b?\?=", ""},
        // A zero byte ends a name.
        {"UTF-16LE", u"aé x", "=?UTF-16LE?b?YQDpACAA?=x", "=?UTF-16LE?b?YQ==?="},
        {"UTF-16BE", u"é", "=?UTF-16BE?b?AOk=?=", ""},
    };
    for (const Case &c : cases) {
        NarrowString subject, displayName;
        EXPECT_EQ(EncodeSubject(c.charset, c.text, subject), 1);
        EXPECT_EQ(EncodeDisplayName(c.charset, c.text, displayName), 1);
        EXPECT_EQ(subject, c.subject);
        EXPECT_EQ(displayName, c.displayName);
    }
}

TEST(BodyTree, ImageTypeForPath) {
    for (const char *path : {"a.jpg", "a.png.txt", "a.pngx", "a.pn", "a.", "png", "", "/a.png/b"}) {
        EXPECT_STREQ(ImageTypeForPath(path), "") << path;
    }
    EXPECT_STREQ(ImageTypeForPath("/x.y/a.PnG"), "image/png");
    EXPECT_STREQ(ImageTypeForPath(".bmp"), "image/bmp");
}

}  // namespace SMTPClientNS
