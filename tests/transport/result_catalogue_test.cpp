#include "transport/result_catalogue.h"

#include <gtest/gtest.h>
#include <stdlib.h>

#include <cstring>

namespace SMTPClientNS {
namespace {

TEST(ResultCatalogue, SpeaksTheUsersLanguage) {
    struct Case {
        const char16_t *localeName;
        std::int32_t code, publicCode;
        const char *text;
    };
    const Case cases[] = {
        {u"en-US", 60, -9, "Server certificate is revoked."},
        {u"de-DE", -3, -18, "No recipients have been specified."},
        {u"", 10, -10, "Service certificate authentication failed."},
        {u"JA-JP", 28, -11, "Operation timeout."},
        {u"ja-JP", 28, -11, "操作はタイムアウトしました。"},
        {u"azja", 1, -7, "サポートされていないプロトコルです。"},
        {u"ja", 43, -1, "一般的なエラーが発生しました。"},
        {u"", -1, -1, "A general error occurred"},
        {u"ja", 0, 1, ""},
    };
    for (const Case &c : cases) {
        const ResultCatalogue catalogue = MakeResultCatalogue(c.localeName);
        EXPECT_EQ(GetPublicCode(catalogue, c.code), c.publicCode) << c.code;
        EXPECT_STREQ(GetResultText(catalogue, c.code), c.text);
    }
}

// In a process of its own, since the code page is looked up once.
TEST(ResultCatalogueDeathTest, IsEnglishWhereTheCodePageLacksJapanese) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    const auto compare = [] {
        ::setenv("LC_ALL", "ja_JP.ISO-8859-1", 1);
        std::exit(std::strcmp(GetResultText(GetResultCatalogue(), 28), "Operation timeout."));
    };
    EXPECT_EXIT(compare(), testing::ExitedWithCode(0), "");
}

}  // namespace
}  // namespace SMTPClientNS
