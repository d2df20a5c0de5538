#include "platform/iconv_descriptor.h"

#include <iconv.h>

#include <cerrno>
#include <utility>

namespace SMTPClientNS {
namespace {

constexpr std::size_t Failed = static_cast<std::size_t>(-1);

void *InvalidDescriptor() noexcept {
    return reinterpret_cast<void *>(-1);  // NOLINT(*-int-to-ptr): the value that iconv_open gives
}

}  // namespace

CIconvDescriptor::CIconvDescriptor() noexcept : descriptor(InvalidDescriptor()) {}

CIconvDescriptor::CIconvDescriptor(const char *to, const char *from) noexcept
    : descriptor(::iconv_open(to, from)) {}

CIconvDescriptor::~CIconvDescriptor() {
    if (IsOpen()) {
        ::iconv_close(descriptor);
    }
}

CIconvDescriptor::CIconvDescriptor(CIconvDescriptor &&other) noexcept
    : descriptor(std::exchange(other.descriptor, InvalidDescriptor())) {}

CIconvDescriptor &CIconvDescriptor::operator=(CIconvDescriptor &&other) noexcept {
    CIconvDescriptor taken(std::move(other));
    std::swap(descriptor, taken.descriptor);
    return *this;
}

bool CIconvDescriptor::IsOpen() const noexcept {
    return descriptor != InvalidDescriptor();
}

int CIconvDescriptor::Convert(std::string_view &input, char *&output,
                              std::size_t &outputLeft) const noexcept {
    char *in = const_cast<char *>(input.data());  // iconv does not write to it.
    std::size_t left = input.size();
    const bool failed = ::iconv(descriptor, &in, &left, &output, &outputLeft) == Failed;
    const int reason = failed ? errno : 0;
    input.remove_prefix(input.size() - left);
    return reason;
}

int CIconvDescriptor::Finish(char *&output, std::size_t &outputLeft) const noexcept {
    return ::iconv(descriptor, nullptr, nullptr, &output, &outputLeft) == Failed ? errno : 0;
}

void CIconvDescriptor::Restart() const noexcept {
    ::iconv(descriptor, nullptr, nullptr, nullptr, nullptr);
}

}  // namespace SMTPClientNS
