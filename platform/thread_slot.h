#ifndef PLATFORM_THREAD_SLOT_H
#define PLATFORM_THREAD_SLOT_H

namespace SMTPClientNS {

/// A place for one pointer in every thread, given to a function of ours when the thread ends.
///
/// For the thread that ends the process that function is not called: what its place holds stays
/// usable for static destructors. A thread_local object would be gone by then.
/// Slots are made once and are never given back.
class CThreadSlot {
public:
    /// end is called on the ending thread, with what its place holds, unless that is null.
    explicit CThreadSlot(void (*end)(void *)) noexcept;
    CThreadSlot(const CThreadSlot &) = delete;
    CThreadSlot &operator=(const CThreadSlot &) = delete;

    void *Get() const noexcept;

    /// False if the system has no memory for it.
    bool Set(void *value) const noexcept;

private:
    unsigned int key = 0;
    bool made = false;
};

}  // namespace SMTPClientNS

#endif  // PLATFORM_THREAD_SLOT_H
