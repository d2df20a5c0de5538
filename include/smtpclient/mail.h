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
#include <limits>
#include <map>
#include <memory>
#include <new>
#include <stdexcept>
#include <string>
#include <string_view>
#include <system_error>
#include <utility>

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

    /// The time until the connection stands, TLS and login included; none of it in fractions. 0, as
    /// in a new client, means libcurl's own 300 s. Negative times are refused.
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

constexpr char32_t ReplacementCharacter = 0xFFFD;
constexpr char32_t IllFormed = 0x110000;

/// Reads the character at a position and moves behind it; behind the maximal subpart (Unicode 3.9)
/// of an ill-formed sequence, which gives IllFormed.
inline char32_t ReadUtf8(std::string_view text, std::size_t &position) {
    const auto byteAt = [text](std::size_t at) { return static_cast<unsigned char>(text[at]); };
    const char32_t lead = byteAt(position++);
    if (lead < 0x80) {
        return lead;
    }
    if (lead < 0xC2 || lead > 0xF4) {
        return IllFormed;
    }
    // The second byte's limits keep out overlong forms, surrogates, and what is above U+10FFFF.
    char32_t lowest = lead == 0xE0 ? 0xA0 : lead == 0xF0 ? 0x90 : 0x80;
    char32_t highest = lead == 0xED ? 0x9F : lead == 0xF4 ? 0x8F : 0xBF;
    const int followers = lead < 0xE0 ? 1 : lead < 0xF0 ? 2 : 3;
    char32_t character = lead & (0x3FU >> followers);
    for (int follower = 0; follower < followers; ++follower) {
        if (position == text.size() || byteAt(position) < lowest || byteAt(position) > highest) {
            return IllFormed;
        }
        character = (character << 6U) | (byteAt(position++) & 0x3FU);
        lowest = 0x80;
        highest = 0xBF;
    }
    return character;
}

inline void AppendUtf16(std::u16string &target, char32_t character) {
    if (character < 0x10000) {
        target += static_cast<char16_t>(character);
        return;
    }
    const char32_t offset = character - 0x10000;
    target += static_cast<char16_t>(0xD800 + (offset >> 10U));
    target += static_cast<char16_t>(0xDC00 + (offset & 0x3FFU));
}

inline std::u16string ToUtf16(std::string_view text) {
    std::u16string result;
    result.reserve(text.size());  // Enough for any text: no copy of a password is left behind.
    for (std::size_t position = 0; position < text.size();) {
        const char32_t character = ReadUtf8(text, position);
        AppendUtf16(result, character == IllFormed ? ReplacementCharacter : character);
    }
    return result;
}

inline void AppendUtf8(std::string &target, char32_t character) {
    const auto append = [&target](char32_t byte) {
        target += static_cast<char>(static_cast<unsigned char>(byte));
    };
    if (character < 0x80) {
        append(character);
        return;
    }
    const unsigned int followers = character < 0x800 ? 1 : character < 0x10000 ? 2 : 3;
    append(((0xFF00U >> (followers + 1)) & 0xFFU) | (character >> (6 * followers)));
    for (unsigned int left = followers; left > 0; --left) {
        append(0x80U | ((character >> (6 * (left - 1))) & 0x3FU));
    }
}

/// A lone surrogate becomes U+FFFD.
inline std::string ToUtf8(std::u16string_view text) {
    std::string result;
    result.reserve(text.size());
    const auto isSurrogate = [text](std::size_t at, char32_t kind) {
        return at < text.size() && (text[at] & 0xFC00U) == kind;
    };
    for (std::size_t at = 0; at < text.size(); ++at) {
        char32_t character = text[at];
        if (isSurrogate(at, 0xD800) && isSurrogate(at + 1, 0xDC00)) {
            character = 0x10000 + ((character & 0x3FFU) << 10U) + (text[++at] & 0x3FFU);
        } else if (isSurrogate(at, 0xD800) || isSurrogate(at, 0xDC00)) {
            character = ReplacementCharacter;
        }
        AppendUtf8(result, character);
    }
    return result;
}

/// UTF-16 that is overwritten at its end.
class CSecret {
public:
    explicit CSecret(std::string_view utf8) : text(ToUtf16(utf8)) {}
    ~CSecret() {
        for (volatile char16_t &unit : text) {  // Volatile: not to be optimised away.
            unit = u'\0';
        }
    }
    CSecret(const CSecret &) = delete;
    CSecret &operator=(const CSecret &) = delete;

    const std::u16string &Get() const noexcept { return text; }

private:
    std::u16string text;
};

[[noreturn]] inline void Refuse(const char *operation, const std::string &reason) {
    throw std::invalid_argument(std::string(operation) + ": " + reason);
}

inline void RefuseIf(bool isBad, const char *operation, const char *reason) {
    if (isBad) {
        Refuse(operation, reason);
    }
}

inline bool IsAscii(char16_t unit) {
    return unit < 0x80;
}

inline bool IsControl(char16_t unit) {
    return unit < 0x20 || (unit >= 0x7F && unit < 0xA0);
}

/// Blanks of any script, and what ends a line in Unicode.
inline bool IsBlank(char16_t unit) {
    return std::u16string_view(u" \u00A0\u1680\u2028\u2029\u202F\u205F\u3000").find(unit) !=
               std::u16string_view::npos ||
           (unit >= 0x2000 && unit <= 0x200A);
}

inline bool IsLetterOrDigit(char16_t unit) {
    return (unit >= u'a' && unit <= u'z') || (unit >= u'A' && unit <= u'Z') ||
           (unit >= u'0' && unit <= u'9');
}

template <typename Test>
bool HasAny(std::u16string_view text, Test test) {
    return std::any_of(text.begin(), text.end(), test);
}

template <typename Test>
bool HasOnly(std::u16string_view text, Test test) {
    return std::all_of(text.begin(), text.end(), test);
}

inline bool HasAnyOf(std::u16string_view text, std::u16string_view units) {
    return text.find_first_of(units) != std::u16string_view::npos;
}

inline bool HasNul(std::u16string_view text) {
    return text.find(u'\0') != std::u16string_view::npos;
}

constexpr std::u16string_view LineBreaksAndNul = {u"\r\n\0", 3};

/// Text for one line of the header or of the dialogue.
inline std::u16string LineText(const char *operation, const char *what, std::string_view utf8) {
    std::u16string text = ToUtf16(utf8);
    if (HasAnyOf(text, LineBreaksAndNul)) {
        Refuse(operation, std::string("a line break or NUL in the ") + what);
    }
    return text;
}

/// Where the local part of an address ends; npos if none stands in front.
inline std::size_t LocalPartLength(std::u16string_view address) {
    if (address.empty() || address.front() != u'"') {
        return address.find_first_of(u"()[]:;@\\,\"");
    }
    for (std::size_t at = 1; at < address.size(); ++at) {
        if (address[at] == u'"') {
            return at + 1;
        }
        at += address[at] == u'\\' ? 1U : 0U;
    }
    return std::u16string_view::npos;
}

inline bool IsDomain(std::u16string_view text) {
    const bool isLiteral = text.size() > 2 && text.front() == u'[' && text.back() == u']';
    return isLiteral ? !HasAnyOf(text.substr(1, text.size() - 2), u"()[];@\\,\"")
                     : !text.empty() && !HasAnyOf(text, u"()[]:;@\\,\"");
}

inline std::u16string AddressText(const char *operation, std::string_view utf8) {
    std::u16string text = ToUtf16(utf8);
    RefuseIf(HasAny(text, IsControl) || HasAny(text, IsBlank) || HasAnyOf(text, u"<>"), operation,
             "a blank, control character or angle bracket in the address");
    const std::size_t at = LocalPartLength(text);
    RefuseIf(at == 0 || at >= text.size() || text[at] != u'@' ||
                 !IsDomain(std::u16string_view(text).substr(at + 1)),
             operation, "the address is not of the form local@domain");
    return text;
}

/// The name as it is to stand in the header: the library encodes those that are not ASCII and
/// leaves all others as they are.
inline std::u16string NameText(const char *operation, std::string_view utf8) {
    std::u16string name = LineText(operation, "name", utf8);
    if (!HasOnly(name, IsAscii) || !HasAnyOf(name, u"()<>[]:;@\\,.\"")) {
        return name;
    }
    std::u16string quoted = u"\"";
    for (const char16_t unit : name) {
        if (unit == u'"' || unit == u'\\') {
            quoted += u'\\';
        }
        quoted += unit;
    }
    quoted += u'"';
    return quoted;
}

/// The body with CR LF at the end of each line.
inline std::u16string BodyText(const char *operation, std::u16string_view text) {
    RefuseIf(HasNul(text), operation, "a NUL in the body");
    std::u16string body;
    body.reserve(text.size());
    for (std::size_t at = 0; at < text.size(); ++at) {
        if (text[at] != u'\r' && text[at] != u'\n') {
            body += text[at];
            continue;
        }
        body += u"\r\n";
        at += text[at] == u'\r' && text.substr(at + 1, 1) == u"\n" ? 1U : 0U;
    }
    return body;
}

inline bool IsContentId(std::u16string_view text) {
    return !text.empty() && !HasAny(text, IsControl) && !HasAnyOf(text, u"<>");
}

/// Wide paths are the library's already; those of bytes have to be UTF-8. Empty if they are not.
inline std::u16string NativeToUtf16(const std::wstring &path) {
    std::u16string text;
    for (const wchar_t unit : path) {
        text += static_cast<char16_t>(unit);
    }
    return text;
}

inline std::u16string NativeToUtf16(const std::string &path) {
    for (std::size_t position = 0; position < path.size();) {
        if (ReadUtf8(path, position) == IllFormed) {
            return {};
        }
    }
    return ToUtf16(path);
}

inline std::u16string PathText(const char *operation, const std::filesystem::path &path) {
    std::u16string text = NativeToUtf16(path.native());
    RefuseIf(text.empty() != path.empty(), operation, "the path is not valid UTF-8");
    RefuseIf(HasNul(text), operation, "a NUL in the path");
    return text;
}

inline bool IsRegularFile(const std::filesystem::path &path) {
    std::error_code ignored;
    return std::filesystem::is_regular_file(path, ignored);
}

inline std::u16string FileText(const char *operation, const std::filesystem::path &path) {
    std::u16string text = PathText(operation, path);
    RefuseIf(!IsRegularFile(path), operation, "there is no regular file");
    RefuseIf(HasAny(NativeToUtf16(path.filename().native()), IsControl), operation,
             "a control character in the file's name");
    return text;
}

/// The host's text goes into a URL: nothing may pass that has a meaning there.
inline std::u16string HostText(const char *operation, std::string_view utf8) {
    std::u16string text = LineText(operation, "host", utf8);
    const std::u16string_view host = text;
    const bool isBracketed = host.size() > 2 && host.front() == u'[' && host.back() == u']';
    const std::u16string_view inner = isBracketed ? host.substr(1, host.size() - 2) : host;
    const std::u16string_view marks = isBracketed ? u".:%-_" : u".-_";
    const bool isName = HasOnly(inner, [marks](char16_t unit) {
        return IsLetterOrDigit(unit) || marks.find(unit) != std::u16string_view::npos;
    });
    RefuseIf(host.empty() || !isName, operation,
             "the host is neither an ASCII name nor an address (IPv6: in brackets)");
    return text;
}

inline void CheckPort(const char *operation, std::int32_t port) {
    RefuseIf(port < 1 || port > 65535, operation, "the port is not between 1 and 65535");
}

inline std::u16string UserText(const char *operation, std::string_view utf8) {
    std::u16string text = LineText(operation, "user name", utf8);
    RefuseIf(text.empty(), operation, "the user name is empty");
    return text;
}

constexpr std::u16string_view OAuthBearer = u"OAUTHBEARER";

/// Control characters part the fields of both mechanisms, commas and equals signs those in front of
/// OAUTHBEARER's (RFC 5801).
inline std::u16string TokenUserText(const char *operation, std::string_view utf8,
                                    std::u16string_view mechanism) {
    std::u16string text = UserText(operation, utf8);
    RefuseIf(HasAny(text, IsControl), operation, "a control character in the user name");
    RefuseIf(mechanism == OAuthBearer && HasAnyOf(text, u",="), operation,
             "a comma or equals sign in the user name");
    return text;
}

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

    bool await_ready() const noexcept { return false; }

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

/// Whether there is anything in a file; one with a NUL in it is refused.
inline bool HasText(const char *operation, const std::filesystem::path &file) {
    std::ifstream stream(file, std::ios::binary);
    std::istreambuf_iterator<char> next(stream);
    const std::istreambuf_iterator<char> end;
    const bool isEmpty = next == end;
    RefuseIf(std::find(next, end, '\0') != end, operation, "a NUL in the file");
    return !isEmpty;
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
    const std::u16string path = detail::FileText(Operation, file);
    const bool hasText = detail::HasText(Operation, file);
    const Message loaded;  // Empty, so that it shows what the file has given.
    loaded.message->LoadBodyFromFile(path.c_str(), SMTPClientNS::BodyHtmlUtf8WithImages);
    const std::u16string body = detail::BodyText(Operation, loaded.message->GetHtmlBody());
    detail::RefuseIf(body.empty() == hasText, Operation, "the file cannot be read");
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
    const std::u16string id = detail::LineText(Operation, "Content-ID", contentId);
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
    const std::u16string mechanismText = detail::LineText(Operation, "mechanism", mechanism);
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
    detail::RefuseIf(seconds < 0 || seconds > std::numeric_limits<std::int32_t>::max(),
                     "Client::ConnectTimeout", "the time is negative or too long");
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
