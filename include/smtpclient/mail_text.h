#ifndef SMTPCLIENT_MAIL_TEXT_H
#define SMTPCLIENT_MAIL_TEXT_H

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <stdexcept>
#include <string>
#include <string_view>
#include <system_error>

/// What mail.h does to text on its way into the library and out of it. Not for hosts.
///
/// A function that takes an operation throws std::invalid_argument for what may not pass, in the
/// name of that operation.
namespace smtpclient::detail {

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
    std::u16string text = ToUtf16(utf8);
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

}  // namespace smtpclient::detail

#endif  // SMTPCLIENT_MAIL_TEXT_H
