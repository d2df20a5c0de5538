#include "compose/encoded_word.h"

#include <string_view>
#include <utility>

#include "compose/base64.h"
#include "compose/charset_converter.h"
#include "compose/text_conversion.h"

namespace SMTPClientNS {
namespace {

void AppendEncodedWord(const NarrowString &charset, std::string_view bytes, NarrowString &target) {
    target += "=?";
    target += charset;
    target += "?b?";
    target += Base64Encode(bytes);
    target += "?=";
}

/// ConvertDone, or the code of the conversion that failed.
std::int32_t EncodeSegments(const NarrowString &charset, const WideString &text,
                            NarrowString &target) {
    for (const Segment &segment : SplitSegments(text)) {
        if (!segment.needsEncoding) {
            target += WideToAnsi(segment.text.c_str());
            continue;
        }
        ConvertedText converted;
        const std::int32_t code =
            GetCharsetConverter().ConvertWideToCharset(charset, segment.text.c_str(), converted);
        if (code < ConvertDone) {
            ReportConvertFailure(code);
            return code;
        }
        AppendEncodedWord(charset, converted.Bytes(), target);
    }
    return ConvertDone;
}

}  // namespace

std::int32_t EncodeDisplayName(const NarrowString &charset, const char16_t *text,
                               NarrowString &target) {
    if (IsEmpty(text) || FindNonAscii(text) < 0) {
        WideToAnsi(text, target);
        return 1;
    }
    ConvertedText converted;
    const std::int32_t code = GetCharsetConverter().ConvertWideToCharset(charset, text, converted);
    if (code < ConvertDone) {
        ReportConvertFailure(code);
        return 1;
    }
    const std::string_view bytes(converted.buffer.get());  // Up to the first 0 byte.
    if (!bytes.empty()) {
        AppendEncodedWord(charset, bytes, target);
    }
    return 1;
}

std::int32_t EncodeSubject(const NarrowString &charset, const char16_t *text,
                           NarrowString &target) {
    if (IsEmpty(text) || FindNonAscii(text) < 0) {
        WideToAnsi(text, target);
        return 1;
    }
    EncodeSegments(charset, text, target);
    return 1;
}

std::vector<Segment> SplitSegments(const WideString &text) {
    std::vector<Segment> segments;
    for (std::size_t start = 0; start < text.size();) {
        const std::size_t blank = text.find(u' ', start);
        const std::size_t end = blank == WideString::npos ? text.size() : blank + 1;
        WideString piece = text.substr(start, end - start);
        const bool needsEncoding = FindNonAscii(piece) >= 0;
        segments.push_back({needsEncoding, std::move(piece)});
        start = end;
    }
    return segments;
}

}  // namespace SMTPClientNS
