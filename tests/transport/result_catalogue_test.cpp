#include "transport/result_catalogue.h"

#include <gtest/gtest.h>
#include <stdlib.h>

#include <cstring>

namespace SMTPClientNS {

TEST(ResultCatalogue, SpeaksTheUsersLanguage) {
    const std::tuple<const char16_t *, std::int32_t, std::int32_t, const char *> cases[] = {
        {u"en-US", 60, -9, "Server certificate is revoked."},
        {u"", 10, -10, "Service certificate authentication failed."},
        {u"JA-JP", 28, -11, "Operation timeout."},
        {u"ja-JP", 28, -11, "操作はタイムアウトしました。"},
        {u"azja", 1, -7, "サポートされていないプロトコルです。"},
        {u"ja", 43, -1, "一般的なエラーが発生しました。"},
        {u"ja", 0, 1, ""},
    };
    for (const auto &[localeName, code, publicCode, text] : cases) {
        const ResultCatalogue catalogue = MakeResultCatalogue(localeName);
        EXPECT_EQ(GetPublicCode(catalogue, code), publicCode) << code;
        EXPECT_STREQ(GetResultText(catalogue, code), text);
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

}  // namespace SMTPClientNS
