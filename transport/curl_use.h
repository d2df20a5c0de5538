#ifndef TRANSPORT_CURL_USE_H
#define TRANSPORT_CURL_USE_H

namespace SMTPClientNS {

/// Leave to call libcurl, for the length of one preparation, transfer or release.
///
/// The first use of the process makes libcurl's global initialisation, which is never undone: a
/// host may use libcurl, too. When the process ends while others run transfers, the exit handlers
/// of libcurl's own libraries pull the floor from under them: a TLS handshake then crashes. So an
/// exit handler of ours, which runs ahead of theirs, tells running transfers to stop, waits up to
/// 2 s for every use to end, and later uses are refused.
///
/// Uses may nest. Any thread.
class CCurlUse {
public:
    CCurlUse() noexcept;
    ~CCurlUse();
    CCurlUse(const CCurlUse &) = delete;
    CCurlUse &operator=(const CCurlUse &) = delete;

    /// False: the process is ending, and libcurl may be called for nothing but to free memory.
    bool IsGranted() const noexcept { return granted; }

private:
    bool granted = false;
};

/// The process is ending: a running transfer has to stop.
bool IsProcessEnding() noexcept;

}  // namespace SMTPClientNS

#endif  // TRANSPORT_CURL_USE_H
