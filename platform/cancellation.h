#ifndef PLATFORM_CANCELLATION_H
#define PLATFORM_CANCELLATION_H

namespace SMTPClientNS {

/// While it lives, a request to cancel the calling thread (pthread_cancel) is held off.
/// Cancellation unwinds the stack, which neither libcurl nor a destructor survives.
class CUncancellable {
public:
    CUncancellable() noexcept;
    ~CUncancellable();
    CUncancellable(const CUncancellable &) = delete;
    CUncancellable &operator=(const CUncancellable &) = delete;

private:
    int stateBefore = 0;
};

}  // namespace SMTPClientNS

#endif  // PLATFORM_CANCELLATION_H
