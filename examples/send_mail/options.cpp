#include "options.h"

#include <getopt.h>
#include <iconv.h>

#include <array>
#include <charconv>
#include <iomanip>
#include <iostream>
#include <string_view>

using namespace SMTPClientNS;

namespace {

struct Word {
    const char *text;
    std::int32_t value;
};

std::int32_t ParseWord(const std::string &text, std::initializer_list<Word> words) {
    std::string known;
    for (const Word &word : words) {
        if (text == word.text) {
            return word.value;
        }
        known += std::string(known.empty() ? "" : ", ") + word.text;
    }
    throw CUsageError("neither of " + known + ": " + text);
}

std::int32_t ParseNumber(const std::string &text, std::int32_t least, std::int32_t most) {
    std::int32_t number = 0;
    const char *const end = text.data() + text.size();
    const auto [stop, fault] = std::from_chars(text.data(), end, number);
    if (fault != std::errc() || stop != end || number < least || number > most) {
        throw CUsageError("not a number from " + std::to_string(least) + " to " +
                          std::to_string(most) + ": " + text);
    }
    return number;
}

std::int32_t ParsePort(const std::string &text) {
    return ParseNumber(text, 1, 65535);
}

/// The library puts the host into a URL as it stands.
std::u16string ParseHost(const std::string &text) {
    if (text.empty() || text.find_first_of("/@?#% \t") != std::string::npos) {
        throw CUsageError("not a server: " + text);
    }
    return WideFromUser(text);
}

SecretSource FromFile(const std::string &path) {
    return {SecretSource::Kind::File, path, -1};
}

SecretSource FromDescriptor(const std::string &number) {
    return {SecretSource::Kind::Descriptor, "", ParseNumber(number, 0, 1 << 20)};
}

SecretSource FromPrompt() {
    return {SecretSource::Kind::Prompt, "", -1};
}

/// TYPE://HOST:PORT
void ParseProxy(const std::string &text, Proxy &proxy) {
    constexpr std::string_view Separator = "://";
    const std::size_t scheme = text.find(Separator);
    const std::size_t colon = text.rfind(':');
    if (scheme == std::string::npos || colon == scheme) {
        throw CUsageError("not TYPE://HOST:PORT: " + text);
    }
    proxy.type = ParseWord(text.substr(0, scheme), {{"socks4", ProxySocks4},
                                                    {"socks4a", ProxySocks4a},
                                                    {"socks5", ProxySocks5},
                                                    {"socks5h", ProxySocks5Hostname}});
    const std::size_t host = scheme + Separator.size();
    proxy.host = ParseHost(text.substr(host, colon - host));
    proxy.port = ParsePort(text.substr(colon + 1));
}

bool ParseIsUtf8(const std::string &text) {
    return ParseWord(text, {{"utf-8", 1}, {"locale", 0}}) == 1;
}

/// iconv has to know it, or the bodies would travel empty; and it has to keep ASCII, or they would
/// end at their first zero byte.
bool IsUsableCharset(const std::string &name) {
    constexpr const char *Letters =
        "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789._:+()-";
    if (name.empty() || name.find_first_not_of(Letters) != std::string::npos) {
        return false;
    }
    const iconv_t conversion = ::iconv_open(name.c_str(), "UTF-16LE");
    if (conversion == reinterpret_cast<iconv_t>(-1)) {
        return false;
    }
    std::array<char, 2> letter = {'a', '\0'};
    std::array<char, 16> converted = {};
    char *in = letter.data();
    char *out = converted.data();
    std::size_t inLeft = letter.size();
    std::size_t outLeft = converted.size();
    ::iconv(conversion, &in, &inLeft, &out, &outLeft);
    ::iconv_close(conversion);
    return converted.front() == 'a' && outLeft == converted.size() - 1;
}

std::u16string ParseCharset(const std::string &text) {
    if (!IsUsableCharset(text)) {
        throw CUsageError("no such charset, or none for mail: " + text);
    }
    return WideFromUser(text);
}

/// PATH=ID
InlineImage ParseImage(const std::string &text) {
    const std::size_t equals = text.rfind('=');
    if (equals == std::string::npos || equals + 1 == text.size()) {
        throw CUsageError("not PATH=ID: " + text);
    }
    return {WideFromUser(text.substr(0, equals)), WideFromUser(text.substr(equals + 1))};
}

/// An option, or, without a name, the heading of those that follow.
struct OptionRow {
    const char *name;
    const char *argument;  ///< Null if it takes none.
    const char *help;
    void (*take)(Options &options, const std::string &value);
};

using Value = const std::string &;

constexpr const char *TextOption = "text";
constexpr const char *HtmlOption = "html";
constexpr const char *VersionOption = "version";
constexpr const char *HelpOption = "help";

const OptionRow Rows[] = {
    {"", "", "Server", nullptr},
    {"host", "NAME", "name or address of the server",
     [](Options &o, Value v) { o.host = ParseHost(v); }},
    {"port", "NUMBER",
     "its port; default 587. A port with TLS from the first byte (465) does not work",
     [](Options &o, Value v) { o.port = ParsePort(v); }},
    {"connect-timeout", "SECONDS", "longest wait for a connection; default 0, which means 300",
     [](Options &o, Value v) { o.connectTimeout = ParseNumber(v, 0, 86400); }},
    {"no-tls", nullptr, "no STARTTLS: login and mail travel readable",
     [](Options &o, Value) { o.useTls = false; }},
    {"tls-version", "VERSION", "exactly 1.0, 1.1, 1.2 or 1.3",
     [](Options &o, Value v) {
         o.tlsVersion =
             ParseWord(v, {{"1.0", Tls10}, {"1.1", Tls11}, {"1.2", Tls12}, {"1.3", Tls13}});
     }},
    {"insecure", nullptr, "accept any certificate",
     [](Options &o, Value) { o.verifyPeer = false; }},
    {"ocsp", nullptr, "ask for a stapled proof that the certificate is not revoked",
     [](Options &o, Value) { o.verifyStatus = true; }},

    {"", "", "Login (at a terminal you are asked for the password if nothing else is said)",
     nullptr},
    {"user", "NAME", "login name", [](Options &o, Value v) { o.user = WideFromUser(v); }},
    {"password-file", "PATH", "read the password from a file",
     [](Options &o, Value v) { o.password = FromFile(v); }},
    {"password-fd", "NUMBER", "read the password from an open descriptor",
     [](Options &o, Value v) { o.password = FromDescriptor(v); }},
    {"ask-password", nullptr, "ask for the password",
     [](Options &o, Value) { o.password = FromPrompt(); }},
    {"token-file", "PATH", "read an OAuth 2.0 bearer token from a file",
     [](Options &o, Value v) { o.token = FromFile(v); }},
    {"token-fd", "NUMBER", "read the token from an open descriptor",
     [](Options &o, Value v) { o.token = FromDescriptor(v); }},
    {"ask-token", nullptr, "ask for the token", [](Options &o, Value) { o.token = FromPrompt(); }},
    {"no-login", nullptr, "for a server that asks for none",
     [](Options &o, Value) { o.login = false; }},

    {"", "", "SOCKS proxy (without one, the one that all_proxy names in the environment)", nullptr},
    {"proxy", "TYPE://HOST:PORT",
     "socks4, socks4a, socks5, or socks5h, where the proxy resolves names",
     [](Options &o, Value v) { ParseProxy(v, o.proxy); }},
    {"proxy-user", "NAME", "login name at the proxy",
     [](Options &o, Value v) { o.proxy.user = WideFromUser(v); }},
    {"proxy-password-file", "PATH", "read the proxy's password from a file",
     [](Options &o, Value v) { o.proxy.password = FromFile(v); }},
    {"proxy-password-fd", "NUMBER", "read the proxy's password from an open descriptor",
     [](Options &o, Value v) { o.proxy.password = FromDescriptor(v); }},

    {"", "", "Mail (ADDRESS is 'me@example.org' or 'My Name <me@example.org>')", nullptr},
    {"from", "ADDRESS", "sender",
     [](Options &o, Value v) { o.from = ParseAddress(WideFromUser(v)); }},
    {"to", "ADDRESS", "recipient; may be given several times, as may --cc and --bcc",
     [](Options &o, Value v) { o.to.push_back(ParseAddress(WideFromUser(v))); }},
    {"cc", "ADDRESS", "recipient of a copy",
     [](Options &o, Value v) { o.cc.push_back(ParseAddress(WideFromUser(v))); }},
    {"bcc", "ADDRESS", "recipient in a Bcc line, WHICH ALL RECIPIENTS CAN READ",
     [](Options &o, Value v) { o.bcc.push_back(ParseAddress(WideFromUser(v))); }},
    {"subject", "TEXT", "subject", [](Options &o, Value v) { o.subject = WideFromUser(v); }},
    {"charset", "NAME", "charset of the mail; default UTF-8",
     [](Options &o, Value v) { o.charset = ParseCharset(v); }},
    {"priority", "WORD", "low, normal, high, or none; default normal",
     [](Options &o, Value v) {
         o.priority = ParseWord(v, {{"low", PriorityLow},
                                    {"normal", PriorityNormal},
                                    {"high", PriorityHigh},
                                    {"none", -1}});
     }},

    {"", "", "Content (line ends become CR LF)", nullptr},
    {TextOption, "TEXT", "plain text body",
     [](Options &o, Value v) { o.text.text = WideFromUser(v); }},
    {"text-file", "PATH", "plain text body from a file; - is the standard input",
     [](Options &o, Value v) { o.text.path = WideFromUser(v); }},
    {"text-encoding", "WORD", "of that file: utf-8, the default, or locale",
     [](Options &o, Value v) { o.text.fileIsUtf8 = ParseIsUtf8(v); }},
    {HtmlOption, "TEXT", "HTML body", [](Options &o, Value v) { o.html.text = WideFromUser(v); }},
    {"html-file", "PATH", "HTML body from a file; - is the standard input",
     [](Options &o, Value v) { o.html.path = WideFromUser(v); }},
    {"html-encoding", "WORD", "of that file: utf-8, the default, or locale",
     [](Options &o, Value v) { o.html.fileIsUtf8 = ParseIsUtf8(v); }},
    {"scan-images", nullptr, "take along the pictures that the HTML file names, each a local file",
     [](Options &o, Value) { o.scanImages = true; }},
    {"image", "PATH=ID", "picture that the HTML shows as \"cid:ID\"; may be given several times",
     [](Options &o, Value v) { o.images.push_back(ParseImage(v)); }},
    {"attach", "PATH", "file to attach; may be given several times",
     [](Options &o, Value v) { o.attachments.push_back(WideFromUser(v)); }},

    {"", "", "Sending", nullptr},
    {"log-file", "PATH", "write down the conversation, PASSWORD AND MAIL INCLUDED",
     [](Options &o, Value v) { o.logFile = WideFromUser(v); }},
    {"log-mode", "WORD", "append, the default, or replace",
     [](Options &o, Value v) {
         o.appendLog = ParseWord(v, {{"append", 1}, {"replace", 0}}) == 1;
     }},
    {"background", nullptr, "send in the background and show that time passes",
     [](Options &o, Value) { o.inBackground = true; }},
    {"verbose", nullptr, "show the conversation, without secrets, and what libcurl reports",
     [](Options &o, Value) { o.isVerbose = true; }},
    {VersionOption, nullptr, "show the version", nullptr},
    {HelpOption, nullptr, "show this", nullptr},
};

void ShowHelp() {
    constexpr int HelpColumn = 32;
    std::cout
        << "Usage: send_mail --host NAME --user NAME --from ADDRESS --to ADDRESS [OPTION]...\n"
           "Sends one mail.\n";
    for (const OptionRow &row : Rows) {
        if (*row.name == '\0') {
            std::cout << '\n' << row.help << ":\n";
            continue;
        }
        const std::string head = std::string("  --") + row.name +
                                 (row.argument != nullptr ? " " : "") +
                                 (row.argument != nullptr ? row.argument : "");
        std::cout << std::left << std::setw(HelpColumn) << head << ' ' << row.help << '\n';
    }
    std::cout
        << "\nStatus: 0 the server has taken the mail; 1 it has not, the message says why;\n"
           "2 the arguments, or files that they name, cannot be used, and nothing was sent.\n";
}

// What getopt_long returns for the first row: above the characters that it returns by itself.
constexpr int FirstRowValue = 256;

std::vector<option> LongOptions() {
    std::vector<option> longOptions;
    int value = FirstRowValue;
    for (const OptionRow &row : Rows) {
        const int argument = row.argument != nullptr ? required_argument : no_argument;
        if (*row.name != '\0') {
            longOptions.push_back({row.name, argument, nullptr, value});
        }
        ++value;
    }
    longOptions.push_back({});
    return longOptions;
}

void Take(const OptionRow &row, const std::string &value, Options &options) {
    const bool mayHaveLines = row.name == TextOption || row.name == HtmlOption;
    try {
        if (!mayHaveLines && value.find_first_of("\r\n") != std::string::npos) {
            throw CUsageError("a line break is refused");
        }
        row.take(options, value);
    } catch (const CUsageError &fault) {
        throw CUsageError(std::string("--") + row.name + ": " + fault.what());
    }
}

void CheckTogether(Options &options) {
    const bool hasRecipient = !options.to.empty() || !options.cc.empty() || !options.bcc.empty();
    if (options.host.empty() || options.from.address.empty() || !hasRecipient) {
        throw CUsageError("--host, --from and a recipient are needed");
    }
    if (options.login == options.user.empty()) {
        throw CUsageError("one of --user and --no-login is needed");
    }
    for (const Body *body : {&options.text, &options.html}) {
        if (body->text && !body->path.empty()) {
            throw CUsageError("a body has a text or a file, not both");
        }
    }
    if (options.scanImages && options.html.path.empty()) {
        throw CUsageError("--scan-images needs --html-file");
    }
    const Proxy &proxy = options.proxy;
    if (proxy.user.empty() == proxy.password.IsGiven() ||
        (!proxy.user.empty() && proxy.host.empty())) {
        throw CUsageError("--proxy-user needs --proxy and a password for it, and the reverse");
    }
    if (options.inBackground && !options.logFile.empty()) {
        throw CUsageError("--log-file: a background send has no log");
    }
    if (options.login && !options.password.IsGiven() && !options.token.IsGiven()) {
        options.password = FromPrompt();
    }
}

}  // namespace

std::optional<Options> ParseOptions(int argc, char **argv) {
    const std::vector<option> longOptions = LongOptions();
    Options options;
    for (int found = ::getopt_long(argc, argv, "", longOptions.data(), nullptr); found != -1;
         found = ::getopt_long(argc, argv, "", longOptions.data(), nullptr)) {
        if (found < FirstRowValue) {
            throw CUsageError("an option cannot be used");  // getopt has shown which.
        }
        const OptionRow &row = Rows[found - FirstRowValue];
        if (row.take == nullptr) {
            if (row.name == VersionOption) {
                std::cout << "send_mail " SMTPCLIENT_VERSION "\n";
            } else {
                ShowHelp();
            }
            return std::nullopt;
        }
        Take(row, ::optarg != nullptr ? ::optarg : "", options);
    }
    if (::optind != argc) {
        throw CUsageError(std::string("not an option: ") + argv[::optind]);
    }
    CheckTogether(options);
    return options;
}
