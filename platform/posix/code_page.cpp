#include "platform/code_page.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>

#include "platform/ascii.h"
#include "platform/iconv_descriptor.h"
#include "platform/never_destroyed.h"
#include "platform/posix/codeset.h"
#include "platform/process.h"
#include "platform/utf8.h"

namespace SMTPClientNS {
namespace {

constexpr const char *Utf16Name = "UTF-16LE";
constexpr std::string_view DefaultCharacter = "?";
constexpr std::string_view ReplacementUtf16 = "\xFD\xFF";

class CConversion {
public:
    CConversion(const char *to, const char *from) : descriptor(to, from) {}

    bool IsOpen() const { return descriptor.IsOpen(); }

    /// Converts all of input. faultLength tells how many bytes to replace at a place that cannot
    /// be converted.
    ///
    /// The C library converts all that it was offered up to a fault, and again when it goes on. So
    /// little is offered after a fault: a text of nothing but faults would else take a hundred
    /// times as long.
    template <typename FaultLength>
    NarrowString Run(std::string_view input, std::string_view replacement,
                     const FaultLength &faultLength) const {
        NarrowString output;
        output.reserve(2 * input.size());  // Growing would leave copies of secrets in freed memory.
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
        char *out = piece.data();
        std::size_t outLeft = piece.size();
        const int reason = input.empty() ? descriptor.Finish(out, outLeft)
                                         : descriptor.Convert(input, out, outLeft);
        output.append(piece.data(), piece.size() - outLeft);
        WipeMemory(piece.data(), piece.size() - outLeft);  // It may be of a password.
        return {input.size(), reason};
    }

    CIconvDescriptor descriptor;
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

bool IconvKnows(const NarrowString &codeset) {
    return !codeset.empty() && CConversion(codeset.c_str(), Utf16Name).IsOpen() &&
           CConversion(Utf16Name, codeset.c_str()).IsOpen();
}

struct SystemCodePage {
    NarrowString codeset;    ///< Empty for UTF-8.
    bool keepsAscii = true;  ///< ASCII has the same bytes in it: most texts need no conversion.
    bool dropsTags = false;  ///< iconv passes over the characters that IsTag tells.

    SystemCodePage() {
        const NarrowString found = UserCodeset();
        if (IsUtf8Name(found) || !IconvKnows(found)) {
            return;
        }
        codeset = found;
        keepsAscii = KeepsAscii();
        const CConversion encoding(codeset.c_str(), Utf16Name);
        dropsTags = encoding.Run(BytesOf(u"\U000E0041"), DefaultCharacter, WideFaultLength).empty();
    }

private:
    bool KeepsAscii() const {
        NarrowString ascii;
        for (char byte = 1; byte < 0x7F; ++byte) {
            ascii += byte;
        }
        const CConversion decoding(Utf16Name, codeset.c_str());
        const WideString decoded =
            WideFromBytes(decoding.Run(ascii, ReplacementUtf16, ByteFaultLength));
        return decoded == WideString(ascii.begin(), ascii.end());
    }
};

const SystemCodePage &TheSystemCodePage() {
    static CNeverDestroyed<const SystemCodePage> codePage;
    return codePage.Get();
}

/// U+E0000 to U+E007F, which the C library's iconv leaves out of the output without a word wherever
/// the target lacks them.
bool IsTag(char16_t unit, char16_t next) {
    return unit == 0xDB40 && next >= 0xDC00 && next <= 0xDC7F;
}

/// U+FFFF in the place of each tag: no code page has it, so that the default character comes out.
/// A lone surrogate would not do, since it might pair with its neighbour.
WideString WithoutTags(std::u16string_view text) {
    WideString changed;
    changed.reserve(text.size());
    for (std::size_t i = 0; i < text.size(); ++i) {
        const bool isTag = i + 1 < text.size() && IsTag(text[i], text[i + 1]);
        changed += isTag ? u'\xFFFF' : text[i];
        i += isTag ? 1 : 0;
    }
    return changed;
}

NarrowString EncodeLegacy(const SystemCodePage &codePage, std::u16string_view text) {
    const CConversion conversion(codePage.codeset.c_str(), Utf16Name);
    if (!conversion.IsOpen()) {  // Out of descriptors or memory.
        NarrowString unconverted(text.size(), '?');
        return unconverted;
    }
    if (!codePage.dropsTags || text.find(u'\xDB40') == std::u16string_view::npos) {
        return conversion.Run(BytesOf(text), DefaultCharacter, WideFaultLength);
    }
    WideString changed = WithoutTags(text);
    NarrowString bytes = conversion.Run(BytesOf(changed), DefaultCharacter, WideFaultLength);
    WipeMemory(changed.data(), changed.size() * sizeof(char16_t));  // It may be of a password.
    return bytes;
}

}  // namespace

NarrowString WideToSystemCodePage(std::u16string_view text) {
    const SystemCodePage &codePage = TheSystemCodePage();
    if (codePage.keepsAscii && IsAscii(text)) {
        return {text.begin(), text.end()};
    }
    if (!codePage.codeset.empty()) {
        return EncodeLegacy(codePage, text);
    }
    NarrowString bytes(text.size() * LongestUtf8PerUnit, '\0');
    bytes.resize(EncodeUtf8(text, bytes.data(), LoneSurrogate::Replace).written);
    return bytes;
}

WideString SystemCodePageToWide(std::string_view bytes) {
    const SystemCodePage &codePage = TheSystemCodePage();
    if (codePage.codeset.empty()) {
        return DecodeUtf8(bytes);
    }
    if (codePage.keepsAscii && IsAscii(bytes)) {
        return {bytes.begin(), bytes.end()};
    }
    const CConversion conversion(Utf16Name, codePage.codeset.c_str());
    if (!conversion.IsOpen()) {  // Nothing is known of the bytes.
        WideString undecoded(bytes.size(), u'\uFFFD');
        return undecoded;
    }
    return WideFromBytes(conversion.Run(bytes, ReplacementUtf16, ByteFaultLength));
}

WideString Utf8ToWide(std::string_view bytes) {
    return DecodeUtf8(bytes);
}

}  // namespace SMTPClientNS
