#ifndef TESTS_SUPPORT_HOST_TOOLS_H
#define TESTS_SUPPORT_HOST_TOOLS_H

#include <chrono>
#include <filesystem>
#include <fstream>
#include <functional>
#include <memory>
#include <random>
#include <string>
#include <thread>

#include <smtpclient/mail_text.h>
#include <smtpclient/smtpclient.h>

#include "tests/support/smtp_server.h"

namespace SMTPClientNS {

template <typename T>
struct Releaser {
    void operator()(T *owned) const { owned->Release(); }
};
using Client = std::unique_ptr<ISmtpClient, Releaser<ISmtpClient>>;
using Message = std::unique_ptr<IMimeMessage, Releaser<IMimeMessage>>;

inline Client MakeClient() {
    return Client(CreateSmtpClient());
}
inline Message MakeMessage() {
    return Message(CreateMimeMessage());
}

/// A client that logs in without TLS at a loopback port.
inline Client MakeClientFor(int port) {
    Client client = MakeClient();
    client->SetHost(u"127.0.0.1");
    client->SetPort(port);
    client->SetUseTls(false);
    client->SetUserName(u"user");
    client->SetPassword(u"pass");
    return client;
}

/// From a@example.org to b@example.org, with a text body.
inline Message MakeSmallMessage() {
    Message message = MakeMessage();
    message->SetSender(u"a@example.org", nullptr);
    message->AddRecipient(u"b@example.org", nullptr);
    message->SetTextBody(u"hello\r\n");
    return message;
}

inline std::u16string Wide(const std::string &utf8) {
    return smtpclient::detail::ToUtf16(utf8);
}
inline std::string Narrow(const std::u16string &text) {
    return smtpclient::detail::ToUtf8(text);
}

/// Empty if there is none.
inline std::string ReadFile(const std::filesystem::path &path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

/// A folder that goes with its content.
class CTemporaryFolder {
public:
    CTemporaryFolder() {
        const std::string name = "smtpclient-test-" + std::to_string(std::random_device()());
        path = std::filesystem::temp_directory_path() / name;
        std::filesystem::create_directory(path);
    }
    ~CTemporaryFolder() { std::filesystem::remove_all(path); }
    CTemporaryFolder(const CTemporaryFolder &) = delete;
    CTemporaryFolder &operator=(const CTemporaryFolder &) = delete;

    std::string PathOf(const std::string &name) const { return (path / name).string(); }
    std::u16string WidePathOf(const std::string &name) const { return Wide(PathOf(name)); }

    /// Writes a file and gives its path.
    std::u16string Write(const std::string &name, const std::string &content) const {
        std::ofstream(path / name, std::ios::binary) << content;
        return WidePathOf(name);
    }

    std::string Read(const std::string &name) const { return ReadFile(path / name); }

private:
    std::filesystem::path path;
};

/// A limit that only a hang reaches.
constexpr int LongestWaitMs = 60000;

/// Writes down what it is told, "id=code text" a line, then acts.
class CRecordingSink final : public ICompletionSink {
public:
    void OnSendComplete(std::int32_t taskId, std::int32_t code, const char16_t *text) override {
        told += std::to_string(taskId) + "=" + std::to_string(code) + " " + Narrow(text) + "\n";
        ++reports;
        lastCode = code;
        act(taskId, code);
    }

    /// Dispatches until that many reports have come; false if they stay away.
    bool WaitForReports(std::size_t count) const {
        while (reports < count && SmtpClientWaitEvents(LongestWaitMs) > 0) {
        }
        return reports >= count;
    }

    std::function<void(std::int32_t taskId, std::int32_t code)> act = [](auto...) {};
    std::string told;
    std::size_t reports = 0;
    std::int32_t lastCode = 0;
};

/// A server that accepts everything, and a host that is ready to send it a small mail.
struct CSender {
    CSender() {
        client->SetMessage(message.get());
        client->SetCompletionSink(&sink);
    }

    CSmtpServer server;
    CRecordingSink sink;
    Message message = MakeSmallMessage();
    Client client = MakeClientFor(server.Port());
};

}  // namespace SMTPClientNS

#endif  // TESTS_SUPPORT_HOST_TOOLS_H
