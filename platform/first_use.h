#ifndef PLATFORM_FIRST_USE_H
#define PLATFORM_FIRST_USE_H

namespace SMTPClientNS {

/// Initialisation of something process-wide, while this object lives. One thread at a time is in
/// it, and may enter it again.
///
/// A fork on another thread waits until it is over: the child would find what is half made, and the
/// locks taken for it, as they are at that moment, with no thread left to go on.
class CFirstUse {
public:
    CFirstUse() noexcept;
    ~CFirstUse();
    CFirstUse(const CFirstUse &) = delete;
    CFirstUse &operator=(const CFirstUse &) = delete;
};

}  // namespace SMTPClientNS

#endif  // PLATFORM_FIRST_USE_H
