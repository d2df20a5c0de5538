#include "user_text.h"

#include <langinfo.h>

#include <algorithm>
#include <climits>
#include <clocale>
#include <cstdlib>
#include <cuchar>
#include <string_view>

namespace {

constexpr const char *Utf8Locale = "C.UTF-8";
constexpr char16_t ByteOrderMark = 0xFEFF;
constexpr std::u16string_view Blanks = u" \t";
constexpr std::u16string_view NameSpecials = u"()<>[]:;@\\,.\"";

std::string NamedLocale() {
    for (const char *variable : {"LC_ALL", "LC_CTYPE", "LANG"}) {
        const char *const value = std::getenv(variable);
        if (value != nullptr && *value != '\0') {
            return value;
        }
    }
    return {};
}

/// A terminal may act on them; most come from the server.
bool IsControl(char16_t unit) {
    return unit != u'\n' && (unit < 0x20 || (unit >= 0x7F && unit < 0xA0));
}

std::u16string Trimmed(const std::u16string &text) {
    const std::size_t start = text.find_first_not_of(Blanks);
    if (start == std::u16string::npos) {
        return {};
    }
    return text.substr(start, text.find_last_not_of(Blanks) - start + 1);
}

std::u16string WithoutQuotes(const std::u16string &name) {
    if (name.size() < 2 || name.front() != u'"' || name.back() != u'"') {
        return name;
    }
    std::u16string plain;
    for (std::size_t at = 1; at + 1 < name.size(); ++at) {
        if (name[at] == u'\\' && at + 2 < name.size()) {
            ++at;
        }
        plain += name[at];
    }
    return plain;
}

/// A name with a character outside ASCII travels as an encoded word, which needs no quotes.
std::u16string WithQuotesIfNeeded(const std::u16string &name) {
    const bool isAscii =
        std::all_of(name.begin(), name.end(), [](char16_t unit) { return unit < 0x80; });
    if (!isAscii || name.find_first_of(NameSpecials) == std::u16string::npos) {
        return name;
    }
    std::u16string quoted = u"\"";
    for (const char16_t unit : name) {
        if (unit == u'"' || unit == u'\\') {
            quoted += u'\\';
        }
        quoted += unit;
    }
    return quoted + u'"';
}

}  // namespace

void UseUserLocale() {
    const std::string name = NamedLocale();
    if (name.empty() || name == "C" || name == "POSIX") {
        std::setlocale(LC_CTYPE, Utf8Locale);
    } else if (std::setlocale(LC_CTYPE, "") == nullptr) {
        std::setlocale(LC_CTYPE, Utf8Locale);
        const std::size_t dot = name.find('.');
        const std::string codeset = dot == std::string::npos ? "" : name.substr(dot + 1, 3);
        if (!codeset.empty() && codeset != "UTF" && codeset != "utf") {
            throw CUsageError("the locale " + name + " is not installed");
        }
    }
}

std::u16string WideFromUser(const std::string &text) {
    constexpr auto FollowingUnit = static_cast<std::size_t>(-3);
    std::u16string wide;
    std::mbstate_t state = {};
    // The state outlasts the bytes while the second unit of a pair is still to come.
    for (std::size_t at = 0; at < text.size() || std::mbsinit(&state) == 0;) {
        char16_t unit = 0;
        const std::size_t used = std::mbrtoc16(&unit, text.data() + at, text.size() - at, &state);
        if (used == 0 || (used > text.size() && used != FollowingUnit)) {
            throw CUsageError("not a text in " + std::string(::nl_langinfo(CODESET)));
        }
        at += used == FollowingUnit ? 0 : used;
        wide += unit;
    }
    return wide;
}

std::string UserFromWide(const std::u16string &text) {
    std::string narrow;
    std::mbstate_t state = {};
    for (const char16_t unit : text) {
        char bytes[MB_LEN_MAX];
        const std::size_t count = std::c16rtomb(bytes, IsControl(unit) ? u'?' : unit, &state);
        if (count == static_cast<std::size_t>(-1)) {
            narrow += '?';
            state = {};
        } else {
            narrow.append(bytes, count);
        }
    }
    return narrow;
}

Address ParseAddress(const std::u16string &text) {
    const std::u16string whole = Trimmed(text);
    Address parsed = {u"", whole};
    const std::size_t opening = whole.rfind(u'<');
    if (opening != std::u16string::npos && whole.back() == u'>') {
        parsed.name = WithQuotesIfNeeded(WithoutQuotes(Trimmed(whole.substr(0, opening))));
        parsed.address = Trimmed(whole.substr(opening + 1, whole.size() - opening - 2));
    }
    // Each of these would end the address, in the header or in the server's eyes.
    const bool isOne = parsed.address.find_first_of(u"<>,; \t") == std::u16string::npos;
    if (!isOne || std::any_of(parsed.address.begin(), parsed.address.end(), IsControl)) {
        throw CUsageError("not one mail address: " + UserFromWide(text));
    }
    return parsed;
}

std::u16string WithMailLineEnds(const std::u16string &text) {
    std::u16string lines;
    lines.reserve(text.size());
    char16_t previous = u'\0';
    for (const char16_t unit : text) {
        const bool endsPair = unit == u'\n' && previous == u'\r';
        if (!endsPair && (unit == u'\r' || unit == u'\n')) {
            lines += u"\r\n";
        } else if (!endsPair && !(unit == ByteOrderMark && previous == u'\0')) {
            lines += unit;
        }
        previous = unit;
    }
    return lines;
}
