#ifndef CLIENT_SECRET_TEXT_H
#define CLIENT_SECRET_TEXT_H

#include "platform/process.h"
#include "platform/text_types.h"

namespace SMTPClientNS {

/// Text that is overwritten in memory when it is replaced and at its end.
class CSecretText {
public:
    CSecretText() = default;
    ~CSecretText() { Wipe(); }
    CSecretText(const CSecretText &) = delete;
    CSecretText &operator=(const CSecretText &) = delete;

    void Set(const char16_t *value) {
        WideString fresh(value);  // Before the old text goes: value may point into it.
        Wipe();
        text = std::move(fresh);
        WipeMemory(fresh.data(), fresh.capacity() * sizeof(char16_t));
    }

    const WideString &Get() const noexcept { return text; }

private:
    void Wipe() noexcept { WipeMemory(text.data(), text.capacity() * sizeof(char16_t)); }

    WideString text;
};

}  // namespace SMTPClientNS

#endif  // CLIENT_SECRET_TEXT_H
