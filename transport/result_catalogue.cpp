#include "transport/result_catalogue.h"

#include <curl/curl.h>

#include <algorithm>
#include <array>
#include <string_view>

#include <smtpclient/smtp_client.h>

#include "platform/code_page.h"
#include "platform/locale.h"
#include "platform/never_destroyed.h"

namespace SMTPClientNS {
namespace {

struct SourceRow {
    std::int32_t code;
    std::int32_t publicCode;
    const char16_t *english;
    const char16_t *japanese;
};

constexpr std::array<SourceRow, 19> SourceRows = {{
    {CURLE_OK, ResultSuccess, u"", u""},
    {GeneralErrorRow, ResultGeneralError, u"A general error occurred",
     u"一般的なエラーが発生しました。"},
    {CURLE_FAILED_INIT, ResultInitFailed, u"Unable to connect to service through proxy.",
     u"プロキシを経由してサービスに接続できません。"},
    {CURLE_COULDNT_RESOLVE_PROXY, ResultProxyNotResolved,
     u"Couldn't resolve proxy. The given proxy host could not be resolved.",
     u"プロキシを解決できませんでした。指定されたプロキシ ホストを解決できませんでした。"},
    {CURLE_COULDNT_RESOLVE_HOST, ResultHostNotResolved,
     u"Couldn't resolve host. The given remote host could not be resolved.",
     u"ホストを解決できませんでした。 指定されたリモート ホストを解決できませんでした。"},
    {CURLE_COULDNT_CONNECT, ResultConnectFailed, u"Failed to connect to host.",
     u"ホスト接続に失敗しました。"},
    {CURLE_URL_MALFORMAT, ResultBadHost, u"Host using bad/illegal format or missing host.",
     u"ホストの形式に誤りがあるか、ホストが見つかりません。"},
    {CURLE_UNSUPPORTED_PROTOCOL, ResultUnsupportedProtocol, u"Protocol that does not support.",
     u"サポートされていないプロトコルです。"},
    {CURLE_SSL_CONNECT_ERROR, ResultTlsFailed, u"Wrong when connecting with SSL.",
     u"SSL 接続に失敗しました。"},
    {CURLE_PEER_FAILED_VERIFICATION, ResultCertificateRejected, u"Server certificate is revoked.",
     u"サーバーの証明書は取り消されています。"},
    {CURLE_FTP_ACCEPT_FAILED, ResultCertificateAuthFailed,
     u"Service certificate authentication failed.", u"サービス証明書の認証に失敗しました。"},
    {CURLE_OPERATION_TIMEDOUT, ResultTimeout, u"Operation timeout.",
     u"操作はタイムアウトしました。"},
    {CURLE_LOGIN_DENIED, ResultLoginDenied, u"The remote server denied curl to login.",
     u"リモートサーバーは curl のログインを拒否しました。"},
    {CURLE_SEND_ERROR, ResultSendFailed, u"Failed sending network data.",
     u"ネットワークデータの送信に失敗しました。"},
    {CURLE_RECV_ERROR, ResultReceiveFailed, u"Failure in receiving network data.",
     u"ネットワークデータの受信に失敗しました。"},
    {CURLE_AUTH_ERROR, ResultBadCredentials, u"Incorrect username or password.",
     u"ユーザー名またはパスワードが正しくありません。"},
    {CURLE_READ_ERROR, ResultFileUnreadable, u"Error reading local file.",
     u"ローカル ファイルの読み取りエラーです。"},
    {NoSender, ResultNoSender, u"No sender has been specified.", u"送信者が指定されていません。"},
    {NoRecipients, ResultNoRecipients, u"No recipients have been specified.",
     u"受信者が指定されていません。"},
}};

/// Looked for anywhere in the name. That is harmless, as only Japanese has texts of its own.
constexpr std::u16string_view JapaneseMark = u"ja";

bool CodePageCarriesJapanese() {
    return std::all_of(SourceRows.begin(), SourceRows.end(), [](const SourceRow &row) {
        return SystemCodePageToWide(WideToSystemCodePage(row.japanese)) == row.japanese;
    });
}

const ResultRow &RowFor(const ResultCatalogue &catalogue, std::int32_t code) {
    const auto row = catalogue.find(code);
    return row != catalogue.end() ? row->second : catalogue.at(GeneralErrorRow);
}

}  // namespace

ResultCatalogue MakeResultCatalogue(const WideString &localeName) {
    const bool inJapanese =
        localeName.find(JapaneseMark) != WideString::npos && CodePageCarriesJapanese();
    ResultCatalogue catalogue;
    for (const SourceRow &row : SourceRows) {
        const char16_t *const text = inJapanese ? row.japanese : row.english;
        catalogue[row.code] = {row.publicCode, WideToSystemCodePage(text)};
    }
    return catalogue;
}

const ResultCatalogue &GetResultCatalogue() {
    static CNeverDestroyed<const ResultCatalogue> catalogue;
    return catalogue.Get([] { return MakeResultCatalogue(UserLocaleName()); });
}

const char *GetResultText(const ResultCatalogue &catalogue, std::int32_t code) {
    return RowFor(catalogue, code).text.c_str();
}

std::int32_t GetPublicCode(const ResultCatalogue &catalogue, std::int32_t code) {
    return RowFor(catalogue, code).publicCode;
}

}  // namespace SMTPClientNS
