#include "mail.h"

#include <sys/mman.h>
#include <unistd.h>

#include <array>

using namespace SMTPClientNS;

namespace {

// Every send needs a name and a password. At a server that asks for no login they go unused, and
// the password does beside a token.
constexpr const char16_t *UnusedName = u"anonymous";
constexpr const char16_t *UnusedPassword = u"unused";

void ApplyLogin(const Options &options, ISmtpClient &client) {
    client.SetUserName(options.login ? options.user.c_str() : UnusedName);
    client.SetPassword(options.password.IsGiven() ? ReadSecret(options.password, "Password").c_str()
                                                  : UnusedPassword);
    if (options.token.IsGiven()) {
        client.SetBearerToken(ReadSecret(options.token, "Token").c_str());
    }
}

void ApplyProxy(const Proxy &proxy, ISmtpClient &client) {
    if (proxy.host.empty()) {
        return;
    }
    const std::u16string password =
        proxy.password.IsGiven() ? ReadSecret(proxy.password, "Proxy password") : u"";
    if (client.SetProxy(proxy.host.c_str(), proxy.port, proxy.type, proxy.user.c_str(),
                        password.c_str()) != 1) {
        throw CUsageError("the proxy's name, user name or password is too long");
    }
}

using AddOperation = std::int32_t (IMimeMessage::*)(const char16_t *address, const char16_t *name);

void AddAddress(IMimeMessage &message, AddOperation add, const Address &address) {
    if ((message.*add)(address.address.c_str(), address.name.c_str()) < 0) {
        throw CUsageError("not a mail address: " + UserFromWide(address.address));
    }
}

void AddAddresses(IMimeMessage &message, AddOperation add, const std::vector<Address> &addresses) {
    for (const Address &address : addresses) {
        AddAddress(message, add, address);
    }
}

void RefuseFile(const std::u16string &path, const char *why) {
    throw CUsageError(UserFromWide(path) + ": " + why);
}

/// What comes from the standard input, as a file that can be loaded by its path.
class CStandardInput {
public:
    CStandardInput() : file(::memfd_create("standard input", MFD_CLOEXEC)) {
        std::array<char, 65536> piece;
        for (ssize_t count = -1; (count = ::read(STDIN_FILENO, piece.data(), piece.size())) != 0;) {
            if (count < 0 ||
                ::write(file, piece.data(), static_cast<std::size_t>(count)) != count) {
                throw CUsageError("the standard input cannot be read");
            }
        }
    }
    ~CStandardInput() { ::close(file); }
    CStandardInput(const CStandardInput &) = delete;
    CStandardInput &operator=(const CStandardInput &) = delete;

    std::u16string Path() const { return WideFromUser("/proc/self/fd/" + std::to_string(file)); }

private:
    int file;
};

using GetBody = const char16_t *(IMimeMessage::*)() const;
using SetBody = void (IMimeMessage::*)(const char16_t *text);

void ApplyBody(IMimeMessage &message, const Body &body, std::int32_t mode, GetBody get,
               SetBody set) {
    if (body.text) {
        (message.*set)(body.text->c_str());
    } else if (!body.path.empty()) {
        if (body.path == u"-") {
            message.LoadBodyFromFile(CStandardInput().Path().c_str(), mode);
        } else {
            message.LoadBodyFromFile(body.path.c_str(), mode);
        }
        if (*(message.*get)() == u'\0') {
            RefuseFile(body.path, "missing, empty, locked, unreadable, or not a regular file");
        }
    }
    (message.*set)(WithMailLineEnds((message.*get)()).c_str());
}

std::int32_t HtmlMode(const Options &options) {
    if (options.scanImages) {
        return options.html.fileIsUtf8 ? BodyHtmlUtf8WithImages : BodyHtmlSystemWithImages;
    }
    return options.html.fileIsUtf8 ? BodyHtmlUtf8 : BodyHtmlSystem;
}

void AddFiles(const Options &options, IMimeMessage &message) {
    constexpr const char *Missing = "no such file";
    for (const InlineImage &image : options.images) {
        if (message.AddInlineImage(image.path.c_str(), image.id.c_str()) < 0) {
            RefuseFile(image.path, Missing);
        }
    }
    for (const std::u16string &path : options.attachments) {
        if (message.AddAttachment(path.c_str()) < 0) {
            RefuseFile(path, Missing);
        }
    }
}

/// The image scan takes paths from the HTML as they stand there.
void RefuseIdsWithLineBreaks(const IMimeMessage &message) {
    const auto count = static_cast<std::uint32_t>(message.GetInlineImageCount());
    for (std::uint32_t index = 1; index <= count; ++index) {
        const std::u16string id = message.GetInlineImageId(index);
        if (id.find_first_of(u"\r\n") != std::u16string::npos) {
            RefuseFile(id, "a picture with a line break in its path is refused");
        }
    }
}

}  // namespace

void FillClient(const Options &options, ISmtpClient &client) {
    client.SetHost(options.host.c_str());
    client.SetPort(options.port);
    client.SetConnectTimeout(options.connectTimeout);
    client.SetUseTls(options.useTls);
    client.SetTlsVersion(options.tlsVersion);
    client.SetVerifyPeer(options.verifyPeer ? 1 : 0);
    client.SetVerifyStatus(options.verifyStatus);
    client.SetLogFile(options.logFile.c_str(), options.appendLog);
    ApplyLogin(options, client);
    ApplyProxy(options.proxy, client);
}

void FillMessage(const Options &options, IMimeMessage &message) {
    AddAddress(message, &IMimeMessage::SetSender, options.from);
    AddAddresses(message, &IMimeMessage::AddRecipient, options.to);
    AddAddresses(message, &IMimeMessage::AddCc, options.cc);
    AddAddresses(message, &IMimeMessage::AddBcc, options.bcc);
    message.SetSubject(options.subject.c_str());
    message.SetCharset(options.charset.c_str());
    message.SetPriority(options.priority);
    ApplyBody(message, options.text, options.text.fileIsUtf8 ? BodyTextUtf8 : BodyTextSystem,
              &IMimeMessage::GetTextBody, &IMimeMessage::SetTextBody);
    ApplyBody(message, options.html, HtmlMode(options), &IMimeMessage::GetHtmlBody,
              &IMimeMessage::SetHtmlBody);
    AddFiles(options, message);
    RefuseIdsWithLineBreaks(message);
}
