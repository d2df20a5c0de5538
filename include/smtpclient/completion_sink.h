#ifndef SMTPCLIENT_COMPLETION_SINK_H
#define SMTPCLIENT_COMPLETION_SINK_H

#include <cstdint>

namespace SMTPClientNS {

/// Told of the end of each background send. Implemented by the host.
///
/// Lifetime: the host's. A sink outlives the last send that may report to it.
/// Thread: the one that made the client's first SendAsync, while it dispatches its events.
class ICompletionSink {
public:
    /// Holds the first place of the table. Never called; need not be overridden.
    virtual void Reserved() {}

    /// A background send has ended.
    ///
    /// taskId  what SendAsync returned for this send; 1 and up.
    /// code    1 for success, else one of the negative ResultCode values.
    /// text    message in the user's language, UTF-16, 0-terminated; empty on success, never null.
    ///         Gone when the call returns: copy what is to be kept.
    ///
    /// May call SendAsync, CancelAsync and Release. Must not throw.
    virtual void OnSendComplete(std::int32_t taskId, std::int32_t code, const char16_t *text) = 0;

protected:
    ~ICompletionSink() = default;  // Not virtual: that would move OnSendComplete in the table.
};

}  // namespace SMTPClientNS

#endif  // SMTPCLIENT_COMPLETION_SINK_H
