#include <gtest/gtest.h>
#include <sys/file.h>

#include <smtpclient/mail.h>

#include "tests/support/host_tools.h"

namespace smtpclient {
namespace {

using namespace std::string_literals;
using SMTPClientNS::CSmtpServer;
using SMTPClientNS::CTemporaryFolder;

Message SmallMessage() {
    Message message;
    message.From("a@example.org").To("b@example.org").Text("hello\n");
    return message;
}

Client ClientFor(const CSmtpServer &server) {
    Client client("127.0.0.1", server.Port());
    client.Login("user", "pass").WithoutTls();
    return client;
}

bool WaitForReport() {
    return SmtpClientWaitEvents(SMTPClientNS::LongestWaitMs) > 0;
}

/// What an operation says when it refuses; empty if it does not.
template <typename Operation>
std::string RefusalOf(Operation operation) {
    try {
        operation();
    } catch (const std::invalid_argument &refusal) {
        return refusal.what();
    }
    return "";
}

TEST(MailRefusals, NameOperationAndReasonAndChangeNothing) {
    const CTemporaryFolder folder;
    for (const char *name : {"bad\nname", "nul.html", "locked.html"}) {
        folder.Write(name, "<p>\0"s.substr(0, name[0] == 'n' ? 4 : 3));
    }
    folder.Write("odd.html", "<img src=\"" + folder.PathOf("bad\nname") + "\">");
    const int locked = ::open(folder.PathOf("locked.html").c_str(), O_RDONLY | O_CLOEXEC);
    ASSERT_EQ(::flock(locked, LOCK_EX), 0);
    const std::string file = "/proc/self/status";
    const std::vector<std::string> breaks = {"a\rb", "a\nb", "a\0b"s};
    const std::vector<std::string> badPorts = {"-1", "0", "65536"};
    const std::pair<const char *, std::vector<std::string>> noFile = {
        "there is no regular file", {folder.PathOf(""), folder.PathOf("none"), "/dev/null", ""}};
    const std::pair<const char *, std::vector<std::string>> noHost = {
        "the host is neither an ASCII name nor an address (IPv6: in brackets)",
        {"a\rb", "a\nb", "a\0b"s, "", "a b", "a@b", "a/b", "a?b", "a#b", "a\\b", "a:25", "a%2Fb",
         ";AUTH=LOGIN@a", "::1", "[::1", "[]", "[::1]:25", "[a/b]", "bü"}};

    CSmtpServer server;
    Client client = ClientFor(server);
    Message message = SmallMessage();
    message.From("a@example.org", "A").Subject("s").Html("h");
    EXPECT_TRUE(client.Send(message));

    struct Operation {
        const char *name;
        std::function<void(const std::string &text)> operation;
        std::vector<std::pair<const char *, std::vector<std::string>>> refusals;  ///< By reason.
    };
    using SMTPClientNS::ProxySocks5;
    const Operation operations[] = {
        {"Message::To",
         [&](const auto &text) { message.To("a@b", text); },
         {{"a line break or NUL in the name", breaks}}},
        {"Message::Subject",
         [&](const auto &text) { message.Subject(text); },
         {{"a line break or NUL in the subject", breaks}}},
        {"Message::From",
         [&](const auto &text) { message.From(text, "new"); },
         {{"the address is not of the form local@domain",
           {"", "a", "@b", "a@", "a@b,c@d", "a,b@c", "a@b@c", "a:b@c;", "(a)@b", "\"a@b",
            "\"a\"b@c", "a\"b\"@c", "a@[b", "a@b]", "a@[]", "a@[b]c]"}}}},
        {"Message::Bcc",
         [&](const auto &text) { message.Bcc(text); },
         {{"a blank, control character or angle bracket in the address",
           {"a @b.c", "a@b\u00A0.c", "a@b\u2028", "a@b.c\t", "a\x7F@b.c", "<a@b.c>",
            "a@b> NOTIFY=NEVER", "a\u0085@b", "\"a b\"@c"}}}},
        {"Message::Text",
         [&](const auto &text) { message.Text(text); },
         {{"a NUL in the body", {"a\0b"s}}}},
        {"Message::Charset",
         [&](const auto &text) { message.Charset(text); },
         {{"this is no charset's name",
           {"", "a\nb", "a b", "UTF-8//IGNORE", "a;b", "a=b", "a\"b", "a?b", "ü"}}}},
        {"Message::Picture",
         [&](const auto &text) { message.Picture(file, text); },
         {{"the Content-ID is empty or has a control character or angle bracket",
           {"", "a>b", "a<b", "a\tb", "a\rb", "a\0b"s}}}},
        {"Message::Picture", [&](const auto &text) { message.Picture(text, "id"); }, {noFile}},
        {"Message::Attach",
         [&](const auto &text) { message.Attach(text); },
         {noFile,
          {"a control character in the file's name", {folder.PathOf("bad\nname")}},
          {"the path is not valid UTF-8", {folder.PathOf("\xFF")}}}},
        {"Message::HtmlFile",
         [&](const auto &text) { message.HtmlFile(text); },
         {noFile,
          {"a NUL in the file", {folder.PathOf("nul.html")}},
          {"the file cannot be read", {folder.PathOf("locked.html")}},
          {"a picture's path is no Content-ID", {folder.PathOf("odd.html")}}}},
        {"Client", [](const auto &text) { Client{text}; }, {noHost}},
        {"Client",
         [](const auto &text) { Client("a", std::stoi(text)); },
         {{"the port is not between 1 and 65535", badPorts}}},
        {"Client::LogFile",
         [&](const auto &text) { client.LogFile(text); },
         {{"a NUL in the path", {"/tmp/a\0b"s}}}},
        {"Client::Login",
         [&](const auto &text) { client.Login(text, "p"); },
         {{"a line break or NUL in the user name", breaks}, {"the user name is empty", {""}}}},
        {"Client::Login",
         [&](const auto &text) { client.Login("u", text); },
         {{"the password is empty", {""}}, {"a NUL in the password", {"p\0q"s}}}},
        {"Client::Token",
         [&](const auto &text) { client.Token(text, "t", "OAUTHBEARER"); },
         {{"a line break or NUL in the user name", breaks},
          {"a control character in the user name", {"u\x01 auth=Bearer x"}},
          {"a comma or equals sign in the user name", {"u,a", "u=a"}}}},
        {"Client::Token",
         [&](const auto &text) { client.Token("u", text); },
         {{"the token is empty or has a character that no token has", {"", "a b", "a\rb"}}}},
        {"Client::Token",
         [&](const auto &text) { client.Token("u", "t", text); },
         {{"the mechanism is neither XOAUTH2 nor OAUTHBEARER",
           {"", "PLAIN", "xoauth2", "XOAUTH2;AUTH=PLAIN", "XOAUTH2\r"}}}},
        {"Client::Proxy",
         [&](const auto &text) { client.Proxy(text, 1); },
         {noHost, {"the host, user name or password is too long", {std::string(256, 'x')}}}},
        {"Client::Proxy",
         [&](const auto &text) { client.Proxy("p", std::stoi(text)); },
         {{"the port is not between 1 and 65535", badPorts}}},
        {"Client::Proxy",
         [&](const auto &text) { client.Proxy("p", 1, ProxySocks5, text, "p"); },
         {{"a line break or NUL in the user name", breaks},
          {"a user name or a password without the other", {""}}}},
        {"Client::Proxy",
         [&](const auto &text) {
             client.Proxy("p", 1, static_cast<SMTPClientNS::ProxyType>(std::stoi(text)));
         },
         {{"there is no such type", {"-1", "4"}}}},
        {"Client::Tls",
         [&](const auto &text) {
             client.Tls(static_cast<SMTPClientNS::TlsVersion>(std::stoi(text)));
         },
         {{"there is no such version", {"-1", "5"}}}},
        {"Client::ConnectTimeout",
         [&](const auto &text) { client.ConnectTimeout(std::chrono::seconds(std::stoll(text))); },
         {{"the time is negative or too long", {"-1", "2147483648"}}}},
    };
    for (const Operation &row : operations) {
        for (const auto &[reason, texts] : row.refusals) {
            for (const std::string &text : texts) {
                EXPECT_EQ(RefusalOf([&] { row.operation(text); }), row.name + ": "s + reason)
                    << text;
            }
        }
    }
    EXPECT_TRUE(client.Send(message));
    const std::vector<std::string> commands = server.Commands();  // The first ones end with QUIT.
    const auto half = static_cast<std::ptrdiff_t>(commands.size() / 2);
    // The mail's size among them.
    EXPECT_EQ(std::vector(commands.begin(), commands.begin() + half),
              std::vector(commands.end() - half, commands.end()));
    ::close(locked);
}

TEST(Mail, TakesWhatLooksOdd) {
    for (const char *host : {"a_b-c.example.", "10.0.0.1", "[::1]", "[fe80::1%25eth0]"}) {
        EXPECT_EQ(SMTPClientNS::Narrow(Client(host, 65535).Get()->GetHost()), host);
    }
    Message message;
    for (const char *address :
         {"o'b+c=d/e@f", "\"a,@\\\"b\"@c.d", "a@[192.0.2.1]", "a@[IPv6:::1]", "鈴@例.jp"}) {
        EXPECT_EQ(RefusalOf([&] { message.To(address); }), "") << address;
    }
}

// Unicode 3.9, tables 3-8 to 3-11: one U+FFFD for each maximal subpart.
TEST(Mail, ReplacesWhatIsNoUtf8) {
    const std::pair<std::string, std::u16string> rows[] = {
        {"\xC0\xAF\xE0\x80\xBF\xF0\x81\x82\x41",
         u"\uFFFD\uFFFD\uFFFD\uFFFD\uFFFD\uFFFD\uFFFD\uFFFDA"},
        {"\xF4\x91\x92\x93\xFF\x41\x80\xBF\x42", u"\uFFFD\uFFFD\uFFFD\uFFFD\uFFFDA\uFFFD\uFFFDB"},
        {"\xE1\x80\xE2\xF0\x91\x92\xF1\xBF", u"\uFFFD\uFFFD\uFFFD\uFFFD"},
    };
    Message message;
    for (const auto &[utf8, utf16] : rows) {
        EXPECT_EQ(message.Subject(utf8).Get()->GetSubject(), utf16);
    }
}

TEST(Mail, WritesWhatIsSafe) {
    CSmtpServer server;
    const CTemporaryFolder folder;
    folder.Write("写真.png", "P");
    folder.Write("page.html", "<img src=\"" + folder.PathOf("写真.png") +
                                  "\">\n<img alt=\".\">\r<img src=\"none.png\">\r\n");
    folder.Write("empty.html", "");
    folder.Write("log", "kept");
    Message message;
    message.From("old@example.org", "Old").From("a@example.org");
    message.To("b@example.org", "Doe, \"J\\\"").To("c@example.org", "J Doe").Cc("d@e.f", "鈴, A");
    message.Text("a\nb\rc\r\nd\n\r\n.\n").HtmlFile(folder.PathOf("page.html"));
    message.Attach(folder.PathOf("写真.png"));
    EXPECT_EQ(ClientFor(server).LogFile(folder.PathOf("log")).Send(message).text,
              "Email sent successfully! (250 queued as 1)");
    EXPECT_EQ(folder.Read("log").find("kept"), 0U);
    const std::string data = server.Mails().at(0);
    for (
        const std::string &part :
        {"From: a@example.org\r\nTo: \"Doe, \\\"J\\\\\\\"\" <b@example.org>,\r\n J Doe <c@example.org>"s +
             "\r\nCc: =?UTF-8?b?6Yi0LCBB?= <d@e.f>\r\n",
         "\r\n\r\na\r\nb\r\nc\r\nd\r\n\r\n.\r\n"s,
         "<img src=\"cid:" + folder.PathOf("写真.png") +
             "\">\r\n<img alt=\"cid:.\">\r\n<img src=\"cid:none.png\">\r\n",
         "Content-ID: <" + folder.PathOf("写真.png") + ">\r\n", "filename=\"写真.png\"\r\n"s}) {
        EXPECT_NE(data.find(part), std::string::npos) << part << "not in\n" << data;
    }
    EXPECT_EQ(message.HtmlFile(folder.PathOf("empty.html")).Get()->GetHtmlBody(), u""s);
}

TEST(Mail, TokenAllowsNoOtherLogin) {
    struct Case {
        const char *offered;
        void (*logIn)(Client &client);
        const char *log;  ///< Its beginning behind the server's offer.
    };
    const auto token = [](Client &client) { client.Token("me", "tok"); };
    const auto bearer = [](Client &client) { client.Token("me", "tok", "OAUTHBEARER"); };
    const auto password = [](Client &client) { client.Token("me", "tok").Login("me", "secret"); };
    const Case cases[] = {
        {"CRAM-MD5 NTLM PLAIN OAUTHBEARER XOAUTH2", token, "C: AUTH XOAUTH2\n"},
        {"CRAM-MD5 PLAIN LOGIN", token, "Error Info: The remote server denied curl to login.\n"},
        {"CRAM-MD5 XOAUTH2 OAUTHBEARER", bearer, "C: AUTH OAUTHBEARER\n"},
        {"PLAIN XOAUTH2", password, "C: AUTH PLAIN\n"},
        {"XOAUTH2", password, "Error Info: The remote server denied curl to login.\n"},
    };
    for (const Case &c : cases) {
        CSmtpServer server;
        const std::string offer = "250 AUTH "s + c.offered;
        server.At("EHLO", offer + "\r\n");
        Client client = ClientFor(server);
        c.logIn(client);
        const bool isSent{client.Send(SmallMessage())};
        EXPECT_EQ(isSent, c.log[0] == 'C');
        EXPECT_NE(client.Log().find(offer + "\n" + c.log), std::string::npos) << client.Log();
    }
}

TEST(Mail, IsSafeByDefault) {
    Client client("mail.example.org");
    const auto *const made = client.Get();
    EXPECT_TRUE(made->GetUseTls());
    EXPECT_EQ(made->GetVerifyPeer(), 1);
    EXPECT_EQ(made->GetPort(), 587);
    EXPECT_EQ(client.Send(SmallMessage()).code, SMTPClientNS::ResultBadCredentials);
    EXPECT_EQ(made->GetMessage(), nullptr);
    EXPECT_EQ(client.WithoutTls().Tls(SMTPClientNS::Tls13).Get()->GetTlsVersion(), 4);
    EXPECT_TRUE(made->GetUseTls());
    EXPECT_EQ(client.TrustAnyCertificate().Get()->GetVerifyPeer(), 0);
    client.Proxy("one", 1, SMTPClientNS::ProxySocks5, "u", "secret").Proxy("two", 2);
    char16_t password[SMTPClientNS::ProxyValueCapacity] = {};
    made->GetProxyValue(password, SMTPClientNS::ProxyPassword);
    EXPECT_NE(password, u"secret"s);
}

class MailBackground : public testing::Test {
protected:
    /// Writes down what it is told, and what of it is still owned.
    auto Recorder(const char *name) {
        return [this, name, life = this->life](const Outcome &outcome) {
            told += name + std::to_string(outcome.code) + outcome.text + ";";
        };
    }

    /// Has a send under way until the server's gate opens.
    void HoldOneSend() {
        server.At("MAIL", CSmtpServer::Hold);
        EXPECT_EQ(client.Send(SmallMessage(), Recorder("first")), 1);
        ASSERT_TRUE(server.WaitForCommands("MAIL", 1));
    }

    CSmtpServer server;
    Client client = ClientFor(server);
    std::string told;
    const std::shared_ptr<int> life = std::make_shared<int>();
};

TEST_F(MailBackground, CallsBackAfterAMoveAndFromAnEmptyFunctionNobody) {
    HoldOneSend();
    Client moved("elsewhere");
    moved = std::move(client);
    moved.Send(SmallMessage(), nullptr);
    moved.Send(Message(), Recorder("bad"));
    EXPECT_EQ(moved.Pending(), 3U);
    server.OpenGate();
    while (moved.Pending() > 0 && WaitForReport()) {
    }
    EXPECT_EQ(told, "first1;bad-17No sender has been specified.;");
    EXPECT_EQ(life.use_count(), 1);
    EXPECT_EQ(server.Mails().size(), 2U);
}

TEST_F(MailBackground, CancelDestroysTheCallback) {
    EXPECT_EQ(client.Get()->CancelAsync(0), -1);
    HoldOneSend();
    for (const char *name : {"2", "3", "4"}) {
        client.Send(SmallMessage(), Recorder(name));
    }
    EXPECT_EQ(life.use_count(), 5);
    EXPECT_FALSE(client.Cancel(0));  // Not all.
    for (const std::int32_t other : {-1, 1, 5}) {
        EXPECT_EQ(client.Get()->CancelAsync(other), -1) << other;
    }
    EXPECT_TRUE(client.Cancel(3));
    EXPECT_EQ(client.Get()->CancelAsync(3), -1);
    EXPECT_EQ(life.use_count(), 4);
    EXPECT_TRUE(client.CancelAll());
    EXPECT_FALSE(client.CancelAll());
    EXPECT_EQ(client.Pending(), 1U);
    EXPECT_EQ(client.Get()->SendAsync(), 5);  // Without a message, and without a callback.
    EXPECT_TRUE(client.CancelAll());
    EXPECT_EQ(client.Get()->CancelAsync(0), -1);
    server.OpenGate();
    EXPECT_TRUE(WaitForReport());
    EXPECT_EQ(client.Send(Message(), Recorder("last")), 6);
    EXPECT_TRUE(WaitForReport());
    EXPECT_EQ(told, "first1;last-17No sender has been specified.;");
    EXPECT_EQ(server.Mails().size(), 1U);
}

TEST_F(MailBackground, CallbackMaySendCancelAndEndTheClient) {
    auto owned = std::make_unique<Client>(ClientFor(server));
    owned->Send(SmallMessage(), [&, life = life](const Outcome &) {
        owned->Send(SmallMessage(), [&, life](const Outcome &outcome) {
            owned->Send(SmallMessage(), Recorder("never"));
            owned.reset();
            told += std::to_string(outcome.code);
        });
        EXPECT_TRUE(WaitForReport());
        told += " inside the first";
    });
    EXPECT_TRUE(WaitForReport());
    EXPECT_EQ(told, "1 inside the first");
    EXPECT_EQ(life.use_count(), 1);
    EXPECT_TRUE(server.WaitForMails(3));
}

TEST_F(MailBackground, CallbackThatThrowsEndsTheProcess) {
    testing::FLAGS_gtest_death_test_style = "threadsafe";
    const auto dispatch = [&] {
        client.Send(Message(), [](const Outcome &) { throw 1; });
        WaitForReport();
    };
    EXPECT_DEATH(dispatch(), "terminate");
}

}  // namespace
}  // namespace smtpclient
