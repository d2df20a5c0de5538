#include "platform/code_page.h"

#include <gtest/gtest.h>

#include <array>
#include <clocale>
#include <cstdlib>

#include "platform/locale.h"
#include "tests/support/host_tools.h"

namespace SMTPClientNS {

/// Every character on a line of its own, some of which the code page lacks: no line is empty.
static bool KeepsEveryCharacter() {
    WideString lines;
    for (char32_t c = U'\v'; c <= 0x10FFFF; c += c == 0xD7FF ? 0x801 : 1) {
        smtpclient::detail::AppendUtf16(lines, c);
        lines += u'\n';
    }
    return WideToSystemCodePage(lines).find("\n\n") == NarrowString::npos;
}

// The code page is fixed at first use, so that each row is a process of its own. Death tests come
// first: the process that they are forked from has not asked for the code page yet.
TEST(CodePageDeathTest, IsThatOfTheUsersLocale) {
    const CTemporaryFolder folder;
    const std::string latin = "localedef -i en_US -f ISO-8859-1 " + folder.PathOf("latin");
    const std::string eucJp = " && localedef -i ja_JP -f EUC-JP " + folder.PathOf("eucjp");
    ASSERT_EQ(std::system((latin + eucJp).c_str()), 0) << "needs Debian's package locales";
    ::setenv("LOCPATH", folder.PathOf("").c_str(), 1);
    ::unsetenv("LC_ALL");
    ::unsetenv("LC_CTYPE");
    ::setenv("LANG", "xx_XX.KOI8-R", 1);  // Overruled by the other two variables.
    struct Case {
        const char *variable, *locale, *narrow, *bytes;
        const char16_t *wide, *decoded;  // What narrow is made from, and bytes are read as.
    };
    const Case cases[] = {
        {"LC_ALL", "C", "\xC3\xA9\xEF\xBF\xBDx", "a\xFFz", u"é\xD800x", u"a\uFFFDz"},
        {"LC_CTYPE", "POSIX", "\xF0\x9F\x98\x80", "\xC3\xA9\xC3", u"\U0001F600", u"é\uFFFD"},
        {"LC_ALL", "latin", "\xE9?x???", "\xE9\xA4z", u"é€x\U0001F600\xD800\U000E0041", u"é¤z"},
        {"LC_CTYPE", "eucjp", "\xC6\xFC?a", "\xC6\xFC\xFF\xC6", u"日€a", u"日\uFFFD\uFFFD"},
        // Not installed: the codeset behind the dot, if there is one that iconv knows.
        {"LANG", "xx_XX.ISO-8859-15@euro", "\xA4?", "\xA4", u"€日", u"€"},
        {"LANG", "xx_XX.NONE", "\xC3\xA9", "\xC3\xA9", u"é", u"é"},
        // iconv holds a last letter back, since an accent might follow.
        {"LANG", "xx_XX.TCVN", "abc", "abc", u"abc", u"abc"},
        {"LANG", "xx_XX.BIG5-HKSCS", "\x88\x66", "\x88\x66", u"Ê", u"Ê"},
    };
    for (const Case &c : cases) {
        const auto checkAndExit = [&c] {
            ::setenv(c.variable, c.locale, 1);
            const bool isWrong = WideToSystemCodePage(c.wide) != c.narrow ||
                                 SystemCodePageToWide(c.bytes) != c.decoded ||
                                 !KeepsEveryCharacter() ||
                                 std::setlocale(LC_ALL, nullptr) != std::string("C");
            std::_Exit(isWrong ? 1 : 0);
        };
        EXPECT_EXIT(checkAndExit(), testing::ExitedWithCode(0), "") << c.locale;
    }
}

TEST(UserLocaleName, IsThatOfTheMessages) {
    const std::array<const char *, 4> cases[] = {{"ja_JP.UTF-8", "de_DE", "C", "ja-JP"},
                                                 {"", "ja@x", "C", "ja"},
                                                 {"", "", "fr_CA.ISO-8859-1@x", "fr-CA"},
                                                 {"", "POSIX", "ja_JP", ""},
                                                 {"", "", "", ""}};
    for (const auto &[all, messages, language, expected] : cases) {
        ::setenv("LC_ALL", all, 1);
        ::setenv("LC_MESSAGES", messages, 1);
        ::setenv("LANG", language, 1);
        EXPECT_EQ(UserLocaleName(), Wide(expected));
    }
}

}  // namespace SMTPClientNS
