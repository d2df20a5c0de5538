#ifndef TRANSPORT_TRUST_STORE_H
#define TRANSPORT_TRUST_STORE_H

#include <curl/curl.h>

#include <memory>

#include "platform/text_types.h"

namespace SMTPClientNS {

/// CURLOPT_DEBUGFUNCTION and CURLOPT_DEBUGDATA of a transfer; no function where it is not traced.
struct TraceTarget {
    curl_debug_callback function = nullptr;
    void *data = nullptr;
};

/// Where trusted certificates stand, as libcurl spells it; null where it has no such place.
struct TrustPlaces {
    const char *file = nullptr;    ///< PEM, all read.
    const char *folder = nullptr;  ///< PEM files under hashed names, read as a check needs them.
};

/// The places that libcurl was built with.
TrustPlaces TrustPlacesOf(CURL *handle) noexcept;

/// Has the TLS library make now what it would make for its first connection. Does nothing where
/// that is not the OpenSSL that this library was built for.
void WarmUpTls() noexcept;

/// The trusted certificates, for the length of one transfer that checks its server's certificate.
///
/// libcurl parses the whole file for every connection, which takes longer than all the rest of a
/// small mail. The process's transfers share one parsed store instead. It is parsed anew for the
/// first transfer behind a change of the file, so that each trusts what it would trust without it.
/// The results and the lines of the trace are those of libcurl alone.
///
/// Does nothing where libcurl's TLS is not the OpenSSL that this library was built for, or where
/// the file cannot be loaded: libcurl then reads it itself and tells what is wrong with it.
///
/// Not for a transfer with CURLOPT_SSL_VERIFYSTATUS: libcurl checks a stapled answer with the store
/// that it has filled itself.
///
/// Any thread, inside a CCurlUse only. A fork's child has a store of its own.
class CSharedTrust {
public:
    CSharedTrust() = default;
    ~CSharedTrust();
    CSharedTrust(const CSharedTrust &) = delete;
    CSharedTrust &operator=(const CSharedTrust &) = delete;

    /// Has the handle's transfers use the store until this object ends, ahead of the handle. Once
    /// for each object.
    void ApplyTo(CURL *handle, const TrustPlaces &places, TraceTarget traceTarget) noexcept;

    /// CURLOPT_SSL_CTX_FUNCTION; trust is the CSharedTrust. Always CURLE_OK.
    static CURLcode Lend(CURL *handle, void *tlsContext, void *trust) noexcept;

private:
    /// CURLOPT_DEBUGFUNCTION; trust is the CSharedTrust.
    static int Report(CURL *handle, curl_infotype type, char *data, std::size_t size,
                      void *trust) noexcept;

    CURL *user = nullptr;         ///< The handle that has been changed.
    std::shared_ptr<void> store;  ///< The TLS library's own object.
    TraceTarget trace;
    NarrowString fileLine;  ///< What libcurl tells if it loads the file.
};

}  // namespace SMTPClientNS

#endif  // TRANSPORT_TRUST_STORE_H
