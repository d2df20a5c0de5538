#include "transport/connection_options.h"

#include <array>
#include <cstdlib>

#include "compose/text_conversion.h"
#include "platform/process.h"

namespace SMTPClientNS {
namespace {

constexpr const char *UrlScheme = "smtp://";

/// Text on its way to libcurl, which takes a copy. It may be a secret: it is overwritten at its
/// end.
class CHandedText {
public:
    explicit CHandedText(const char16_t *text) : narrow(WideToAnsi(text)) {}
    ~CHandedText() { WipeMemory(narrow.data(), narrow.size()); }
    CHandedText(const CHandedText &) = delete;
    CHandedText &operator=(const CHandedText &) = delete;

    bool IsEmpty() const { return narrow.empty(); }
    const char *Get() const { return narrow.c_str(); }

private:
    NarrowString narrow;
};

/// One field of the client's proxy settings.
class CProxyValue {
public:
    CProxyValue(const ISmtpClient &client, ProxyField field) : text(Fetch(client, field, buffer)) {}
    ~CProxyValue() { WipeMemory(buffer.data(), sizeof buffer); }
    CProxyValue(const CProxyValue &) = delete;
    CProxyValue &operator=(const CProxyValue &) = delete;

    bool IsEmpty() const { return text.IsEmpty(); }
    const char *Text() const { return text.Get(); }
    long Number() const { return std::strtol(text.Get(), nullptr, 10); }

private:
    using Buffer = std::array<char16_t, ProxyValueCapacity>;

    static const char16_t *Fetch(const ISmtpClient &client, ProxyField field, Buffer &buffer) {
        client.GetProxyValue(buffer.data(), field);
        return buffer.data();
    }

    Buffer buffer = {};
    CHandedText text;
};

long CurlProxyType(long type) {
    switch (type) {
        case ProxySocks4:
            return CURLPROXY_SOCKS4;
        case ProxySocks4a:
            return CURLPROXY_SOCKS4A;
        case ProxySocks5Hostname:
            return CURLPROXY_SOCKS5_HOSTNAME;
        default:
            return CURLPROXY_SOCKS5;
    }
}

void ApplyProxyOptions(CURL *handle, const ISmtpClient &client) {
    if (!client.IsProxyEnabled()) {
        return;
    }
    curl_easy_setopt(handle, CURLOPT_PROXY, CProxyValue(client, ProxyHost).Text());
    curl_easy_setopt(handle, CURLOPT_PROXYPORT, CProxyValue(client, ProxyPort).Number());
    const long type = CurlProxyType(CProxyValue(client, ProxyTypeNumber).Number());
    curl_easy_setopt(handle, CURLOPT_PROXYTYPE, type);
    const CProxyValue password(client, ProxyPassword);
    const CProxyValue userName(client, ProxyUserName);
    if (!userName.IsEmpty() && !password.IsEmpty()) {
        curl_easy_setopt(handle, CURLOPT_PROXYUSERNAME, userName.Text());
        curl_easy_setopt(handle, CURLOPT_PROXYPASSWORD, password.Text());
    }
}

std::int32_t ApplyServerAddress(CURL *handle, const ISmtpClient &client) {
    const char16_t *const host = client.GetHost();
    if (IsEmpty(host)) {
        return CURLE_URL_MALFORMAT;
    }
    const NarrowString url = UrlScheme + WideToAnsi(host);
    const CURLcode refusal = curl_easy_setopt(handle, CURLOPT_URL, url.c_str());
    if (refusal != CURLE_OK) {
        return refusal;
    }
    return curl_easy_setopt(handle, CURLOPT_PORT, static_cast<long>(client.GetPort()));
}

std::int32_t ApplyCredentials(CURL *handle, const ISmtpClient &client) {
    if (IsEmpty(client.GetUserName()) || IsEmpty(client.GetPassword())) {
        return CURLE_AUTH_ERROR;
    }
    const CHandedText userName(client.GetUserName());
    const CURLcode refusal = curl_easy_setopt(handle, CURLOPT_USERNAME, userName.Get());
    if (refusal != CURLE_OK) {
        return refusal;
    }
    return curl_easy_setopt(handle, CURLOPT_PASSWORD, CHandedText(client.GetPassword()).Get());
}

void ApplyBearerToken(CURL *handle, const ISmtpClient &client) {
    if (!IsEmpty(client.GetBearerToken())) {
        const CHandedText token(client.GetBearerToken());
        curl_easy_setopt(handle, CURLOPT_XOAUTH2_BEARER, token.Get());
    }
}

/// CURLOPT_SSLVERSION takes the lowest version in its low 16 bits, the highest in those above.
constexpr long Pinned(long version) {
    return version << 16U | version;
}

void ApplyTlsVersion(CURL *handle, std::int32_t version) {
    constexpr std::array<long, 5> curlVersions = {
        CURL_SSLVERSION_DEFAULT,         Pinned(CURL_SSLVERSION_TLSv1_0),
        Pinned(CURL_SSLVERSION_TLSv1_1), Pinned(CURL_SSLVERSION_TLSv1_2),
        Pinned(CURL_SSLVERSION_TLSv1_3),
    };
    if (version >= TlsDefault && version <= Tls13) {
        curl_easy_setopt(handle, CURLOPT_SSLVERSION,
                         curlVersions[static_cast<std::size_t>(version)]);
    }
}

void ApplyTlsOptions(CURL *handle, const ISmtpClient &client) {
    if (client.GetUseTls()) {
        curl_easy_setopt(handle, CURLOPT_USE_SSL, static_cast<long>(CURLUSESSL_ALL));
        ApplyTlsVersion(handle, client.GetTlsVersion());
    } else {
        curl_easy_setopt(handle, CURLOPT_USE_SSL, static_cast<long>(CURLUSESSL_NONE));
    }
}

void ApplyCertificateChecks(CURL *handle, const ISmtpClient &client) {
    if (client.GetVerifyPeer() != 0) {
        curl_easy_setopt(handle, CURLOPT_SSL_VERIFYPEER, 1L);
        curl_easy_setopt(handle, CURLOPT_SSL_OPTIONS, static_cast<long>(CURLSSLOPT_NATIVE_CA));
    } else {
        curl_easy_setopt(handle, CURLOPT_SSL_VERIFYPEER, 0L);
        curl_easy_setopt(handle, CURLOPT_SSL_VERIFYHOST, 0L);
    }
    curl_easy_setopt(handle, CURLOPT_SSL_VERIFYSTATUS, client.GetVerifyStatus() ? 1L : 0L);
}

}  // namespace

std::int32_t ApplyConnectionOptions(CURL *handle, const ISmtpClient *client) {
    if (handle == nullptr || client == nullptr) {
        return CURLE_OK;
    }
    ApplyProxyOptions(handle, *client);
    if (const std::int32_t stop = ApplyServerAddress(handle, *client); stop != CURLE_OK) {
        return stop;
    }
    if (client->GetConnectTimeout() >= 0) {
        curl_easy_setopt(handle, CURLOPT_CONNECTTIMEOUT,
                         static_cast<long>(client->GetConnectTimeout()));
    }
    if (const std::int32_t stop = ApplyCredentials(handle, *client); stop != CURLE_OK) {
        return stop;
    }
    ApplyBearerToken(handle, *client);
    ApplyTlsOptions(handle, *client);
    ApplyCertificateChecks(handle, *client);
    return CURLE_OK;
}

}  // namespace SMTPClientNS
