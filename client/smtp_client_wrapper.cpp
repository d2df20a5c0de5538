#include "client/smtp_client_wrapper.h"

#include <algorithm>
#include <string_view>

#include "compose/text_conversion.h"
#include "log/log_file.h"
#include "log/log_text.h"

namespace SMTPClientNS {
namespace {

bool FitsProxyValue(const char16_t *text) {
    return std::u16string_view(text).size() < static_cast<std::size_t>(ProxyValueCapacity);
}

void CopyOut(std::u16string_view text, char16_t *buffer) {
    *std::copy(text.begin(), text.end(), buffer) = u'\0';
}

WideString DecimalText(std::int32_t number) {
    const std::string digits = std::to_string(number);
    return {digits.begin(), digits.end()};
}

}  // namespace

std::int32_t CSmtpClientWrapper::SendAsync() {
    return asyncTask.ExecuteTask(this);
}

std::int32_t CSmtpClientWrapper::CancelAsync(std::int32_t taskId) {
    return asyncTask.RemoveTask(taskId);
}

const char16_t *CSmtpClientWrapper::GetLogText() {
    MakeLogPass(log);
    if (log.logLines.empty()) {
        return u"";
    }
    const WideString text = JoinLogLines(log);
    textBuffer = text;  // Copied, not moved: the host's pointer to an equal text stays valid.
    return textBuffer.c_str();
}

void CSmtpClientWrapper::SetLogFile(const char16_t *path, bool append) {
    if (path == nullptr) {
        return;
    }
    logFilePath = path;
    appendLog = append;
    if (log.lastResult != LastResultNone) {
        MakeLogPass(log);
        WriteFileLines(log, logFilePath, appendLog);
    }
}

const char16_t *CSmtpClientWrapper::GetLastLogEntry() {
    const WideString entry = LastLogLine(log);
    textBuffer = entry;
    return textBuffer.c_str();
}

std::int32_t CSmtpClientWrapper::GetLastResult() const {
    return log.lastResult;
}

std::int32_t CSmtpClientWrapper::SetProxy(const char16_t *proxyHost, std::int32_t proxyPort,
                                          std::int32_t type, const char16_t *proxyUser,
                                          const char16_t *proxyPassword) {
    const bool hasCredentials = !IsEmpty(proxyUser) && !IsEmpty(proxyPassword);
    const bool fits =
        IsEmpty(proxyHost) ||
        (FitsProxyValue(proxyHost) &&
         (!hasCredentials || (FitsProxyValue(proxyUser) && FitsProxyValue(proxyPassword))));
    if (IsEmpty(proxyHost) || proxyPort < 1 || !fits) {
        proxyEnabled = false;
        return 0;
    }
    // Everything that needs memory comes first. If it fails, nothing has changed: otherwise a proxy
    // could be sent the password of another.
    WideString newHost = proxyHost;
    WideString newUserName = hasCredentials ? proxyUser : proxy.userName;
    if (hasCredentials) {
        proxy.password.Set(proxyPassword);
    }
    proxy.host.swap(newHost);
    proxy.userName.swap(newUserName);
    proxy.port = proxyPort;
    proxy.type = type;
    proxyEnabled = true;
    return 1;
}

void CSmtpClientWrapper::GetProxyValue(char16_t *buffer, std::int32_t index) const {
    switch (index) {
        case ProxyHost:
            CopyOut(proxy.host, buffer);
            break;
        case ProxyPort:
            CopyOut(DecimalText(proxy.port), buffer);
            break;
        case ProxyTypeNumber:
            CopyOut(DecimalText(proxy.type), buffer);
            break;
        case ProxyUserName:
            CopyOut(proxy.userName, buffer);
            break;
        case ProxyPassword:
            CopyOut(proxy.password.Get(), buffer);
            break;
        default:
            break;
    }
}

void CSmtpClientWrapper::SetProxyEnabled(bool enabled) {
    proxyEnabled = enabled;
}
bool CSmtpClientWrapper::IsProxyEnabled() const {
    return proxyEnabled;
}

void CSmtpClientWrapper::SetCompletionSink(ICompletionSink *sink) {
    completionSink = sink;
}
ICompletionSink *CSmtpClientWrapper::GetCompletionSink() const {
    return completionSink;
}

void CSmtpClientWrapper::SetVerifyPeer(std::int32_t verify) {
    verifyPeer = verify;
}
std::int32_t CSmtpClientWrapper::GetVerifyPeer() const {
    return verifyPeer;
}

void CSmtpClientWrapper::SetVerifyStatus(bool verify) {
    verifyStatus = verify;
}
bool CSmtpClientWrapper::GetVerifyStatus() const {
    return verifyStatus;
}

void CSmtpClientWrapper::SetUseTls(bool use) {
    useTls = use;
}
bool CSmtpClientWrapper::GetUseTls() const {
    return useTls;
}

void CSmtpClientWrapper::SetTlsVersion(std::int32_t version) {
    tlsVersion = version;
}
std::int32_t CSmtpClientWrapper::GetTlsVersion() const {
    return tlsVersion;
}

void CSmtpClientWrapper::SetConnectTimeout(std::int32_t seconds) {
    connectTimeout = seconds;
}
std::int32_t CSmtpClientWrapper::GetConnectTimeout() const {
    return connectTimeout;
}

void CSmtpClientWrapper::SetUserName(const char16_t *text) {
    userName = text;
}
const char16_t *CSmtpClientWrapper::GetUserName() const {
    return userName.c_str();
}

void CSmtpClientWrapper::SetPassword(const char16_t *text) {
    password.Set(text);
}
const char16_t *CSmtpClientWrapper::GetPassword() const {
    return password.Get();
}

void CSmtpClientWrapper::SetBearerToken(const char16_t *text) {
    bearerToken.Set(text);
}
const char16_t *CSmtpClientWrapper::GetBearerToken() const {
    return bearerToken.Get();
}

void CSmtpClientWrapper::SetHost(const char16_t *text) {
    host = text;
}
const char16_t *CSmtpClientWrapper::GetHost() const {
    return host.c_str();
}

void CSmtpClientWrapper::SetPort(std::int32_t portNumber) {
    port = portNumber;
}
std::int32_t CSmtpClientWrapper::GetPort() const {
    return port;
}

void CSmtpClientWrapper::AddRef() {
    refCount.fetch_add(1);
}

void CSmtpClientWrapper::Release() {
    if (refCount.fetch_sub(1) == 1) {
        delete this;
    }
}

void CSmtpClientWrapper::SetMessage(IMimeMessage *toSend) {
    message = toSend;
}
IMimeMessage *CSmtpClientWrapper::GetMessage() const {
    return message;
}

}  // namespace SMTPClientNS
