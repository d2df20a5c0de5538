#include "client/file_parts.h"

#include <gtest/gtest.h>

#include "client/prepare_send.h"
#include "tests/support/host_tools.h"

namespace SMTPClientNS {
namespace {

std::string Noise(std::size_t size) {
    std::string noise(size, '\0');
    for (std::size_t at = 0; at < size; ++at) {
        noise[at] = static_cast<char>(at * at >> 3U);
    }
    return noise;
}

/// What the server was told: the commands, and the mail from its first boundary on. Boundaries are
/// random, so each is shown as the same one.
std::string Received(CSmtpServer &server) {
    std::string received;
    for (const std::string &command : server.Commands()) {
        received += command + "\r\n";
    }
    const std::string mail = server.Mails().at(0);
    received += mail.substr(mail.find("\r\n--"));
    const std::string dashes(24, '-');
    constexpr std::size_t Random = 16;  // Characters behind the dashes.
    std::size_t at = 0;
    while ((at = received.find(dashes, at)) != std::string::npos) {
        at = received.find_first_not_of('-', at);
        received.replace(at, Random, Random, 'x');
    }
    return received;
}

std::string Send(IMimeMessage &message, bool byLibcurlAlone) {
    CSender sender;
    sender.client->SetMessage(&message);
    SendHandles handles;
    MakeSendHandles(handles);
    EXPECT_EQ(PrepareSend(handles, sender.client.get()), CURLE_OK);
    const std::int32_t code =
        byLibcurlAlone ? curl_easy_perform(handles.easyHandle.get()) : PerformTransfer(handles);
    EXPECT_EQ(code, CURLE_OK);
    return Received(sender.server);
}

TEST(FileParts, OfEverySizeAreThoseOfLibcurl) {
    constexpr std::size_t Piece = 57 * 1024;
    std::vector<std::size_t> sizes = {Piece - 1, Piece,         Piece + 1, 2 * Piece - 1,
                                      2 * Piece, 2 * Piece + 1, 3U << 20U, (3U << 20U) + 1};
    for (std::size_t size = 0; size <= 200; ++size) {
        sizes.push_back(size);
    }
    const CTemporaryFolder folder;
    const Message message = MakeSmallMessage();
    for (const std::size_t size : sizes) {
        message->AddAttachment(folder.Write(std::to_string(size), Noise(size)).c_str());
    }
    EXPECT_TRUE(Send(*message, true) == Send(*message, false));  // Too long to be shown.
}

TEST(FileParts, OfEveryNameAreThoseOfLibcurl) {
    std::vector<std::u16string> names = {
        u"none", u"two.pdf.zip", u".gif",     u"a.",         u"quo\"ted",
        u"b\\s", u"a blank.txt", u"日本.bin", u"ta\tb\r\nx", u"gif",
    };
    for (const std::u16string extension : {u"gif", u"jpg", u"jpeg", u"png", u"bmp", u"svg", u"txt",
                                           u"htm", u"html", u"pdf", u"xml", u"Jpeg", u"PDF"}) {
        names.push_back(u"a." + extension);
    }
    const CTemporaryFolder folder;
    const Message message = MakeSmallMessage();
    message->SetHtmlBody(u"<p>");
    for (const std::u16string &name : names) {
        const std::u16string path = folder.Write(Narrow(name), "content");
        message->AddAttachment(path.c_str());
        message->AddInlineImage(path.c_str(), u"id");
    }
    ASSERT_EQ(message->GetAttachmentCount(), static_cast<std::int32_t>(names.size()));
    EXPECT_TRUE(Send(*message, true) == Send(*message, false));  // Too long to be shown.
}

}  // namespace
}  // namespace SMTPClientNS
