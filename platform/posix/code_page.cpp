#include "platform/code_page.h"

#include <iconv.h>
#include <langinfo.h>
#include <strings.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <clocale>
#include <cstdlib>
#include <cstring>

#include "platform/never_destroyed.h"
#include "platform/process.h"

namespace SMTPClientNS {
namespace {

constexpr const char *Utf8Name = "UTF-8";
constexpr const char *Utf16Name = "UTF-16LE";
constexpr std::string_view ReplacementUtf8 = "\xEF\xBF\xBD";
constexpr std::string_view ReplacementUtf16 = "\xFD\xFF";

class CConversion {
public:
    CConversion(const char *to, const char *from) : descriptor(::iconv_open(to, from)) {}
    ~CConversion() {
        if (IsOpen()) {
            ::iconv_close(descriptor);
        }
    }
    CConversion(const CConversion &) = delete;
    CConversion &operator=(const CConversion &) = delete;

    bool IsOpen() const {
        return descriptor != reinterpret_cast<iconv_t>(-1);  // NOLINT(*-int-to-ptr): iconv's own
    }

    /// Converts all of input. faultLength tells how many bytes to replace at a place that cannot
    /// be converted.
    ///
    /// At a fault the C library converts again all that it was offered before: behind one it is
    /// offered little, or a text of nothing but faults would take a hundred times as long.
    template <typename FaultLength>
    NarrowString Run(std::string_view input, std::string_view replacement,
                     const FaultLength &faultLength) const {
        NarrowString output;
        output.reserve(2 * input.size());  // Nothing stays behind where it would have grown.
        std::size_t window = LargestWindow;
        while (!input.empty()) {
            const std::string_view offered = input.substr(0, window);
            const auto [left, reason] = Step(offered, output);
            input.remove_prefix(offered.size() - left);
            const bool isCut = reason == EINVAL && left < offered.size() && left < input.size();
            if (reason == 0 || reason == E2BIG || isCut) {
                window = std::min(window * 2, LargestWindow);
                continue;
            }
            output += replacement;
            input.remove_prefix(std::min(input.size(), faultLength(input)));
            window = SmallestWindow;
        }
        // Some charsets keep back a last character that the next might have combined with.
        Step({}, output);
        return output;
    }

private:
    static constexpr std::size_t SmallestWindow = 64;  // Bytes, as the next.
    static constexpr std::size_t LargestWindow = 4096;

    struct StepResult {
        std::size_t left;  ///< Bytes of the input, not consumed.
        int reason;        ///< An errno value; 0 if all is well.
    };

    /// One call of iconv. Without input it ends the text.
    StepResult Step(std::string_view input, NarrowString &output) const {
        std::array<char, LargestWindow> piece;
        char *in = const_cast<char *>(input.data());  // iconv does not write to it.
        std::size_t inLeft = input.size();
        char *out = piece.data();
        std::size_t outLeft = piece.size();
        const bool failed = ::iconv(descriptor, in != nullptr ? &in : nullptr, &inLeft, &out,
                                    &outLeft) == static_cast<std::size_t>(-1);
        const int reason = failed ? errno : 0;
        output.append(piece.data(), piece.size() - outLeft);
        WipeMemory(piece.data(), piece.size() - outLeft);  // It may be of a password.
        return {inLeft, reason};
    }

    iconv_t descriptor;
};

std::size_t WideFaultLength(std::string_view rest) {
    const auto isSurrogate = [rest](std::size_t at, unsigned int kind) {
        return rest.size() >= at + 2 && (static_cast<unsigned char>(rest[at + 1]) & 0xFCU) == kind;
    };
    return isSurrogate(0, 0xD8) && isSurrogate(2, 0xDC) ? 4 : 2;
}

std::size_t ByteFaultLength(std::string_view /*rest*/) {
    return 1;
}

std::string_view BytesOf(std::u16string_view text) {
    return {reinterpret_cast<const char *>(text.data()), text.size() * sizeof(char16_t)};
}

WideString WideFromBytes(const NarrowString &bytes) {
    WideString text(bytes.size() / sizeof(char16_t), u'\0');
    std::memcpy(text.data(), bytes.data(), text.size() * sizeof(char16_t));
    return text;
}

bool IsAscii(std::string_view bytes) {
    return std::all_of(bytes.begin(), bytes.end(),
                       [](char byte) { return static_cast<unsigned char>(byte) < 0x80; });
}

bool IsAscii(std::u16string_view text) {
    return std::all_of(text.begin(), text.end(), [](char16_t unit) { return unit < 0x80; });
}

/// What the environment calls the user's locale for text; empty if it names none.
NarrowString NamedLocale() {
    for (const char *variable : {"LC_ALL", "LC_CTYPE", "LANG"}) {
        const char *value = std::getenv(variable);
        if (value != nullptr && *value != '\0') {
            return value;
        }
    }
    return {};
}

NarrowString CodesetOfName(const NarrowString &localeName) {
    const std::size_t dot = localeName.find('.');
    if (dot == NarrowString::npos) {
        return Utf8Name;
    }
    return localeName.substr(dot + 1, localeName.find('@', dot) - dot - 1);
}

NarrowString FindCodeset() {
    const NarrowString name = NamedLocale();
    if (name.empty() || name == "C" || name == "POSIX") {
        return Utf8Name;
    }
    const locale_t installed = ::newlocale(LC_CTYPE_MASK, "", nullptr);
    if (installed == nullptr) {
        return CodesetOfName(name);
    }
    NarrowString codeset = ::nl_langinfo_l(CODESET, installed);
    ::freelocale(installed);
    return codeset;
}

/// However it is spelled: "UTF-8", "utf8".
bool IsUtf8Name(NarrowString codeset) {
    codeset.erase(std::remove(codeset.begin(), codeset.end(), '-'), codeset.end());
    return ::strcasecmp(codeset.c_str(), "utf8") == 0;
}

bool IconvKnows(const NarrowString &codeset) {
    return !codeset.empty() && CConversion(codeset.c_str(), Utf16Name).IsOpen() &&
           CConversion(Utf16Name, codeset.c_str()).IsOpen();
}

struct SystemCodePage {
    NarrowString codeset = Utf8Name;
    std::string_view replacement = ReplacementUtf8;
    bool keepsAscii = true;  ///< ASCII has the same bytes in it: most texts need no conversion.

    SystemCodePage() {
        const NarrowString found = FindCodeset();
        if (IsUtf8Name(found) || !IconvKnows(found)) {
            return;
        }
        codeset = found;
        NarrowString ascii;
        for (char byte = 1; byte < 0x7F; ++byte) {
            ascii += byte;
        }
        const CConversion decoding(Utf16Name, codeset.c_str());
        const WideString decoded =
            WideFromBytes(decoding.Run(ascii, ReplacementUtf16, ByteFaultLength));
        keepsAscii = decoded == WideString(ascii.begin(), ascii.end());
        replacement = "?";
    }
};

const SystemCodePage &TheSystemCodePage() {
    static CNeverDestroyed<const SystemCodePage> codePage;
    return codePage.Get();
}

WideString Decode(const char *codeset, std::string_view bytes) {
    const CConversion conversion(Utf16Name, codeset);
    if (!conversion.IsOpen()) {  // Out of descriptors or memory: nothing is known of the bytes.
        WideString undecoded(bytes.size(), u'\uFFFD');
        return undecoded;
    }
    return WideFromBytes(conversion.Run(bytes, ReplacementUtf16, ByteFaultLength));
}

}  // namespace

NarrowString WideToSystemCodePage(std::u16string_view text) {
    const SystemCodePage &codePage = TheSystemCodePage();
    if (codePage.keepsAscii && IsAscii(text)) {
        return {text.begin(), text.end()};
    }
    const CConversion conversion(codePage.codeset.c_str(), Utf16Name);
    if (!conversion.IsOpen()) {
        NarrowString unconverted(text.size(), '?');
        return unconverted;
    }
    return conversion.Run(BytesOf(text), codePage.replacement, WideFaultLength);
}

WideString SystemCodePageToWide(std::string_view bytes) {
    const SystemCodePage &codePage = TheSystemCodePage();
    if (codePage.keepsAscii && IsAscii(bytes)) {
        return {bytes.begin(), bytes.end()};
    }
    return Decode(codePage.codeset.c_str(), bytes);
}

WideString Utf8ToWide(std::string_view bytes) {
    if (IsAscii(bytes)) {
        return {bytes.begin(), bytes.end()};
    }
    return Decode(Utf8Name, bytes);
}

}  // namespace SMTPClientNS
