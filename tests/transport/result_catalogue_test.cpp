#include "transport/result_catalogue.h"

#include <gtest/gtest.h>
#include <stdlib.h>

#include <cstring>
#include <sstream>

namespace SMTPClientNS {
namespace {

/// Internal code, public code, the text in English and in Japanese.
const char *const Rows = R"(-3 -18 No recipients have been specified. / 受信者が指定されていません。
-2 -17 No sender has been specified. / 送信者が指定されていません。
0 1  / 
1 -7 Protocol that does not support. / サポートされていないプロトコルです。
2 -2 Unable to connect to service through proxy. / プロキシを経由してサービスに接続できません。
3 -6 Host using bad/illegal format or missing host. / ホストの形式に誤りがあるか、ホストが見つかりません。
5 -3 Couldn't resolve proxy. The given proxy host could not be resolved. / プロキシを解決できませんでした。指定されたプロキシ ホストを解決できませんでした。
6 -4 Couldn't resolve host. The given remote host could not be resolved. / ホストを解決できませんでした。 指定されたリモート ホストを解決できませんでした。
7 -5 Failed to connect to host. / ホスト接続に失敗しました。
10 -10 Service certificate authentication failed. / サービス証明書の認証に失敗しました。
26 -16 Error reading local file. / ローカル ファイルの読み取りエラーです。
28 -11 Operation timeout. / 操作はタイムアウトしました。
35 -8 Wrong when connecting with SSL. / SSL 接続に失敗しました。
55 -13 Failed sending network data. / ネットワークデータの送信に失敗しました。
56 -14 Failure in receiving network data. / ネットワークデータの受信に失敗しました。
60 -9 Server certificate is revoked. / サーバーの証明書は取り消されています。
67 -12 The remote server denied curl to login. / リモートサーバーは curl のログインを拒否しました。
94 -15 Incorrect username or password. / ユーザー名またはパスワードが正しくありません。
100 -1 A general error occurred / 一般的なエラーが発生しました。
)";

TEST(ResultCatalogue, HoldsItsRowsInTwoLanguages) {
    const ResultCatalogue english = MakeResultCatalogue(u"en-US");
    const ResultCatalogue japanese = MakeResultCatalogue(u"ja-JP");
    std::ostringstream rows;
    for (const auto &[code, row] : english) {
        EXPECT_EQ(GetPublicCode(japanese, code), row.publicCode);
        rows << code << ' ' << GetPublicCode(english, code) << ' ' << GetResultText(english, code)
             << " / " << GetResultText(japanese, code) << '\n';
    }
    EXPECT_EQ(rows.str(), Rows);
    for (const std::int32_t code : {43, -1, 999}) {
        EXPECT_EQ(GetPublicCode(english, code), -1);
        EXPECT_STREQ(GetResultText(english, code), "A general error occurred");
    }
    for (const WideString name : {u"de-DE", u"JA-JP", u"", u"azja"}) {
        const bool isJapanese = name == u"azja";
        EXPECT_STREQ(GetResultText(MakeResultCatalogue(name), 28),
                     isJapanese ? "操作はタイムアウトしました。" : "Operation timeout.");
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
