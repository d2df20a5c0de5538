#include "compose/charset_converter.h"
#include "compose/encoded_word.h"
#include "compose/text_conversion.h"
#include "fuzz/fuzz_input.h"

namespace {

constexpr const char *Charsets[] = {"UTF-8",       "utf-8",  "ISO-8859-1", "Shift_JIS",
                                    "ISO-2022-JP", "UTF-16", "UTF-7",      "GB18030",
                                    "EUC-KR",      "UTF-32", "ASCII",      "BIG5-HKSCS"};

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    using namespace SMTPClientNS;
    SilenceMessageBox();
    CFuzzInput input(data, size);
    const std::uint8_t choice = input.Byte();
    const std::string charset = choice < 0xC0 ? Charsets[choice % std::size(Charsets)]
                                              : std::string(input.Take(input.Byte()));
    const std::u16string text = input.RestOfText();

    ConvertedText converted;
    const std::int32_t code =
        GetCharsetConverter().ConvertWideToCharset(charset, text.c_str(), converted);
    Require((code == ConvertDone) == (converted.buffer != nullptr));
    Require(code != ConvertDone || converted.buffer.get()[converted.size] == '\0');

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

    const NarrowString narrow = WideToAnsi(text.c_str());
    WideString wide;
    BytesToWide(narrow.c_str(), wide, Utf8CodePage);
    Require(wide.size() == text.size());  // A lone surrogate becomes one unit, too.
    BytesToWide(std::string(reinterpret_cast<const char *>(data), size).c_str(), wide,
                Utf8CodePage);
    Require(wide.size() <= size || wide.size() == text.size());
    return 0;
}
