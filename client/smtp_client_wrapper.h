#ifndef CLIENT_SMTP_CLIENT_WRAPPER_H
#define CLIENT_SMTP_CLIENT_WRAPPER_H

#include <atomic>
#include <optional>

#include <smtpclient/smtp_client.h>

#include "async/async_task.h"
#include "client/proxy_settings.h"
#include "client/secret_text.h"
#include "client/send_handles.h"
#include "log/log_stores.h"
#include "log/trace_capture.h"
#include "platform/text_types.h"

namespace SMTPClientNS {

/// The client proper, behind the handle that hosts get. Reference-counted: the handle holds one
/// reference, each background send one more. The host's thread alone touches the fields, but for
/// refCount and the table of tasks inside asyncTask.
class CSmtpClientWrapper final : public ISmtpClient {
public:
    CSmtpClientWrapper() = default;
    CSmtpClientWrapper(const CSmtpClientWrapper &) = delete;
    CSmtpClientWrapper &operator=(const CSmtpClientWrapper &) = delete;

    std::int32_t Send() override;
    std::int32_t SendAsync() override;
    std::int32_t CancelAsync(std::int32_t taskId) override;
    const char16_t *GetLogText() override;
    void SetLogFile(const char16_t *path, bool append) override;
    const char16_t *GetLastLogEntry() override;
    std::int32_t GetLastResult() const override;
    std::int32_t SetProxy(const char16_t *proxyHost, std::int32_t proxyPort, std::int32_t type,
                          const char16_t *proxyUser, const char16_t *proxyPassword) override;
    void GetProxyValue(char16_t *buffer, std::int32_t index) const override;
    void SetProxyEnabled(bool enabled) override;
    bool IsProxyEnabled() const override;
    void SetCompletionSink(ICompletionSink *sink) override;
    ICompletionSink *GetCompletionSink() const override;
    void SetVerifyPeer(std::int32_t verify) override;
    std::int32_t GetVerifyPeer() const override;
    void SetVerifyStatus(bool verify) override;
    bool GetVerifyStatus() const override;
    void SetUseTls(bool use) override;
    bool GetUseTls() const override;
    void SetTlsVersion(std::int32_t version) override;
    std::int32_t GetTlsVersion() const override;
    void SetConnectTimeout(std::int32_t seconds) override;
    std::int32_t GetConnectTimeout() const override;
    void SetUserName(const char16_t *text) override;
    const char16_t *GetUserName() const override;
    void SetPassword(const char16_t *text) override;
    const char16_t *GetPassword() const override;
    void SetBearerToken(const char16_t *text) override;
    const char16_t *GetBearerToken() const override;
    void SetHost(const char16_t *text) override;
    const char16_t *GetHost() const override;
    void SetPort(std::int32_t portNumber) override;
    std::int32_t GetPort() const override;
    void AddRef() override;
    void Release() override;
    void SetMessage(IMimeMessage *toSend) override;
    IMimeMessage *GetMessage() const override;

private:
    std::int32_t Prepare(std::optional<CRunningSend> &running);
    void LogTransfer(const CRunningSend &running);
    NarrowString ClosingEntry(std::int32_t code) const;

    IMimeMessage *message = nullptr;            // The host's.
    ICompletionSink *completionSink = nullptr;  // The host's.
    CAsyncTask asyncTask;
    // Declared before sendHandles, so destroyed after: curl_easy_cleanup still calls it.
    CTransferTrace trace;
    SendHandles sendHandles;  // Of the last Send.
    bool verifyStatus = false;
    bool proxyEnabled = false;
    bool useTls = true;
    bool appendLog = true;
    std::int32_t tlsVersion = TlsDefault;
    std::int32_t port = -1;
    std::int32_t verifyPeer = 0;
    std::atomic<std::int32_t> refCount{1};
    std::int32_t connectTimeout = 0;  // Seconds
    WideString userName;
    CSecretText password;
    WideString host;
    WideString textBuffer;  // What GetLogText and GetLastLogEntry returned last.
    CSecretText bearerToken;
    WideString logFilePath;  // Empty: no log file.
    ProxySettings proxy;
    ClientLog log;
};

}  // namespace SMTPClientNS

#endif  // CLIENT_SMTP_CLIENT_WRAPPER_H
