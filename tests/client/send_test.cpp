#include <gtest/gtest.h>
#include <malloc.h>
#include <signal.h>
#include <unistd.h>

#include <regex>
#include <set>

#include "tests/support/host_tools.h"

namespace SMTPClientNS {
namespace {

std::string HostName() {
    std::string name(256, '\0');
    EXPECT_EQ(::gethostname(name.data(), name.size()), 0);
    return name.substr(0, name.find_first_of(std::string(".\0", 2)));
}

using Replacements = std::vector<std::pair<std::string, std::string>>;

std::string Replaced(std::string text, const Replacements &replacements) {
    for (const auto &[pattern, replacement] : replacements) {
        text = std::regex_replace(text, std::regex(pattern), replacement);
    }
    return text;
}

/// Text with names in place of what no two sends have in common.
std::string Masked(std::string text) {
    std::smatch found;
    for (char number = '1'; std::regex_search(text, found, std::regex("-{24}[0-9a-f]{16}"));) {
        text = Replaced(text, {{found.str(), std::string("B") + number++}});
    }
    const std::string identifier =
        "<[0-9A-F]{8}-[0-9A-F]{4}-4[0-9A-F]{3}-[89AB][0-9A-F]{3}-[0-9A-F]{12}@" + HostName() + ">";
    return Replaced(text, {{identifier, "<ID>"},
                           {"EHLO .*", "EHLO me"},
                           {"SIZE=[0-9]+|[0-9]+ bytes", "SIZE"},
                           {"127.0.0.1(:|\\)? port )[0-9]+", "HOST"},
                           {" after [0-9]+ ms| .errno: [0-9]+.", ""},
                           {"[0-9]{4}-[0-9]{2}-[0-9]{2} [0-9]{2}:[0-9]{2}:[0-9]{2}", "TIME"}});
}

/// A small mail on its way to a server that accepts everything.
struct Scene : CSender {
    CTemporaryFolder folder;
    std::vector<std::u16string> boxes;

    void Attach(const std::u16string &path) { message->AddAttachment(path.c_str()); }
    std::u16string LogPath() const { return folder.WidePathOf("log"); }
    void SetLogFile(bool append) { client->SetLogFile(LogPath().c_str(), append); }
    std::string LogFile() const { return Masked(folder.Read("log")); }
};
using S = Scene &;

const std::string General = "A general error occurred";
const std::string Sending = "Failed sending network data.";
const std::string Reading = "Error reading local file.";

const char *const WholeMail =
    "EHLO me\r\nAUTH PLAIN\r\nAHVzZXIAcGFzcw==\r\nMAIL FROM:<a@example.org> SIZE\r\n"
    "RCPT TO:<b@example.org>\r\nRCPT TO:<d@example.org>\r\nRCPT TO:<c@example.org>\r\n"
    "RCPT TO:<d@example.org>\r\nDATA\r\nContent-Type: multipart/mixed; boundary=B1\r\n"
    "Mime-Version: 1.0\r\nFrom: <<FROM>> <a@example.org>\r\n"
    "To: b@example.org,\r\n Dora  D <d@example.org>\r\nCc: <<CC>> <c@example.org>\r\n"
    "Bcc: d@example.org\r\n<<PRIORITY>>Subject: <<SUBJECT>>\r\n\r\nMessage - ID: <ID>\r\n"
    "\r\n\r\n--B1\r\nContent-Type: multipart/alternative; boundary=B2\r\n"
    "Content-Disposition: inline\r\n\r\n--B2\r\nContent-Type: text/html; charset=<<CHARSET>>\r\n"
    "Content-Transfer-Encoding: 8bit\r\n\r\n<<HTML>>\r\n"
    "--B2\r\nContent-Type: text/plain; charset=<<CHARSET>>\r\n"
    "Content-Transfer-Encoding: 8bit\r\n\r\n<<TEXT>>\r\n--B2--\r\n\r\n"
    "--B1\r\nContent-Type: multipart/related; boundary=B3\r\n\r\n"
    "--B3\r\nContent-Type: image/png\r\nContent-Transfer-Encoding: base64\r\n"
    "Content-ID: <pic>\r\nContent-Disposition: inline\r\n\r\ncGl4ZWxz\r\n--B3--\r\n\r\n"
    "--B1\r\nContent-Type: multipart/mixed; boundary=B4\r\n\r\n"
    "--B4\r\nContent-Disposition: attachment; filename=\"a.txt\"\r\n"
    "Content-Transfer-Encoding: base64\r\n\r\nZmlsZQo=\r\n--B4--\r\n\r\n--B1--\r\n";

const std::u16string NoConversion =
    u"SmtpClient Error|EncodingConvert Failed, Error Number : -3|16";

/// As a host with a log view would: the log that it asks for then is that of the send before.
void RecordBox(const char16_t *text, const char16_t *caption, std::uint32_t style, void *told) {
    auto &scene = *static_cast<Scene *>(told);
    scene.boxes.push_back(std::u16string(caption) + u"|" + text + u"|" +
                          Wide(std::to_string(style)));
    scene.client->GetLogText();
}

TEST(Send, WritesExactBytes) {
    struct Case {
        const char *charset, *from, *cc, *subject, *body;
        std::size_t boxes = 0;  ///< That told of texts which could not be converted.
    };
    const Case cases[] = {
        {"UTF-8", "=?UTF-8?b?Wm/Dqw==?=", "=?UTF-8?b?5pel5pys?=",
         "=?UTF-8?b?R3LDvMOfZSA=?==?UTF-8?b?5pel5pys?=",
         "Gr\xC3\xBC\xC3\x9F\x65 \xE6\x97\xA5\xE6\x9C\xAC"},
        {"ISO-8859-1", "=?ISO-8859-1?b?Wm/r?=", "",
         "=?ISO-8859-1?b?R3L832Ug?==?ISO-8859-1?b?\?=", "Gr\xFC\xDF\x65 "},
        {"Shift_JIS", "=?Shift_JIS?b?Wm8=?=", "=?Shift_JIS?b?k/qWew==?=",
         "=?Shift_JIS?b?R3JlIA==?==?Shift_JIS?b?k/qWew==?=", "Gre \x93\xFA\x96{"},
        {"unknown", "", "", "", "", 3},
    };
    std::set<std::string> identifiers;
    for (const Case &c : cases) {
        SCOPED_TRACE(c.charset);
        const bool isConverted = c.boxes == 0;
        Scene scene;
        IMimeMessage &message = *scene.message;
        message.SetCharset(Wide(c.charset).c_str());
        message.SetSender(u"a@example.org", u"Zoë");
        message.AddBcc(u"d@example.org", nullptr);
        message.AddCc(u"c@example.org", u"日本");
        message.AddRecipient(u"d@example.org", u"Dora  D");
        message.SetPriority(isConverted ? PriorityHigh : 7);
        message.SetSubject(u"Grüße 日本");
        message.SetTextBody(u".\r\nGrüße 日本\r\n..\r\n");
        message.SetHtmlBody(u"<p>Grüße 日本");
        message.AddInlineImage(u"/", u"");  // HTML cannot name it.
        message.AddInlineImage(scene.folder.Write("pic.PNG", "pixels").c_str(), u"pic");
        scene.Attach(scene.folder.Write("a.txt", "file\n"));
        scene.SetLogFile(true);
        SmtpClientSetMessageBox(RecordBox, &scene);
        EXPECT_EQ(scene.client->Send(), ResultSuccess);
        SmtpClientSetMessageBox(nullptr, nullptr);
        EXPECT_EQ(scene.boxes, decltype(scene.boxes)(c.boxes, NoConversion));
        EXPECT_NE(scene.LogFile().find("left intact\nEmail sent successfully!"), std::string::npos);
        const std::string body = c.body;
        std::string received;
        for (const std::string &command : scene.server.Commands()) {
            received += command + "\r\n";
        }
        received += scene.server.Mails().at(0);
        EXPECT_TRUE(identifiers.insert(received.substr(received.find(" - ID: "), 50)).second);
        EXPECT_EQ(
            Masked(received),
            Replaced(WholeMail, {{"<<CHARSET>>", c.charset},
                                 {"<<FROM>>", c.from},
                                 {"<<CC>>", c.cc},
                                 {"<<PRIORITY>>", isConverted ? "X-Priority: 2 \r\n" : ""},
                                 {"<<SUBJECT>>", c.subject},
                                 {"<<HTML>>", isConverted ? "<p>" + body : ""},
                                 {"<<TEXT>>", isConverted ? ".\r\n" + body + "\r\n..\r\n" : ""}}));
    }
}

TEST(Send, TellsWhatStoppedIt) {
    struct Case {
        void (*change)(Scene &scene);
        std::int32_t result, code;
        std::size_t commands;  ///< That reached the server.
        std::string told;
        bool isPrepared = true;
    };
    const Case cases[] = {
        {[](S s) { s.client->SetMessage(nullptr); }, -1, -1, 0, General, false},
        {[](S s) { s.message->Reset(ResetSender); }, -17, -2, 0, "No sender has been specified.",
         false},
        {[](S s) { s.message->Reset(1); }, -18, -3, 0, "No recipients have been specified.", false},
        {[](S s) { s.client->SetPort(-1); }, -1, 43, 0, General, false},
        {[](S s) {
             s.client->SetHost(u"");  // Comes ahead of the message.
             s.client->SetMessage(nullptr);
         },
         -6, 3, 0, "Host using bad/illegal format or missing host.", false},
        // Prepared, the first ones without a connection.
        {[](S s) { s.message->AddBcc(u"x@x\rDATA", u""); }, -1, 43, 0, General},
        {[](S s) { s.Attach(u"/"); }, -16, 26, 0, Reading},
        {[](S s) { s.client->SetPort(1); }, -5, 7, 0,
         "Failed to connect to host. (Failed to connect to HOST: Couldn't connect to server)"},
        {[](S s) { s.client->SetUseTls(true); }, -1, 64, 1, General + " (STARTTLS not supported.)"},
        {[](S s) { s.server.At("RCPT", "550-5.1.1 no\r\n550 such user\r\n"); }, -13, 55, 6,
         Sending + " (550 5.1.1 no such user)"},
        {[](S s) { s.server.At("END", CSmtpServer::HangUp); }, -14, 56, 6,
         "Failure in receiving network data. (response reading failed)"},
    };
    for (const Case &c : cases) {
        for (const bool isLogged : {false, true}) {
            SCOPED_TRACE(c.told);
            Scene scene;
            scene.client->SetLogFile(isLogged ? scene.LogPath().c_str() : u"", true);
            c.change(scene);
            EXPECT_EQ(scene.client->Send(), c.result);
            EXPECT_EQ(scene.client->GetLastResult(), isLogged && c.isPrepared ? c.result : c.code);
            EXPECT_EQ(!scene.LogFile().empty(), isLogged && c.isPrepared);
            EXPECT_EQ(scene.server.Commands().size(), c.commands);
            const char16_t *const entry = scene.client->GetLastLogEntry();
            EXPECT_EQ(scene.client->GetLastLogEntry(), entry);  // In the same place, too.
            EXPECT_EQ(Masked(Narrow(entry)), "Error Info: " + c.told + "\n");
        }
    }
}

TEST(Send, KeepsLogsApartThatRanAtOnce) {
    Scene held;
    Scene quick;
    held.message->AddCc(u"held@example.org", nullptr);
    quick.message->AddCc(u"quick@example.org", nullptr);
    held.server.At("EHLO", CSmtpServer::Hold);
    std::thread sending([&held] { EXPECT_EQ(held.client->Send(), ResultSuccess); });
    EXPECT_TRUE(held.server.WaitForCommands("EHLO", 1));
    EXPECT_EQ(quick.client->Send(), ResultSuccess);
    EXPECT_EQ(::signal(SIGPIPE, SIG_DFL), SIG_DFL);  // In the middle of a transfer.
    held.server.OpenGate();
    sending.join();
    for (Scene *scene : {&held, &quick}) {
        scene->SetLogFile(true);
        const std::string log = scene->LogFile();
        EXPECT_EQ(log.find("C: RCPT TO:<held@") != std::string::npos, scene == &held);
        EXPECT_EQ(log.find("C: RCPT TO:<quick@") != std::string::npos, scene == &quick);
        scene->client->Send();
        EXPECT_NE(scene->LogFile().find("C: DATA", log.size()), std::string::npos);
    }
}

const std::string Block = "End Connnect: TIME\n\n" + std::string(82, '=') + "\n\n";

TEST(Send, LogsWhatWasSaid) {
    const std::string login =
        "S: 220 test.example ESMTP\nC: EHLO me\nS: 250-test.example\n"
        "S: 250-SIZE\nS: 250 AUTH PLAIN XOAUTH2\nC: AUTH PLAIN\nS: 334 \nC: ";
    const std::string envelope =
        "\nS: 235 in\nC: MAIL FROM:<a@example.org> SIZE\nS: 250 ok\n"
        "C: RCPT TO:<b@example.org>\nS: 250 ok\nC: DATA\nS: 354 go\nC: ";
    const std::string last = "Connection #0 to host 127.0.0.1 left intact\n";
    const std::string block = "Email sent successfully!\n" + Block;
    const std::string file =
        "Trying HOST...\nConnected to 127.0.0.1 (HOST (#0)\n" + login +
        "AHVzZXIAcGFzcw==" + envelope +
        "Content-Type: multipart/mixed; boundary=B1\nC: Mime-Version: 1.0\n"
        "C: From: a@example.org\nC: To: b@example.org\nC: X-Priority: 3 \nC: Subject: \nC: \n"
        "C: Message - ID: <ID>\nC: \nC: \nC: --B1--\nWe are completely uploaded and fine\n"
        "S: 250 queued as 1\n" +
        last + last + block;
    Scene scene;
    scene.message->SetTextBody(u"");
    scene.message->AddInlineImage(u"/", u"");  // No HTML, so that nothing shows it.
    scene.SetLogFile(true);
    testing::internal::CaptureStderr();
    EXPECT_EQ(scene.client->Send(), ResultSuccess);
    EXPECT_EQ(Masked(testing::internal::GetCapturedStderr()),
              "  Trying HOST...\nConnected to 127.0.0.1 (HOST (#0)\n"
              "We are completely uploaded and fine\n" +
                  last);
    EXPECT_EQ(scene.LogFile(), file);
    EXPECT_EQ(scene.client->Send(), ResultSuccess);
    EXPECT_EQ(scene.LogFile(), file + Replaced(file, {{"B1", "B2"}}));
    EXPECT_EQ(
        Masked(Narrow(scene.client->GetLogText())),
        login + "****" + envelope +
            "(mail text, SIZE)\nS: 250 queued as 1\nEmail sent successfully! (250 queued as 1)\n");
    scene.SetLogFile(false);
    EXPECT_EQ(scene.LogFile(), file + last + block + block + last + block + block + block);
    EXPECT_EQ(scene.client->GetLastResult(), 0);
}

TEST(Send, LogsAFailureTheSameAtEveryPass) {
    const std::string last = "Closing connection 0\n";
    const std::string block = "Error Info: " + Sending + "\n" + Block;
    Scene scene;
    EXPECT_EQ(scene.client->GetLogText(), std::u16string());
    EXPECT_EQ(scene.client->GetLastResult(), -1);  // Told by a pass without any send.
    scene.server.At("RCPT", "550 no\r\n");
    EXPECT_EQ(scene.client->Send(), ResultSendFailed);
    EXPECT_EQ(scene.client->GetLastResult(), 55);
    scene.SetLogFile(true);
    const std::string once = scene.LogFile();
    EXPECT_EQ(once.substr(once.find(last)), last + last + block);
    scene.client->SetLogFile(nullptr, true);
    scene.SetLogFile(false);
    EXPECT_EQ(scene.LogFile(), once + last + block + block);
    EXPECT_EQ(scene.client->GetLastResult(), ResultSendFailed);
    scene.message->Reset(ResetSender);
    EXPECT_EQ(scene.client->Send(), ResultNoSender);
    EXPECT_EQ(scene.LogFile(), once + last + block + block);  // As it was.
    scene.SetLogFile(false);
    EXPECT_EQ(scene.LogFile(), "Error Info: No sender has been specified.\n" + Block);
}

TEST(Send, HoldsNoMoreOfALogThanItsText) {
    constexpr std::size_t Polls = 4000;
    constexpr std::size_t LongestBlock = 250;  // Bytes
    Scene scene;
    const std::size_t before = ::mallinfo2().uordblks;
    for (std::size_t poll = 0; poll < Polls; ++poll) {
        scene.client->GetLogText();
    }
    EXPECT_LT(::mallinfo2().uordblks - before, 2 * Polls * LongestBlock);
}

}  // namespace
}  // namespace SMTPClientNS
