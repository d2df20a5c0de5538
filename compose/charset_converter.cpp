#include "compose/charset_converter.h"

#include <iconv.h>

#include <cerrno>
#include <limits>
#include <new>

#include "platform/message_box.h"
#include "platform/never_destroyed.h"
#include "platform/thread_slot.h"

namespace SMTPClientNS {
namespace {

constexpr const char *SourceCharset = "utf-16le";
constexpr const char *FirstCharset = "utf-8";
constexpr const char *DropFaultsSuffix = "//IGNORE";
constexpr std::size_t LongestCharsetName = 503;
constexpr std::size_t OutputBytesPerInputByte = 5;

void *InvalidDescriptor() noexcept {
    return reinterpret_cast<void *>(-1);  // NOLINT(*-int-to-ptr): the value that iconv_open gives
}

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

CCharsetConverter::CCharsetConverter() : descriptor(::iconv_open(FirstCharset, SourceCharset)) {
    if (IsOpen()) {
        charset = FirstCharset;
    }
}

CCharsetConverter::~CCharsetConverter() {
    Close();
}

bool CCharsetConverter::IsOpen() const noexcept {
    return descriptor != InvalidDescriptor();
}

void CCharsetConverter::Close() noexcept {
    if (IsOpen()) {
        ::iconv_close(descriptor);
    }
    descriptor = InvalidDescriptor();
    charset.clear();
}

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
    const std::unique_ptr<char[]> copy = CopyLittleEndian(units);
    if (copy == nullptr) {
        return ConvertNoMemory;
    }
    return ConvertBuffer({copy.get(), units.size() * 2}, charsetName, converted);
}

std::int32_t CCharsetConverter::ConvertBuffer(std::string_view utf16,
                                              const NarrowString &charsetName,
                                              ConvertedText &converted) {
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
    ::iconv(descriptor, nullptr, nullptr, nullptr, nullptr);
    char *output = converted.buffer.get();
    std::size_t outputLeft = capacity;
    const bool failed = !ConvertAll(utf16, output, outputLeft);
    const std::size_t written = capacity - outputLeft;
    if (failed && written != 0) {
        converted.buffer.reset();
        Close();
        return ConvertFailed;
    }
    converted.size = written;
    return ConvertDone;
}

bool CCharsetConverter::Open(const NarrowString &charsetName) {
    if (charsetName.size() > LongestCharsetName) {
        return false;
    }
    void *const opened = ::iconv_open((charsetName + DropFaultsSuffix).c_str(), SourceCharset);
    if (opened == InvalidDescriptor()) {
        return false;
    }
    Close();
    descriptor = opened;
    charset = charsetName;
    dropsFaults = true;
    return true;
}

bool CCharsetConverter::ConvertAll(std::string_view input, char *&output, std::size_t &outputLeft) {
    char *in = const_cast<char *>(input.data());  // iconv does not write to it.
    std::size_t inLeft = input.size();
    for (;;) {
        const std::size_t before = inLeft;
        if (::iconv(descriptor, &in, &inLeft, &output, &outputLeft) !=
            static_cast<std::size_t>(-1)) {
            return true;
        }
        if (!dropsFaults) {
            return false;
        }
        // The C library's iconv drops what the charset lacks and reports EILSEQ all the same, with
        // input left every few thousand units: go on for as long as that moves on.
        if (errno == EILSEQ && inLeft < before) {
            if (inLeft == 0) {
                return true;
            }
            continue;
        }
        return errno == EINVAL;  // A high surrogate at the very end, dropped like any other.
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
