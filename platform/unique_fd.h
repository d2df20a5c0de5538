#ifndef PLATFORM_UNIQUE_FD_H
#define PLATFORM_UNIQUE_FD_H

#include <utility>

namespace SMTPClientNS {

/// Closes a descriptor. Keeps errno, so that a failure that is being reported stays readable.
void CloseDescriptor(int descriptor) noexcept;

/// Owns a descriptor of the system; -1 stands for none.
class CUniqueFd {
public:
    CUniqueFd() = default;
    explicit CUniqueFd(int owned) noexcept : descriptor(owned) {}
    CUniqueFd(CUniqueFd &&other) noexcept : descriptor(std::exchange(other.descriptor, -1)) {}
    CUniqueFd &operator=(CUniqueFd &&other) noexcept {
        std::swap(descriptor, other.descriptor);
        return *this;
    }
    CUniqueFd(const CUniqueFd &) = delete;
    CUniqueFd &operator=(const CUniqueFd &) = delete;
    ~CUniqueFd() {
        if (descriptor >= 0) {
            CloseDescriptor(descriptor);
        }
    }

    int Get() const noexcept { return descriptor; }
    explicit operator bool() const noexcept { return descriptor >= 0; }

private:
    int descriptor = -1;
};

}  // namespace SMTPClientNS

#endif  // PLATFORM_UNIQUE_FD_H
