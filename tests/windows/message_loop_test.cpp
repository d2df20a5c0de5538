#include <gtest/gtest.h>
#include <windows.h>

#include <smtpclient/mail.h>

#include "tests/support/host_tools.h"

extern "C" int SendTwiceByMsvcTables(int port);

namespace SMTPClientNS {

constexpr const wchar_t *WindowClass = L"SmtpClientAsyncThreadWindow";

static int WindowsOfThisThread() {
    int count = 0;
    const auto countOurs = [](HWND window, LPARAM counter) -> BOOL {
        wchar_t name[64] = {};
        ::GetClassNameW(window, name, 64);
        *reinterpret_cast<int *>(counter) += std::wstring(name) == WindowClass ? 1 : 0;
        EXPECT_FALSE(::IsWindowVisible(window));
        return TRUE;
    };
    ::EnumThreadWindows(::GetCurrentThreadId(), countOurs, reinterpret_cast<LPARAM>(&count));
    return count;
}

TEST(MessageLoop, ReportsToItsThreadWithAWindowForEachClient) {
    CSmtpServer server;
    const DWORD self = ::GetCurrentThreadId();
    const Message message = MakeSmallMessage();
    CRecordingSink sinks[2];
    {
        const Client clients[] = {MakeClientFor(server.Port()), MakeClientFor(server.Port())};
        EXPECT_EQ(WindowsOfThisThread(), 0);
        for (int i : {0, 1, 1}) {
            sinks[i].act = [self](auto...) { EXPECT_EQ(::GetCurrentThreadId(), self); };
            clients[i]->SetMessage(message.get());
            clients[i]->SetCompletionSink(&sinks[i]);
            clients[i]->SendAsync();
        }
        EXPECT_EQ(WindowsOfThisThread(), 2);
        MSG posted = {};
        while (sinks[0].reports + sinks[1].reports < 3 &&
               ::GetMessageW(&posted, nullptr, 0, 0) > 0) {
            ::DispatchMessageW(&posted);
        }
    }
    EXPECT_EQ(sinks[0].told + sinks[1].told, "1=1 \n1=1 \n2=1 \n");
    EXPECT_EQ(WindowsOfThisThread(), 0);
}

TEST(MessageLoop, ThreadThatEndsDropsItsReports) {
    CSender sender;
    std::thread([&] {
        sender.client->SendAsync();
        EXPECT_TRUE(sender.server.WaitForMails(1));
        sender.client.reset();
    }).join();
    ::PostMessageW(nullptr, WM_APP, 0, 0);
    EXPECT_EQ(SmtpClientWaitEvents(0), 0);
    EXPECT_EQ(sender.sink.reports, 0U);
    MSG own = {};  // The host's stays.
    EXPECT_NE(::PeekMessageW(&own, nullptr, WM_APP, WM_APP, PM_REMOVE), 0);
}

TEST(MessageBoxOfTheSystem, WaitsForItsAnswer) {
    const CSender sender;
    sender.message->SetCharset(u"unknown");
    sender.message->SetSubject(u"é");
    std::atomic<int> answered{0};
    std::atomic<bool> isSent{false};
    std::thread answering([&] {
        while (!isSent) {
            if (const HWND box = ::FindWindowW(nullptr, L"SmtpClient Error")) {
                ::SendMessageW(box, WM_COMMAND, IDOK, 0);
                ++answered;
            }
            ::Sleep(1);
        }
    });
    EXPECT_EQ(sender.client->Send(), ResultSuccess);
    isSent = true;
    answering.join();
    EXPECT_GE(answered, 1);
}

TEST(Files, AreNotSharedAndHaveWidePaths) {
    CSender sender;
    auto &[server, sink, message, client] = sender;
    const CTemporaryFolder folder;
    const std::filesystem::path names = std::filesystem::path(folder.PathOf("")) / L"写真 é";
    std::filesystem::create_directory(names);
    const std::filesystem::path file = names / L"日.txt";
    std::ofstream(file, std::ios::binary) << "text";
    message->LoadBodyFromFile(file.u16string().c_str(), BodyTextUtf8);
    EXPECT_EQ(message->GetTextBody(), std::u16string(u"text"));
    message->AddAttachment(file.u16string().c_str());
    client->SetLogFile((names / L"log").u16string().c_str(), true);
    EXPECT_EQ(client->Send(), ResultSuccess);
    EXPECT_NE(server.Mails().at(0).find("dGV4dA=="), std::string::npos);
    EXPECT_GT(std::filesystem::file_size(names / L"log"), 0U);

    const HANDLE held =
        ::CreateFileW(file.c_str(), GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr);
    message->SetTextBody(u"as it was");
    message->LoadBodyFromFile(file.u16string().c_str(), BodyTextUtf8);
    EXPECT_EQ(message->GetTextBody(), std::u16string(u"as it was"));
    EXPECT_EQ(client->Send(), ResultFileUnreadable);
    ::CloseHandle(held);
}

TEST(Tables, ServeTheSystemsOwnCompiler) {
    CSmtpServer server;
    EXPECT_EQ(SendTwiceByMsvcTables(server.Port()), 1101);
    EXPECT_EQ(server.Mails().size(), 2U);
    EXPECT_TRUE(server.WaitForCommands("QUIT", 2));
}

}  // namespace SMTPClientNS
