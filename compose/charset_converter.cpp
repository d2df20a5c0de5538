#include "compose/charset_converter.h"

#include <cerrno>
#include <limits>
#include <new>
#include <utility>

#include "platform/message_box.h"
#include "platform/never_destroyed.h"
#include "platform/thread_slot.h"
#include "platform/utf8.h"

namespace SMTPClientNS {
namespace {

constexpr const char *SourceCharset = "utf-16le";
constexpr const char *DropFaultsSuffix = "//IGNORE";
constexpr std::size_t LongestCharsetName = 503;
constexpr std::size_t OutputBytesPerInputByte = 5;

void EndConverter(void *converter) noexcept {
    const std::unique_ptr<CCharsetConverter> ending(static_cast<CCharsetConverter *>(converter));
}

/// The units in the byte order of SourceCharset. Null if there is no memory.
std::unique_ptr<char[]> CopyLittleEndian(std::u16string_view text) {
    std::unique_ptr<char[]> copy(new (std::nothrow) char[text.size() * 2 + 1]);
    if (copy != nullptr) {
        for (std::size_t i = 0; i < text.size(); ++i) {
            copy[i * 2] = static_cast<char>(text[i] & 0xFFU);
            copy[i * 2 + 1] = static_cast<char>(text[i] >> 8U);
        }
        copy[text.size() * 2] = '\0';
    }
    return copy;
}

}  // namespace

std::int32_t CCharsetConverter::ConvertWideToCharset(const NarrowString &charsetName,
                                                     const char16_t *text,
                                                     ConvertedText &converted) {
    if (charsetName.empty() || text == nullptr) {
        return ConvertRefused;
    }
    const std::u16string_view units = text;
    if (units.empty() || units.size() > std::numeric_limits<std::int32_t>::max()) {
        return ConvertRefused;
    }
    return IsUtf8Name(charsetName) ? ConvertToUtf8(units, charsetName, converted)
                                   : ConvertByIconv(units, charsetName, converted);
}

std::int32_t CCharsetConverter::ConvertToUtf8(std::u16string_view text,
                                              const NarrowString &charsetName,
                                              ConvertedText &converted) {
    const std::size_t capacity = text.size() * LongestUtf8PerUnit;
    converted.buffer.reset(static_cast<char *>(std::malloc(capacity + 1)));
    if (converted.buffer == nullptr) {
        return ConvertRefused;
    }
    if (charset != charsetName) {
        Keep(charsetName, {});
    }
    const auto onLone = isStrict ? LoneSurrogate::Stop : LoneSurrogate::Drop;
    const auto [written, isWhole] = EncodeUtf8(text, converted.buffer.get(), onLone);
    if (!isWhole && written != 0) {
        converted.buffer.reset();
        Keep({}, {});
        return ConvertFailed;
    }
    converted.buffer.get()[written] = '\0';
    converted.size = written;
    return ConvertDone;
}

std::int32_t CCharsetConverter::ConvertByIconv(std::u16string_view text,
                                               const NarrowString &charsetName,
                                               ConvertedText &converted) {
    const std::unique_ptr<char[]> copy = CopyLittleEndian(text);
    if (copy == nullptr) {
        return ConvertNoMemory;
    }
    const std::string_view utf16(copy.get(), text.size() * 2);
    const std::size_t capacity = utf16.size() * OutputBytesPerInputByte + 1;
    // Pages that stay untouched cost nothing, which matters for a buffer of this size.
    converted.buffer.reset(static_cast<char *>(std::calloc(capacity + 1, 1)));
    if (converted.buffer == nullptr) {
        return ConvertRefused;
    }
    if (charset != charsetName && !Open(charsetName)) {
        converted.buffer.reset();
        return ConvertUnknownCharset;
    }
    descriptor.Restart();
    char *output = converted.buffer.get();
    std::size_t outputLeft = capacity;
    const bool failed = !ConvertAll(utf16, output, outputLeft);
    const std::size_t written = capacity - outputLeft;
    if (failed && written != 0) {
        converted.buffer.reset();
        Keep({}, {});
        return ConvertFailed;
    }
    converted.size = written;
    return ConvertDone;
}

bool CCharsetConverter::Open(const NarrowString &charsetName) {
    if (charsetName.size() > LongestCharsetName) {
        return false;
    }
    CIconvDescriptor opened((charsetName + DropFaultsSuffix).c_str(), SourceCharset);
    if (!opened.IsOpen()) {
        return false;
    }
    Keep(charsetName, std::move(opened));
    return true;
}

void CCharsetConverter::Keep(const NarrowString &charsetName, CIconvDescriptor opened) {
    descriptor = std::move(opened);
    charset = charsetName;
    isStrict = false;
}

bool CCharsetConverter::ConvertAll(std::string_view input, char *&output,
                                   std::size_t &outputLeft) const {
    for (;;) {
        const std::size_t before = input.size();
        const int reason = descriptor.Convert(input, output, outputLeft);
        if (reason == 0) {
            return true;
        }
        // The C library's iconv drops what the charset lacks and reports EILSEQ all the same, with
        // input left every few thousand units: go on for as long as that moves on.
        if (reason == EILSEQ && input.size() < before) {
            if (input.empty()) {
                return true;
            }
            continue;
        }
        return reason == EINVAL;  // A high surrogate at the very end, dropped like any other.
    }
}

CCharsetConverter &GetCharsetConverter() {
    static CNeverDestroyed<const CThreadSlot> perThread;
    const CThreadSlot &slot = perThread.Get([] { return CThreadSlot(EndConverter); });
    if (void *const existing = slot.Get()) {
        return *static_cast<CCharsetConverter *>(existing);
    }
    auto fresh = std::make_unique<CCharsetConverter>();
    if (!slot.Set(fresh.get())) {
        throw std::bad_alloc();
    }
    return *fresh.release();
}

void ReportConvertFailure(std::int32_t code) {
    const std::string number = std::to_string(code);
    ShowMessageBox(
        u"EncodingConvert Failed, Error Number : " + WideString(number.begin(), number.end()),
        u"SmtpClient Error", ErrorBoxStyle);
}

}  // namespace SMTPClientNS
