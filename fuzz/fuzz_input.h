#ifndef FUZZ_FUZZ_INPUT_H
#define FUZZ_FUZZ_INPUT_H

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>
#include <string_view>

#include <smtpclient/mail_text.h>
#include <smtpclient/smtpclient.h>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size);

namespace SMTPClientNS {

/// Ends the run where the code under test breaks its word.
inline void Require(bool holds) {
    if (!holds) {
        std::abort();
    }
}

/// What cannot be converted is not worth a line on the standard error stream.
inline void SilenceMessageBox() {
    SmtpClientSetMessageBox([](const char16_t *, const char16_t *, std::uint32_t, void *) {},
                            nullptr);
}

/// Takes values off the front of a fuzzer's bytes; past their end everything is zero or empty.
class CFuzzInput {
public:
    CFuzzInput(const std::uint8_t *data, std::size_t size)
        : rest(reinterpret_cast<const char *>(data), size) {}

    bool IsEmpty() const { return rest.empty(); }

    std::uint8_t Byte() {
        const auto byte = rest.empty() ? std::uint8_t{0} : static_cast<std::uint8_t>(rest.front());
        rest.remove_prefix(rest.empty() ? 0 : 1);
        return byte;
    }

    std::string_view Take(std::size_t size) {
        const std::string_view taken = rest.substr(0, std::min(size, rest.size()));
        rest.remove_prefix(taken.size());
        return taken;
    }

    /// All that is left as UTF-16, up to a zero unit.
    std::u16string RestOfText() {
        const std::string_view bytes = Take(rest.size());
        std::u16string text(bytes.size() / 2, u'\0');
        std::memcpy(text.data(), bytes.data(), text.size() * 2);
        text.resize(std::min(text.size(), text.find(u'\0')));
        return text;
    }

private:
    std::string_view rest;
};

}  // namespace SMTPClientNS

#endif  // FUZZ_FUZZ_INPUT_H
