#include <cerrno>

#include "compose/charset_converter.h"
#include "compose/encoded_word.h"
#include "compose/text_conversion.h"
#include "fuzz/fuzz_input.h"
#include "platform/code_page.h"
#include "platform/iconv_descriptor.h"

namespace {

constexpr const char *Charsets[] = {"UTF-8",       "utf-8",  "ISO-8859-1", "Shift_JIS",
                                    "ISO-2022-JP", "UTF-16", "UTF-7",      "GB18030",
                                    "EUC-KR",      "UTF-32", "ASCII",      "BIG5-HKSCS"};

constexpr std::size_t LongestCharset = 503;

struct ByIconv {
    std::string bytes;
    int fault = 0;  ///< The last one's errno.
    bool isWhole = false;

    /// Each place that cannot be converted gives replacement for its first faultLength bytes; with
    /// none, iconv itself decides whether it goes on.
    ByIconv(const char *to, const char *from, std::string_view input, std::string_view replacement,
            std::size_t faultLength) {
        const SMTPClientNS::CIconvDescriptor conversion(to, from);
        bytes.resize(input.size() * 8);
        char *output = bytes.data();
        std::size_t left = bytes.size();
        for (bool goesOn = true; goesOn;) {
            const std::size_t before = input.size();
            fault = conversion.Convert(input, output, left);
            goesOn = fault != 0 && input.size() < before;
            if (fault != 0 && !replacement.empty()) {
                output = std::copy(replacement.begin(), replacement.end(), output);
                left -= replacement.size();
                input.remove_prefix(faultLength);
                goesOn = true;
            }
        }
        bytes.resize(bytes.size() - left);
        isWhole = input.empty() || fault == EINVAL;  // Half a character at the end is dropped.
    }
};

std::string_view BytesOf(std::u16string_view text) {
    return {reinterpret_cast<const char *>(text.data()), text.size() * sizeof(char16_t)};
}

void CompareUtf8WithIconv(const std::u16string &text, std::string_view bytes) {
    using namespace SMTPClientNS;
    const ByIconv strict("utf-8", "utf-16le", BytesOf(text), {}, 0);
    const ByIconv dropping("utf-8//IGNORE", "utf-16le", BytesOf(text), {}, 0);
    const bool isRefused = strict.fault != 0 && !strict.bytes.empty();
    CCharsetConverter converter;
    ConvertedText converted;
    const std::int32_t first = converter.ConvertWideToCharset("utf-8", text.c_str(), converted);
    Require(first == (isRefused ? ConvertFailed : ConvertDone));
    Require(isRefused ? converted.buffer == nullptr : converted.Bytes() == strict.bytes);
    for (const char *charset : {"Utf8", "utf-8"}) {
        Require(converter.ConvertWideToCharset(charset, text.c_str(), converted) == ConvertDone);
        Require(converted.Bytes() == dropping.bytes);
    }
    const ByIconv replaced("utf-8", "utf-16le", BytesOf(text), "\xEF\xBF\xBD", 2);
    Require(WideToSystemCodePage(text) == replaced.bytes);
    Require(smtpclient::detail::ToUtf8(text) == replaced.bytes);
    std::u16string wide = Utf8ToWide(bytes);
    Require(BytesOf(wide) == ByIconv("utf-16le", "utf-8", bytes, "\xFD\xFF", 1).bytes);
    // mail.h gives fewer replacements, but the same text around them.
    std::u16string ofMail = smtpclient::detail::ToUtf16(bytes);
    for (std::u16string *const read : {&wide, &ofMail}) {
        read->erase(std::remove(read->begin(), read->end(), u'\uFFFD'), read->end());
    }
    Require(wide == ofMail);
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    using namespace SMTPClientNS;
    SilenceMessageBox();
    CFuzzInput input(data, size);
    const std::uint8_t choice = input.Byte();
    const std::string charset = choice < 0xC0 ? Charsets[choice % std::size(Charsets)]
                                              : std::string(input.Take(4U * input.Byte()));
    const std::u16string text = input.RestOfText();

    ConvertedText converted;
    const std::int32_t code =
        GetCharsetConverter().ConvertWideToCharset(charset, text.c_str(), converted);
    Require((code == ConvertDone) == (converted.buffer != nullptr));
    Require(code != ConvertDone || converted.buffer.get()[converted.size] == '\0');
    Require((code == ConvertRefused) == (charset.empty() || text.empty()));
    Require(code != ConvertDone || charset.size() <= LongestCharset);
    if (choice < 0xC0 && !text.empty() && charset != "utf-8") {
        const ByIconv byIconv((charset + "//IGNORE").c_str(), "utf-16le", BytesOf(text), {}, 0);
        Require(code == (byIconv.isWhole || byIconv.bytes.empty() ? ConvertDone : ConvertFailed));
        Require(code == ConvertFailed || converted.Bytes() == byIconv.bytes);
    }

    std::u16string joined;
    for (const Segment &segment : SplitSegments(text)) {
        Require(segment.needsEncoding == (FindNonAscii(segment.text) >= 0));
        joined += segment.text;
    }
    Require(joined == text);

    NarrowString name;
    NarrowString subject;
    EncodeDisplayName(charset, text.c_str(), name);
    EncodeSubject(charset, text.c_str(), subject);
    if (FindNonAscii(text) < 0) {
        Require(std::u16string(subject.begin(), subject.end()) == text && name == subject);
    }

    if (!text.empty()) {
        CompareUtf8WithIconv(text, {reinterpret_cast<const char *>(data), size});
    }
    return 0;
}
