#ifndef PLATFORM_ICONV_DESCRIPTOR_H
#define PLATFORM_ICONV_DESCRIPTOR_H

#include <cstddef>
#include <string_view>

namespace SMTPClientNS {

/// Owns an open conversion of iconv's, or none.
class CIconvDescriptor {
public:
    CIconvDescriptor() noexcept;
    /// Is not open if iconv does not know one of the charsets, or has no memory.
    CIconvDescriptor(const char *to, const char *from) noexcept;
    ~CIconvDescriptor();
    CIconvDescriptor(CIconvDescriptor &&other) noexcept;
    CIconvDescriptor &operator=(CIconvDescriptor &&other) noexcept;
    CIconvDescriptor(const CIconvDescriptor &) = delete;
    CIconvDescriptor &operator=(const CIconvDescriptor &) = delete;

    bool IsOpen() const noexcept;

    /// One call of iconv, which moves input and output past what is done. 0 if all of input is
    /// converted, else errno's value: EILSEQ, EINVAL (cut off in a character) or E2BIG.
    int Convert(std::string_view &input, char *&output, std::size_t &outputLeft) const noexcept;

    /// Writes what is held back of the text's end. 0 or errno's value.
    int Finish(char *&output, std::size_t &outputLeft) const noexcept;

    /// Forgets the text before: the next one starts unshifted.
    void Restart() const noexcept;

private:
    void *descriptor;  ///< iconv's, or its invalid value.
};

}  // namespace SMTPClientNS

#endif  // PLATFORM_ICONV_DESCRIPTOR_H
