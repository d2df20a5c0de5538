#ifndef PLATFORM_POSIX_UNIQUE_FD_H
#define PLATFORM_POSIX_UNIQUE_FD_H

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
    int Release() noexcept { return std::exchange(descriptor, -1); }
    explicit operator bool() const noexcept { return descriptor >= 0; }

private:
    int descriptor = -1;
};

/// The same open file under a number that is none of the standard streams'. A host that has closed
/// those would else write to the file whatever it, or another library, writes to them. None if the
/// system gives no other number.
CUniqueFd AwayFromStandardStreams(CUniqueFd opened) noexcept;

}  // namespace SMTPClientNS

#endif  // PLATFORM_POSIX_UNIQUE_FD_H
