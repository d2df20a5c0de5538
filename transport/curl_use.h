#ifndef TRANSPORT_CURL_USE_H
#define TRANSPORT_CURL_USE_H

#include "platform/cancellation.h"

namespace SMTPClientNS {

/// Permission to call libcurl while this object lives: for one preparation, transfer or release.
///
/// The first use of the process makes libcurl's global initialisation, which is never undone: a
/// host may use libcurl, too. When the process ends while others run transfers, the exit handlers
/// of the libraries below libcurl free what they use: a TLS handshake then crashes. So an
/// exit handler of ours, which runs ahead of theirs, tells running transfers to stop and waits up
/// to 2 s for every use to end. Later uses are refused.
///
/// Uses may nest. Any thread; a request to cancel it is held off until the use has ended.
class CCurlUse {
public:
    CCurlUse() noexcept;
    ~CCurlUse();
    CCurlUse(const CCurlUse &) = delete;
    CCurlUse &operator=(const CCurlUse &) = delete;

    /// False: the process is ending, and libcurl may be called for nothing but to free memory.
    bool IsGranted() const noexcept { return granted; }

private:
    CUncancellable untilEnded;
    bool granted = false;
};

/// Makes the TLS library's first use of the process, unless it has been made: inside a CCurlUse,
/// for a send that will need TLS.
void StartTls() noexcept;

/// The process is ending: a running transfer has to stop.
bool IsProcessEnding() noexcept;

/// Called outside all uses, with a send that has failed. While the process ends it does not return
/// until 2 s have passed since the end began, by when the process is usually gone: the host that
/// heard of the failure might itself call exit, and overtake the end under way and its status. On
/// the thread that ends the process it returns at once, and so it does while the process goes on.
void StayWhileProcessEnds() noexcept;

}  // namespace SMTPClientNS

#endif  // TRANSPORT_CURL_USE_H
