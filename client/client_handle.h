#ifndef CLIENT_CLIENT_HANDLE_H
#define CLIENT_CLIENT_HANDLE_H

#include <memory>

#include <smtpclient/smtp_client.h>

namespace SMTPClientNS {

/// What a host holds: forwards to the client proper, which outlives it for as long as background
/// sends are under way. Release ends the handle, and drops its one reference on the client.
class CSmtpClient final : public ISmtpClient {
public:
    /// Takes over a reference on the implementation.
    explicit CSmtpClient(ISmtpClient *owned) noexcept : implementation(owned) {}

    std::int32_t Send() override { return implementation->Send(); }
    std::int32_t SendAsync() override { return implementation->SendAsync(); }
    std::int32_t CancelAsync(std::int32_t taskId) override {
        return implementation->CancelAsync(taskId);
    }
    const char16_t *GetLogText() override { return implementation->GetLogText(); }
    void SetLogFile(const char16_t *path, bool append) override {
        implementation->SetLogFile(path, append);
    }
    const char16_t *GetLastLogEntry() override { return implementation->GetLastLogEntry(); }
    std::int32_t GetLastResult() const override { return implementation->GetLastResult(); }
    std::int32_t SetProxy(const char16_t *host, std::int32_t port, std::int32_t type,
                          const char16_t *userName, const char16_t *password) override {
        return implementation->SetProxy(host, port, type, userName, password);
    }
    void GetProxyValue(char16_t *buffer, std::int32_t index) const override {
        implementation->GetProxyValue(buffer, index);
    }
    void SetProxyEnabled(bool enabled) override { implementation->SetProxyEnabled(enabled); }
    bool IsProxyEnabled() const override { return implementation->IsProxyEnabled(); }
    void SetCompletionSink(ICompletionSink *sink) override {
        implementation->SetCompletionSink(sink);
    }
    ICompletionSink *GetCompletionSink() const override {
        return implementation->GetCompletionSink();
    }
    void SetVerifyPeer(std::int32_t verify) override { implementation->SetVerifyPeer(verify); }
    std::int32_t GetVerifyPeer() const override { return implementation->GetVerifyPeer(); }
    void SetVerifyStatus(bool verify) override { implementation->SetVerifyStatus(verify); }
    bool GetVerifyStatus() const override { return implementation->GetVerifyStatus(); }
    void SetUseTls(bool use) override { implementation->SetUseTls(use); }
    bool GetUseTls() const override { return implementation->GetUseTls(); }
    void SetTlsVersion(std::int32_t version) override { implementation->SetTlsVersion(version); }
    std::int32_t GetTlsVersion() const override { return implementation->GetTlsVersion(); }
    void SetConnectTimeout(std::int32_t seconds) override {
        implementation->SetConnectTimeout(seconds);
    }
    std::int32_t GetConnectTimeout() const override { return implementation->GetConnectTimeout(); }
    void SetUserName(const char16_t *text) override {
        if (text != nullptr) {
            implementation->SetUserName(text);
        }
    }
    const char16_t *GetUserName() const override { return implementation->GetUserName(); }
    void SetPassword(const char16_t *text) override {
        if (text != nullptr) {
            implementation->SetPassword(text);
        }
    }
    const char16_t *GetPassword() const override { return implementation->GetPassword(); }
    void SetBearerToken(const char16_t *text) override {
        implementation->SetBearerToken(text != nullptr ? text : u"");
    }
    const char16_t *GetBearerToken() const override { return implementation->GetBearerToken(); }
    void SetHost(const char16_t *text) override {
        if (text != nullptr) {
            implementation->SetHost(text);
        }
    }
    const char16_t *GetHost() const override { return implementation->GetHost(); }
    void SetPort(std::int32_t port) override { implementation->SetPort(port); }
    std::int32_t GetPort() const override { return implementation->GetPort(); }
    void AddRef() override { implementation->AddRef(); }
    void Release() override { delete this; }
    void SetMessage(IMimeMessage *message) override { implementation->SetMessage(message); }
    IMimeMessage *GetMessage() const override { return implementation->GetMessage(); }

private:
    struct Releaser {
        void operator()(ISmtpClient *owned) const { owned->Release(); }
    };

    std::unique_ptr<ISmtpClient, Releaser> implementation;
};

}  // namespace SMTPClientNS

#endif  // CLIENT_CLIENT_HANDLE_H
