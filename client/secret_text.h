#ifndef CLIENT_SECRET_TEXT_H
#define CLIENT_SECRET_TEXT_H

#include <string_view>
#include <vector>

#include "platform/wiping_allocator.h"

namespace SMTPClientNS {

/// Text that is overwritten in memory when it is replaced and at its end.
class CSecretText {
public:
    CSecretText() = default;
    CSecretText(const CSecretText &) = delete;
    CSecretText &operator=(const CSecretText &) = delete;

    void Set(std::u16string_view value) {
        Units replaced(value.size() + 1, u'\0');
        value.copy(replaced.data(),
                   value.size());  // Copied first: value may point into the old text.
        units.swap(replaced);
    }

    /// 0-terminated; until the next Set.
    const char16_t *Get() const noexcept { return units.data(); }

private:
    /// A vector: strings keep short text inside the object, where no allocator wipes it.
    using Units = std::vector<char16_t, CWipingAllocator<char16_t>>;

    Units units = {u'\0'};
};

}  // namespace SMTPClientNS

#endif  // CLIENT_SECRET_TEXT_H
