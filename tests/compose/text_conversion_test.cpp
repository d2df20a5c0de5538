#include "compose/text_conversion.h"

#include <gtest/gtest.h>

#include <vector>

#include "compose/charset_converter.h"

namespace SMTPClientNS {
namespace {

struct Step {
    NarrowString charset;
    const char16_t *text;
    std::int32_t code;
    std::string_view bytes;
};

TEST(CharsetConverter, GivesCodesAndBytes) {
    using namespace std::literals;
    const NarrowString longest = "UTF-8" + NarrowString(498, ' ');  // iconv passes over blanks.
    const std::vector<Step> cases[] = {
        // Each with a converter of its own.
        {{"", u"a", -1, ""}, {"UTF-8", nullptr, -1, ""}, {"UTF-8", u"", -1, ""}},
        {{"UTF-16LE", u"a\u0100", 1, "a\0\0\x01"sv}, {"ISO-8859-1", u"日é", 1, "\xE9"}},
        {{"ASCII", u"日é", 1, ""}, {"UTF-8", u"a\xD800z\xDC00\xDC00\xD83D", 1, "az"}},
        // "utf-8" is strict until it fails, or another charset or spelling comes between.
        {{"utf-8", u"a\xD800z", -4, ""}, {"utf-8", u"a\xD800z", 1, "az"}},
        {{"utf-8", u"\xD800z", 1, ""}, {"utf-8", u"a\xD800", -4, ""}},
        {{"utf-8", u"a", 1, "a"}, {"utf8", u"a\xD800", 1, "a"}, {"utf-8", u"a\xD800", 1, "a"}},
        {{"no-such-charset", u"a", -3, ""}, {"utf-8", u"a\xDC00", -4, ""}},
        {{longest, u"é\xD800", 1, "\xC3\xA9"}, {longest + " ", u"é", -3, ""}},
        // Each text starts unshifted.
        {{"ISO-2022-JP", u"日", 1, "\x1B$BF|"}, {"ISO-2022-JP", u"a", 1, "a"}},
    };
    for (const std::vector<Step> &steps : cases) {
        CCharsetConverter converter;
        for (const Step &s : steps) {
            ConvertedText converted;
            EXPECT_EQ(converter.ConvertWideToCharset(s.charset, s.text, converted), s.code);
            EXPECT_EQ(converted.Bytes(), s.bytes) << s.charset;
            EXPECT_EQ(converted.buffer != nullptr, s.code == 1);
        }
    }
}

// iconv ends a call early, every few thousand units, if it has dropped something until then.
TEST(CharsetConverter, ConvertsAllOfALongText) {
    WideString text;
    for (int i = 0; i < 50000; ++i) {
        text += u"é\U0001F600";
    }
    ConvertedText converted;
    GetCharsetConverter().ConvertWideToCharset("ISO-8859-1", text.c_str(), converted);
    EXPECT_TRUE(converted.Bytes() == NarrowString(50000, '\xE9')) << converted.size;
}

}  // namespace
}  // namespace SMTPClientNS
