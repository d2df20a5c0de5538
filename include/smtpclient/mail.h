#ifndef SMTPCLIENT_MAIL_H
#define SMTPCLIENT_MAIL_H

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <map>
#include <memory>
#include <new>
#include <string>
#include <string_view>
#include <system_error>
#include <utility>

#include <smtpclient/mail_text.h>
#include <smtpclient/smtpclient.h>

/// The library for hosts that are written in C++: UTF-8, owners, and settings that are safe unless
/// the host says otherwise.
///
///     smtpclient::Client client("mail.example.org");
///     client.Login("me", "secret");
///     smtpclient::Message message;
///     message.From("me@example.org", "Me").To("you@example.org").Subject("Hi").Text("Hello!\n");
///     const smtpclient::Outcome outcome = client.Send(message);
///     std::puts(outcome ? "sent" : outcome.text.c_str());
///
/// Text is UTF-8; an ill-formed sequence becomes U+FFFD. What is passed in is copied.
///
/// Two exceptions leave these classes:
///
/// - std::invalid_argument for what the library would refuse, and for what would let a stranger's
///   text change the structure of the mail or of the dialogue with the server. Its what() names the
///   operation and the reason, never the text. Nothing has changed then.
/// - std::bad_alloc where memory runs out.
///
/// What becomes of a mail is never an exception but an Outcome.
///
/// A message or client that has been moved from may be assigned to or ended, nothing else.
namespace smtpclient {

namespace detail {

/// Ends what a factory of the library has made.
struct Releaser {
    template <typename T>
    void operator()(T *owned) const {
        owned->Release();
    }
};

class CBackgroundSends;

}  // namespace detail

/// How a send ended.
struct Outcome {
    SMTPClientNS::ResultCode code = SMTPClientNS::ResultGeneralError;

    /// One line without its line end. After Send: how it ended, with the server's own words. Of a
    /// background send: a message in the user's language, empty on success. Also empty where memory
    /// has run out.
    std::string text{};

    /// The server has taken the mail.
    explicit operator bool() const noexcept { return code == SMTPClientNS::ResultSuccess; }
};

/// One mail. A send only reads it, so that it can be sent again and again.
///
/// Files are read during the transfer, a background one too, but for HtmlFile: they have to stay
/// until that has ended. Attach, Picture and HtmlFile refuse what is not there, is no regular file,
/// or has a control character in its name. Where paths are bytes, they are taken for UTF-8, and
/// others are refused; in a locale of another codeset only ASCII paths are sure to be found.
///
/// Thread: one at a time.
class Message {
public:
    Message() : message(::CreateMimeMessage()) {}

    /// The sender, of the mail and of its envelope; takes the place of an earlier one.
    ///
    /// address  RFC 5322's addr-spec, without a name. Refused with blanks, control characters,
    ///          angle brackets, and with punctuation that would make it another address or several.
    /// name     display name, in any script; empty means none. Quoted where RFC 5322 asks for it.
    Message &From(std::string_view address, std::string_view name = {});

    /// One more recipient, by the rules of From.
    Message &To(std::string_view address, std::string_view name = {});
    Message &Cc(std::string_view address, std::string_view name = {});

    /// Stands in a Bcc line of the mail, which every recipient receives, unless the server takes it
    /// out. To keep a recipient from the others, send that one a mail of his own.
    Message &Bcc(std::string_view address, std::string_view name = {});

    /// One line.
    Message &Subject(std::string_view text);

    /// The plain text and the HTML body: each takes the place of an earlier one, and an empty one
    /// is not sent. LF, CR and CR LF all end a line. With a NUL in it a body is refused.
    Message &Text(std::string_view body);
    Message &Html(std::string_view body);

    /// The HTML body from a file in UTF-8, by the rules of Html, and the local pictures that it
    /// shows: the first double-quoted value of each img tag is taken for a path, relative to the
    /// working directory, and the file there, whatever it is, becomes part of the mail. Not for a
    /// stranger's HTML. Pictures of an earlier HtmlFile stay.
    ///
    /// Also refused: a file that cannot be read, or that another program has locked (flock); one of
    /// 4 GiB or more; pictures whose path is no Content-ID.
    Message &HtmlFile(const std::filesystem::path &file);

    /// One more file, under its own name.
    Message &Attach(const std::filesystem::path &file);

    /// One more picture, which the HTML body shows as "cid:" followed by contentId (RFC 2392). Goes
    /// out only with an HTML body.
    ///
    /// contentId  without angle brackets; not empty.
    Message &Picture(const std::filesystem::path &file, std::string_view contentId);

    /// PriorityNormal in a new message.
    Message &Priority(SMTPClientNS::Priority priority);

    /// The charset of the bodies, the subject and the names: one that iconv knows and that has
    /// ASCII in it, "UTF-8" in a new message. What it lacks is dropped. The name is a token of RFC
    /// 2047; an unknown one is not noticed here, and the bodies arrive empty.
    Message &Charset(std::string_view name);

    /// What is behind it, for operations that are not here. Belongs to this object.
    SMTPClientNS::IMimeMessage *Get() const noexcept { return message.get(); }

private:
    std::unique_ptr<SMTPClientNS::IMimeMessage, detail::Releaser> message;
};

/// Sends mails to one server, on the caller's thread or in the background.
///
/// Every send demands TLS, and a certificate that is valid for the host and signed by an authority
/// that the system trusts. WithoutTls and TrustAnyCertificate are the two ways out.
///
/// A send needs Login or Token before it, else it ends in ResultBadCredentials. Settings hold for
/// the sends that come after them.
///
/// Thread: one at a time, and once it has sent in the background, the thread of the first
/// background send: there the callbacks run, when it dispatches its events (host_platform.h), and
/// there the client is ended while any is to come.
///
/// Background sends that are under way when a client ends go on. Their callbacks are not called;
/// they are destroyed with the client.
class Client {
public:
    /// host  name or address of the server, ASCII: an international name in its xn-- form, an IPv6
    ///       address in brackets.
    /// port  1 to 65535. The server has to speak plain SMTP first, as on 587: 465 does not work.
    explicit Client(std::string_view host, std::int32_t port = 587);
    ~Client();
    Client(Client &&other) noexcept;
    Client &operator=(Client &&other) noexcept;
    Client(const Client &) = delete;
    Client &operator=(const Client &) = delete;

    /// Logs in with a password, by the first mechanism that the server offers and libcurl takes.
    /// Neither is empty. Takes the place of an earlier Login or Token.
    Client &Login(std::string_view user, std::string_view password);

    /// Logs in with an OAuth 2.0 token, by this mechanism or not at all: whatever else the server
    /// offers, it gets neither token nor password. Takes the place of an earlier Login or Token.
    ///
    /// token      without blanks, not empty.
    /// mechanism  "XOAUTH2" or "OAUTHBEARER" (RFC 7628).
    Client &Token(std::string_view user, std::string_view token,
                  std::string_view mechanism = "XOAUTH2");

    /// Goes through a SOCKS proxy.
    ///
    /// host, port      by the rules of the constructor; host has up to 255 characters.
    /// user, password  both or neither; up to 255 UTF-16 units each. They travel readable. A proxy
    ///                 without them gets none of an earlier one: if it asks for a login after all,
    ///                 a user name of no value.
    Client &Proxy(std::string_view host, std::int32_t port,
                  SMTPClientNS::ProxyType type = SMTPClientNS::ProxySocks5Hostname,
                  std::string_view user = {}, std::string_view password = {});

    /// The time until the connection has to stand, TLS and login included. 0, as in a new client,
    /// means libcurl's own 300 s. Negative times are refused.
    Client &ConnectTimeout(std::chrono::seconds limit);

    /// Demands TLS in exactly this version, also after WithoutTls.
    Client &Tls(SMTPClientNS::TlsVersion version);

    /// Sends in plain text: login and mail can be read, and changed, by all who are between.
    Client &WithoutTls();

    /// Takes whatever certificate comes, and with it anyone who is between.
    Client &TrustAnyCertificate();

    /// Has each Send write its whole conversation, PASSWORD AND MAIL INCLUDED, to a file, which is
    /// made for its owner alone (0600). An empty path switches it off.
    Client &LogFile(const std::filesystem::path &file, bool append = true);

    /// Sends and returns when the transfer has ended.
    Outcome Send(const Message &message);

    /// Composes the mail now and sends it in the background; done is told of the end.
    ///
    /// done  runs on the thread of the client's first background send, when that dispatches its
    ///       events. May send, cancel, and end or move the client. If it throws, the process ends,
    ///       as it does when a thread's function throws. May be empty.
    ///
    /// Returns the send's task id: 1, 2, 3 ... The message may change or end then.
    std::int32_t Send(const Message &message, std::function<void(const Outcome &)> done);

    /// Sends in the background: `const Outcome outcome = co_await client.Sending(message);`
    ///
    /// The send starts at the co_await, which lets an exception of Send through; the message may
    /// change or end when the coroutine is suspended. The coroutine is resumed as a callback is
    /// called, and on the same thread. A client that ends first, or cancels the send, leaves it
    /// suspended for ever: whoever owns the coroutine destroys it. One that is destroyed while it
    /// waits is not resumed; the send goes on.
    auto Sending(const Message &message);

    /// Takes a background send that has not begun out of the queue; its callback is destroyed.
    /// False if there is none of that id (any more).
    bool Cancel(std::int32_t taskId);

    /// Cancels every background send that has not begun. False if there is none.
    bool CancelAll();

    /// Background sends whose callback is still to come.
    std::size_t Pending() const noexcept;

    /// The dialogue of the last Send, a line for each row, closed by one with the result. Fit to be
    /// shown: neither credentials nor the mail's text are in it. Empty before the first Send.
    std::string Log() const;

    /// What is behind it, for operations that are not here. Belongs to this object. Its completion
    /// sink is what calls the callbacks, and its host may carry the mechanism of Token in front.
    SMTPClientNS::ISmtpClient *Get() const noexcept;

private:
    std::unique_ptr<detail::CBackgroundSends> sends;
};

// From here on: how it is done. Nothing in detail is for hosts.

namespace detail {

/// Without the mechanism that Token puts in front.
inline std::u16string HostOf(const SMTPClientNS::ISmtpClient &client) {
    const std::u16string_view host = client.GetHost();
    return std::u16string(host.substr(host.rfind(u'@') + 1));
}

inline bool HasProxyLogin(const SMTPClientNS::ISmtpClient &client) {
    char16_t user[SMTPClientNS::ProxyValueCapacity] = {};
    client.GetProxyValue(user, SMTPClientNS::ProxyUserName);
    return user[0] != u'\0';
}

/// Never throws: the mail may be sent by now, and an exception would tell the host to try again.
template <typename Text>
Outcome MakeOutcome(std::int32_t code, Text text) noexcept {
    Outcome outcome{static_cast<SMTPClientNS::ResultCode>(code), {}};
    try {
        const std::u16string_view line = text();
        outcome.text = ToUtf8(line.substr(0, line.find_last_not_of(u"\r\n") + 1));
    } catch (const std::bad_alloc &) {
        outcome.text.clear();
    }
    return outcome;
}

/// A client and the callbacks of its background sends. It stays where it is when its Client moves,
/// since the library keeps its address.
class CBackgroundSends final : public SMTPClientNS::ICompletionSink {
public:
    using Done = std::function<void(Outcome &)>;

    CBackgroundSends() { client->SetCompletionSink(this); }
    ~CBackgroundSends() { client->SetCompletionSink(nullptr); }
    CBackgroundSends(const CBackgroundSends &) = delete;
    CBackgroundSends &operator=(const CBackgroundSends &) = delete;

    SMTPClientNS::ISmtpClient &Settings() const noexcept { return *client; }
    std::size_t Pending() const noexcept { return callbacks.size(); }

    std::int32_t Start(const Message &message, Done done) {
        Callbacks one;  // Takes its memory now: none is needed once the send is on its way.
        one.emplace(0, std::move(done));
        Callbacks::node_type entry = one.extract(one.begin());
        client->SetMessage(message.Get());
        const std::int32_t taskId = client->SendAsync();
        client->SetMessage(nullptr);
        if (taskId < 1) {
            throw std::bad_alloc();
        }
        entry.key() = taskId;
        callbacks.insert(std::move(entry));
        return taskId;
    }

    bool Cancel(std::int32_t taskId) {
        if (taskId < 1 || client->CancelAsync(taskId) != 1) {
            return false;
        }
        const Callbacks::node_type cancelled = callbacks.extract(taskId);
        return true;  // As it ends, the callback may end this object.
    }

    bool CancelAll() {
        Callbacks cancelled;
        for (auto next = callbacks.begin(); next != callbacks.end();) {
            const auto entry = next++;
            if (client->CancelAsync(entry->first) == 1) {
                cancelled.insert(callbacks.extract(entry));
            }
        }
        const bool hasOthers = client->CancelAsync(0) == 1;  // Started without a callback of ours.
        return hasOthers || !cancelled.empty();
    }

    void OnSendComplete(std::int32_t taskId, std::int32_t code,
                        const char16_t *text) noexcept override {
        const Callbacks::node_type entry = callbacks.extract(taskId);
        if (!entry.empty() && entry.mapped()) {
            Outcome outcome = MakeOutcome(code, [text] { return text; });
            entry.mapped()(outcome);  // May end this object.
        }
    }

private:
    using Callbacks = std::map<std::int32_t, Done>;

    const std::unique_ptr<SMTPClientNS::ISmtpClient, Releaser> client{::CreateSmtpClient()};
    Callbacks callbacks{};
};

/// What a coroutine waits for. Its handle is a template's, so that C++17 needs no <coroutine>.
class CSending {
public:
    CSending(CBackgroundSends &by, const Message &toSend) noexcept : sends(&by), message(&toSend) {}
    ~CSending() {
        if (waiter != nullptr) {
            waiter->resume = nullptr;
        }
    }
    CSending(CSending &&) noexcept = default;
    CSending &operator=(CSending &&) = delete;
    CSending(const CSending &) = delete;
    CSending &operator=(const CSending &) = delete;

    static constexpr bool await_ready() noexcept { return false; }

    template <typename Handle>
    void await_suspend(Handle coroutine) {
        waiter = std::make_shared<Waiter>();
        waiter->resume = [coroutine]() mutable { coroutine.resume(); };
        sends->Start(*message, [waiting = waiter](Outcome &outcome) {
            waiting->outcome = std::move(outcome);
            if (const std::function<void()> resume = std::exchange(waiting->resume, nullptr)) {
                resume();
            }
        });
    }

    Outcome await_resume() { return std::move(waiter->outcome); }

private:
    /// Shared with the callback, which may come when the coroutine is no more.
    struct Waiter {
        Outcome outcome{};
        std::function<void()> resume{};
    };

    CBackgroundSends *sends;
    const Message *message;
    std::shared_ptr<Waiter> waiter{};
};

using AddOperation = std::int32_t (SMTPClientNS::IMimeMessage::*)(const char16_t *address,
                                                                  const char16_t *name);

inline void AddAddress(const char *operation, SMTPClientNS::IMimeMessage &message, AddOperation add,
                       std::string_view address, std::string_view name) {
    const std::u16string addressText = AddressText(operation, address);
    const std::u16string nameText = NameText(operation, name);
    RefuseIf((message.*add)(addressText.c_str(), nameText.c_str()) < 0, operation,
             "the address is refused");
}

/// The file as a body, with its pictures, in a message of its own.
inline Message LoadHtml(const char *operation, const std::filesystem::path &file) {
    const std::u16string path = FileText(operation, file);
    std::ifstream stream(file, std::ios::binary);
    const std::istreambuf_iterator<char> end;
    RefuseIf(std::find(std::istreambuf_iterator<char>(stream), end, '\0') != end, operation,
             "a NUL in the file");
    Message loaded;
    loaded.Get()->LoadBodyFromFile(path.c_str(), SMTPClientNS::BodyHtmlUtf8WithImages);
    std::error_code error;
    RefuseIf(*loaded.Get()->GetHtmlBody() == u'\0' && std::filesystem::file_size(file, error) != 0,
             operation, "the file cannot be read");
    return loaded;
}

inline void AddPicturesOf(const char *operation, const SMTPClientNS::IMimeMessage &source,
                          SMTPClientNS::IMimeMessage &target) {
    const auto count = static_cast<std::uint32_t>(source.GetInlineImageCount());
    for (std::uint32_t index = 1; index <= count; ++index) {
        RefuseIf(!IsContentId(source.GetInlineImageId(index)), operation,
                 "a picture's path is no Content-ID");
    }
    for (std::uint32_t index = 1; index <= count; ++index) {
        const char16_t *const path = source.GetInlineImagePath(index);
        if (IsRegularFile(path)) {  // Any quoted word may name a folder.
            target.AddInlineImage(path, source.GetInlineImageId(index));
        }
    }
}

}  // namespace detail

inline Message &Message::From(std::string_view address, std::string_view name) {
    constexpr const char *Operation = "Message::From";
    const std::u16string addressText = detail::AddressText(Operation, address);
    const std::u16string nameText = detail::NameText(Operation, name);
    if (nameText.empty()) {
        message->Reset(SMTPClientNS::ResetSender);  // Else the earlier name would stay.
    }
    message->SetSender(addressText.c_str(), nameText.c_str());
    return *this;
}

inline Message &Message::To(std::string_view address, std::string_view name) {
    detail::AddAddress("Message::To", *message, &SMTPClientNS::IMimeMessage::AddRecipient, address,
                       name);
    return *this;
}

inline Message &Message::Cc(std::string_view address, std::string_view name) {
    detail::AddAddress("Message::Cc", *message, &SMTPClientNS::IMimeMessage::AddCc, address, name);
    return *this;
}

inline Message &Message::Bcc(std::string_view address, std::string_view name) {
    detail::AddAddress("Message::Bcc", *message, &SMTPClientNS::IMimeMessage::AddBcc, address,
                       name);
    return *this;
}

inline Message &Message::Subject(std::string_view text) {
    message->SetSubject(detail::LineText("Message::Subject", "subject", text).c_str());
    return *this;
}

inline Message &Message::Text(std::string_view body) {
    message->SetTextBody(detail::BodyText("Message::Text", detail::ToUtf16(body)).c_str());
    return *this;
}

inline Message &Message::Html(std::string_view body) {
    message->SetHtmlBody(detail::BodyText("Message::Html", detail::ToUtf16(body)).c_str());
    return *this;
}

inline Message &Message::HtmlFile(const std::filesystem::path &file) {
    constexpr const char *Operation = "Message::HtmlFile";
    const Message loaded = detail::LoadHtml(Operation, file);
    const std::u16string body = detail::BodyText(Operation, loaded.message->GetHtmlBody());
    detail::AddPicturesOf(Operation, *loaded.message, *message);
    message->SetHtmlBody(body.c_str());
    return *this;
}

inline Message &Message::Attach(const std::filesystem::path &file) {
    constexpr const char *Operation = "Message::Attach";
    const std::u16string path = detail::FileText(Operation, file);
    detail::RefuseIf(message->AddAttachment(path.c_str()) < 0, Operation, "the file is not found");
    return *this;
}

inline Message &Message::Picture(const std::filesystem::path &file, std::string_view contentId) {
    constexpr const char *Operation = "Message::Picture";
    const std::u16string path = detail::FileText(Operation, file);
    const std::u16string id = detail::ToUtf16(contentId);
    detail::RefuseIf(!detail::IsContentId(id), Operation,
                     "the Content-ID is empty or has a control character or angle bracket");
    detail::RefuseIf(message->AddInlineImage(path.c_str(), id.c_str()) < 0, Operation,
                     "the file is not found");
    return *this;
}

inline Message &Message::Priority(SMTPClientNS::Priority priority) {
    message->SetPriority(priority);
    return *this;
}

inline Message &Message::Charset(std::string_view name) {
    const std::u16string text = detail::ToUtf16(name);
    const bool isToken = detail::HasOnly(text, [](char16_t unit) {
        return detail::IsLetterOrDigit(unit) || unit == u'-' || unit == u'_' || unit == u'+';
    });
    detail::RefuseIf(text.empty() || !isToken, "Message::Charset", "this is no charset's name");
    message->SetCharset(text.c_str());
    return *this;
}

inline Client::Client(std::string_view host, std::int32_t port)
    : sends(std::make_unique<detail::CBackgroundSends>()) {
    constexpr const char *Operation = "Client";
    const std::u16string hostText = detail::HostText(Operation, host);
    detail::CheckPort(Operation, port);
    SMTPClientNS::ISmtpClient &client = sends->Settings();
    client.SetHost(hostText.c_str());
    client.SetPort(port);
    client.SetUseTls(true);
    client.SetVerifyPeer(1);
}

inline Client::~Client() = default;
inline Client::Client(Client &&other) noexcept = default;
inline Client &Client::operator=(Client &&other) noexcept = default;

inline SMTPClientNS::ISmtpClient *Client::Get() const noexcept {
    return sends != nullptr ? &sends->Settings() : nullptr;
}

inline Client &Client::Login(std::string_view user, std::string_view password) {
    constexpr const char *Operation = "Client::Login";
    const std::u16string userText = detail::UserText(Operation, user);
    const detail::CSecret secret(password);
    detail::RefuseIf(secret.Get().empty(), Operation, "the password is empty");
    detail::RefuseIf(detail::HasNul(secret.Get()), Operation, "a NUL in the password");
    const std::u16string host = detail::HostOf(sends->Settings());
    sends->Settings().SetBearerToken(u"");
    sends->Settings().SetUserName(userText.c_str());
    sends->Settings().SetPassword(secret.Get().c_str());
    sends->Settings().SetHost(
        host.c_str());  // Last: until then the server may ask for nothing but a token.
    return *this;
}

inline Client &Client::Token(std::string_view user, std::string_view token,
                             std::string_view mechanism) {
    constexpr const char *Operation = "Client::Token";
    const std::u16string mechanismText = detail::ToUtf16(mechanism);
    detail::RefuseIf(mechanismText != u"XOAUTH2" && mechanismText != detail::OAuthBearer, Operation,
                     "the mechanism is neither XOAUTH2 nor OAUTHBEARER");
    const std::u16string userText = detail::TokenUserText(Operation, user, mechanismText);
    const detail::CSecret secret(token);
    const bool isToken = detail::HasOnly(
        secret.Get(), [](char16_t unit) { return unit > u' ' && unit < u'\u007F'; });
    detail::RefuseIf(secret.Get().empty() || !isToken, Operation,
                     "the token is empty or has a character that no token has");
    const std::u16string host =
        u";AUTH=" + mechanismText + u"@" + detail::HostOf(sends->Settings());
    sends->Settings().SetHost(
        host.c_str());  // First: from here on the server may ask for nothing else.
    sends->Settings().SetUserName(userText.c_str());
    sends->Settings().SetPassword(u"unused");
    sends->Settings().SetBearerToken(secret.Get().c_str());
    return *this;
}

inline Client &Client::Proxy(std::string_view host, std::int32_t port, SMTPClientNS::ProxyType type,
                             std::string_view user, std::string_view password) {
    constexpr const char *Operation = "Client::Proxy";
    const std::u16string hostText = detail::HostText(Operation, host);
    detail::CheckPort(Operation, port);
    detail::RefuseIf(type < SMTPClientNS::ProxySocks4 || type > SMTPClientNS::ProxySocks5Hostname,
                     Operation, "there is no such type");
    const std::u16string userText = detail::LineText(Operation, "user name", user);
    const detail::CSecret secret(password);
    detail::RefuseIf(userText.empty() != secret.Get().empty(), Operation,
                     "a user name or a password without the other");
    detail::RefuseIf(detail::HasNul(secret.Get()), Operation, "a NUL in the password");
    for (const std::u16string *text : {&hostText, &userText, &secret.Get()}) {
        detail::RefuseIf(text->size() >= SMTPClientNS::ProxyValueCapacity, Operation,
                         "the host, user name or password is too long");
    }
    // Without a login the library keeps an earlier proxy's: then it is replaced by one of no value.
    const bool isKept = userText.empty() && detail::HasProxyLogin(sends->Settings());
    const char16_t *const noValue = isKept ? u"anonymous" : u"";
    detail::RefuseIf(sends->Settings().SetProxy(hostText.c_str(), port, type,
                                                isKept ? noValue : userText.c_str(),
                                                isKept ? noValue : secret.Get().c_str()) != 1,
                     Operation, "the proxy is refused");
    return *this;
}

inline Client &Client::ConnectTimeout(std::chrono::seconds limit) {
    const auto seconds = limit.count();
    detail::RefuseIf(seconds < 0 || seconds > INT32_MAX, "Client::ConnectTimeout",
                     "the time is negative or too long");
    sends->Settings().SetConnectTimeout(static_cast<std::int32_t>(seconds));
    return *this;
}

inline Client &Client::Tls(SMTPClientNS::TlsVersion version) {
    detail::RefuseIf(version < SMTPClientNS::TlsDefault || version > SMTPClientNS::Tls13,
                     "Client::Tls", "there is no such version");
    sends->Settings().SetUseTls(true);
    sends->Settings().SetTlsVersion(version);
    return *this;
}

inline Client &Client::WithoutTls() {
    sends->Settings().SetUseTls(false);
    return *this;
}

inline Client &Client::TrustAnyCertificate() {
    sends->Settings().SetVerifyPeer(0);
    return *this;
}

inline Client &Client::LogFile(const std::filesystem::path &file, bool append) {
    sends->Settings().SetLogFile(detail::PathText("Client::LogFile", file).c_str(), append);
    return *this;
}

inline Outcome Client::Send(const Message &message) {
    sends->Settings().SetMessage(message.Get());
    const std::int32_t code = sends->Settings().Send();
    sends->Settings().SetMessage(nullptr);
    return detail::MakeOutcome(code, [this] { return sends->Settings().GetLastLogEntry(); });
}

inline std::int32_t Client::Send(const Message &message,
                                 std::function<void(const Outcome &)> done) {
    return sends->Start(message, std::move(done));
}

inline auto Client::Sending(const Message &message) {
    return detail::CSending(*sends, message);
}

inline bool Client::Cancel(std::int32_t taskId) {
    return sends->Cancel(taskId);
}

inline bool Client::CancelAll() {
    return sends->CancelAll();
}

inline std::size_t Client::Pending() const noexcept {
    return sends != nullptr ? sends->Pending() : 0;
}

inline std::string Client::Log() const {
    return detail::ToUtf8(sends->Settings().GetLogText());
}

}  // namespace smtpclient

#endif  // SMTPCLIENT_MAIL_H
