#ifndef COMPOSE_CHARSET_CONVERTER_H
#define COMPOSE_CHARSET_CONVERTER_H

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <string_view>

#include "platform/iconv_descriptor.h"
#include "platform/text_types.h"

namespace SMTPClientNS {

/// What a conversion gives.
enum ConvertResult : std::int32_t {
    ConvertDone = 1,
    ConvertRefused = -1,   ///< No charset name or no text; no memory for the output.
    ConvertNoMemory = -2,  ///< No memory for the working copy of the text.
    ConvertUnknownCharset = -3,
    ConvertFailed = -4,  ///< Stopped with some output written.
};

/// The outcome of a conversion. At least one zero byte follows the first size bytes, so that the
/// buffer also serves as 0-terminated text where the charset has no zero bytes.
struct ConvertedText {
    struct Freer {
        void operator()(char *owned) const noexcept { std::free(owned); }
    };

    std::unique_ptr<char, Freer> buffer;  ///< Null unless the conversion was done.
    std::size_t size = 0;                 ///< Bytes.

    std::string_view Bytes() const { return {buffer.get(), size}; }
};

/// Converts UTF-16 to charsets named at run time: to UTF-8 itself, to others by iconv. Keeps the
/// conversion to the last charset open, so that all pieces of a message share it; names are
/// compared byte for byte. Characters that a charset lacks are dropped.
class CCharsetConverter {
public:
    /// Converts 0-terminated text; a ConvertResult. Converted stays empty on any result but
    /// ConvertDone. A text of nothing but characters that the charset lacks is done, with no bytes.
    ///
    /// The first conversion of all is to "utf-8", if that is asked for first, in the strict form:
    /// a lone surrogate is a failure. Every later opening drops it, one of "utf-8" too.
    ///
    /// BUGS: nothing is added after the last character. Text in a stateful charset does not shift
    /// back, which readers cope with. In the few charsets whose characters may combine with the
    /// next (BIG5-HKSCS, EUC-JISX0213) a last character that might is lost; a line end after it
    /// helps.
    std::int32_t ConvertWideToCharset(const NarrowString &charsetName, const char16_t *text,
                                      ConvertedText &converted);

private:
    std::int32_t ConvertToUtf8(std::u16string_view text, const NarrowString &charsetName,
                               ConvertedText &converted);
    std::int32_t ConvertByIconv(std::u16string_view text, const NarrowString &charsetName,
                                ConvertedText &converted);
    bool Open(const NarrowString &charsetName);
    void Keep(const NarrowString &charsetName, CIconvDescriptor opened);
    bool ConvertAll(std::string_view input, char *&output, std::size_t &outputLeft) const;

    NarrowString charset = "utf-8";  ///< The last one, as it was spelled; empty after a failure.
    CIconvDescriptor descriptor;     ///< Converts to charset; none if that is UTF-8.
    bool isStrict = true;            ///< Until another charset or spelling is asked for.
};

/// The converter of the calling thread.
CCharsetConverter &GetCharsetConverter();

/// Tells the user of a failed conversion, and returns when the message box has been answered.
void ReportConvertFailure(std::int32_t code);

}  // namespace SMTPClientNS

#endif  // COMPOSE_CHARSET_CONVERTER_H
