#include "transport/connection_options.h"

#include <dlfcn.h>
#include <gtest/gtest.h>

#include <cstdarg>

#include "tests/support/host_tools.h"
#include "transport/curl_handles.h"

#undef curl_easy_setopt
#pragma GCC diagnostic ignored "-Wvarargs"  // clang: an enumeration is libcurl's own choice.

/// "PORT=25 " for each option that was set, in order.
static std::string optionsSet;

/// Stands in front of libcurl's own, since no option can be read back from a handle.
extern "C" CURLcode curl_easy_setopt(CURL *handle, CURLoption option, ...) {
    static const auto libcurlsOwn = reinterpret_cast<CURLcode (*)(CURL *, CURLoption, ...)>(
        ::dlsym(RTLD_NEXT, "curl_easy_setopt"));
    std::va_list values;
    va_start(values, option);
    const auto value = va_arg(values, long);
    va_end(values);
    const curl_easyoption &known = *curl_easy_option_by_id(option);
    const bool isText = known.type == CURLOT_STRING;
    optionsSet += known.name + std::string("=") +
                  (isText ? reinterpret_cast<const char *>(value) : std::to_string(value)) + " ";
    return libcurlsOwn(handle, option, value);
}

namespace SMTPClientNS {

using C = ISmtpClient &;

const std::string Url = "URL=smtp://mx.example ";
const std::string Server = Url + "PORT=25 CONNECTTIMEOUT=0 ";
const std::string Tls = "USE_SSL=3 SSLVERSION=0 ";
const std::string NoChecks = "SSL_VERIFYPEER=0 SSL_VERIFYHOST=0 SSL_VERIFYSTATUS=0 ";
const std::string Login = "USERNAME=u PASSWORD=p XOAUTH2_BEARER=t\xC3\xB6k ";
const std::string ToTls = Server + Login;
const std::string ToChecks = ToTls + Tls;
const std::string Rest = Login + Tls + NoChecks;
const std::string All = Server + Rest;
const std::u16string TooLong(ProxyValueCapacity, u'x');
const std::string Proxy = "PROXY=p PROXYPORT=1 PROXYTYPE=";

TEST(ConnectionOptions, AreSetInOrderUntilOneStops) {
    struct Case {
        void (*change)(ISmtpClient &client);
        std::string expected;
        std::int32_t code = CURLE_OK;
    };
    const Case cases[] = {
        {[](C) {}, All},
        {[](C c) { c.SetPort(-1); }, Url + "PORT=-1 ", 43},
        {[](C c) { c.SetConnectTimeout(-1); }, Url + "PORT=25 " + Rest},
        // The host is asked for ahead of port and login, and behind the proxy.
        {[](C c) {
             c.SetHost(u"");
             c.SetPort(-1);
             c.SetPassword(u"");
             c.SetProxy(u"p", 1, 2, nullptr, nullptr);
         },
         Proxy + "5 ", 3},
        {[](C c) { c.SetTlsVersion(1); }, ToTls + "USE_SSL=3 SSLVERSION=262148 " + NoChecks},
        {[](C c) { c.SetTlsVersion(5); }, ToTls + "USE_SSL=3 " + NoChecks},
        {[](C c) {
             c.SetTlsVersion(3);
             c.SetUseTls(false);
         },
         ToTls + "USE_SSL=0 " + NoChecks},
        {[](C c) { c.SetVerifyPeer(2); },
         ToChecks + "SSL_VERIFYPEER=1 SSL_OPTIONS=16 SSL_VERIFYSTATUS=0 "},
        {[](C c) { c.SetProxyEnabled(true); }, "PROXY= PROXYPORT=-1 PROXYTYPE=5 " + All},
        {[](C c) { c.SetProxy(u"p", 1, 1, u"a", u""); }, Proxy + "6 " + All},
        {[](C c) { c.SetProxy(u"p", 1, 3, u"", u"b"); }, Proxy + "7 " + All},
        {[](C c) {
             c.SetProxy(u"q", 2, 7, u"a", u"b");
             c.SetProxy(u"p", 1, 2, u"", u"c");
         },
         Proxy + "5 PROXYUSERNAME=a PROXYPASSWORD=b " + All},
        // What is refused leaves the proxy before it, switched off.
        {[](C c) {
             c.SetProxy(u"p", 1, 7, u"a", u"b");
             c.SetProxy(u"", 2, 2, u"c", u"c");
         },
         All},
        {[](C c) {
             c.SetProxy(u"p", 1, 7, u"a", u"b");
             c.SetProxy(TooLong.c_str(), 2, 2, u"", u"");
             c.SetProxy(u"q", 2, 2, TooLong.c_str(), u"c");
             c.SetProxy(u"q", 2, 2, u"c", TooLong.c_str());
             c.SetProxyEnabled(true);
         },
         Proxy + "5 PROXYUSERNAME=a PROXYPASSWORD=b " + All},
        {[](C c) { c.SetProxy(TooLong.c_str() + 1, 1, 7, u"", u""); },
         "PROXY=" + Narrow(TooLong.substr(1)) + " PROXYPORT=1 PROXYTYPE=5 " + All},
        {[](C c) {
             c.SetHost(nullptr);
             c.SetUserName(nullptr);
             c.SetPassword(nullptr);
             c.SetPassword(c.GetPassword());  // Its own text.
         },
         All},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.expected);
        const Client client = MakeClient();
        client->SetHost(u"mx.example");
        client->SetPort(25);
        client->SetUserName(u"u");
        client->SetPassword(u"p");
        client->SetBearerToken(u"tök");
        c.change(*client);
        optionsSet.clear();
        EXPECT_EQ(ApplyConnectionOptions(MakeEasyHandle().get(), client.get()), c.code);
        EXPECT_EQ(optionsSet, "NOSIGNAL=1 " + c.expected);
    }
}

}  // namespace SMTPClientNS
