#include "transport/trust_store.h"

namespace SMTPClientNS {

TrustPlaces TrustPlacesOf(CURL *handle) noexcept {
    char *file = nullptr;
    char *folder = nullptr;
    curl_easy_getinfo(handle, CURLINFO_CAINFO, &file);
    curl_easy_getinfo(handle, CURLINFO_CAPATH, &folder);
    return {file, folder};
}

}  // namespace SMTPClientNS
