#include <openssl/crypto.h>
#include <openssl/err.h>
#include <openssl/ssl.h>
#include <openssl/x509_vfy.h>

#include <atomic>
#include <new>
#include <optional>
#include <string_view>

#include "platform/file_version.h"
#include "platform/process.h"
#include "platform/thread_safety.h"
#include "transport/trust_store.h"

namespace SMTPClientNS {
namespace {

using Store = std::shared_ptr<X509_STORE>;

/// The store that the process's transfers share.
struct Keeper {
    Keeper(std::uint32_t made, Keeper *ofParent) : generation(made), parents(ofParent) {}

    const std::uint32_t generation;  ///< ForkGeneration of the process that made it.
    Keeper *const parents;           ///< Kept reachable. Its locks may be held for ever.

    CMutex mutex;
    Store store GUARDED_BY(mutex);
    FileVersion version GUARDED_BY(mutex);
    int size GUARDED_BY(mutex) = 0;  ///< Of the store when it was loaded.
    NarrowString file GUARDED_BY(mutex);
    NarrowString folder GUARDED_BY(mutex);
};

Keeper &KeeperOfThisProcess() {
    static std::atomic<Keeper *> keeper{nullptr};
    Keeper *present = keeper.load();
    if (present != nullptr && present->generation == ForkGeneration()) {
        return *present;
    }
    auto fresh = std::make_unique<Keeper>(ForkGeneration(), present);
    // Another thread that was quicker has left its own in present.
    return keeper.compare_exchange_strong(present, fresh.get()) ? *fresh.release() : *present;
}

int SizeOf(X509_STORE *store) {
    X509_STORE_lock(store);
    const int size = sk_X509_OBJECT_num(X509_STORE_get0_objects(store));
    X509_STORE_unlock(store);
    return size;
}

/// As libcurl fills the store of a connection.
Store Load(const TrustPlaces &places) {
    Store store(X509_STORE_new(), X509_STORE_free);
    ERR_set_mark();
    const bool isLoaded =
        store != nullptr && X509_STORE_load_file(store.get(), places.file) == 1 &&
        (places.folder == nullptr || X509_STORE_load_path(store.get(), places.folder) == 1);
    ERR_pop_to_mark();
    if (!isLoaded) {
        return nullptr;
    }
    X509_STORE_set_flags(store.get(), X509_V_FLAG_TRUSTED_FIRST | X509_V_FLAG_PARTIAL_CHAIN);
    return store;
}

/// The store for a transfer that starts now; null if it cannot be loaded.
Store GetStore(const TrustPlaces &places) {
    Keeper &keeper = KeeperOfThisProcess();
    const NarrowString folder = places.folder != nullptr ? places.folder : "";
    const CLock lock(keeper.mutex);  // While one thread loads, others wait.
    const std::optional<FileVersion> version = GetFileVersion(places.file);
    // A store that has grown holds certificates of the folder. Nothing would tell when those are
    // taken away or replaced.
    if (keeper.store != nullptr && version == keeper.version && keeper.file == places.file &&
        keeper.folder == folder && SizeOf(keeper.store.get()) == keeper.size) {
        return keeper.store;
    }
    keeper.store.reset();
    if (!version.has_value()) {
        return nullptr;
    }
    Store store = Load(places);
    if (store != nullptr && version->isSettled) {
        keeper.file = places.file;
        keeper.folder = folder;
        keeper.version = *version;
        keeper.size = SizeOf(store.get());
        keeper.store = store;
    }
    return store;
}

/// Objects may pass between two copies of OpenSSL only if they are one and the same.
bool HasCurlThisOpenSsl() noexcept {
    constexpr std::string_view Name = "OpenSSL/";
    const char *const told = curl_version_info(CURLVERSION_NOW)->ssl_version;
    std::string_view used = told != nullptr ? told : "";  // Others may follow, behind a blank.
    used = used.substr(0, used.find(' '));
    return used.substr(0, Name.size()) == Name &&
           used.substr(Name.size()) == OpenSSL_version(OPENSSL_VERSION_STRING);
}

/// Whether a traced transfer can do without the file unnoticed. Known of libcurl 7.88, with which
/// it was tried: while it has the folder, it tells of both places.
bool AreLinesKnown(const TrustPlaces &places) {
    constexpr unsigned int Version788 = 0x0758;
    return places.folder != nullptr &&
           curl_version_info(CURLVERSION_NOW)->version_num >> 8U == Version788;
}

constexpr const char *LineWithoutFile = " CAfile: none\n";

}  // namespace

void WarmUpTls() noexcept {
    if (!HasCurlThisOpenSsl()) {
        return;
    }
    // The context looks up every algorithm of TLS, and the table of those is filled by that.
    SSL_CTX *const context = SSL_CTX_new(TLS_client_method());
    if (context != nullptr) {
        SSL_free(SSL_new(context));
        SSL_CTX_free(context);
    }
}

void CSharedTrust::ApplyTo(CURL *handle, const TrustPlaces &places,
                           TraceTarget traceTarget) noexcept try {
    // Without a file libcurl has nothing to parse.
    if (places.file == nullptr || !HasCurlThisOpenSsl() ||
        (traceTarget.function != nullptr && !AreLinesKnown(places))) {
        return;
    }
    fileLine = NarrowString(" CAfile: ") + places.file + "\n";
    store = GetStore(places);
    if (store == nullptr || curl_easy_setopt(handle, CURLOPT_SSL_CTX_FUNCTION, &Lend) != CURLE_OK) {
        return;
    }
    user = handle;
    trace = traceTarget;
    curl_easy_setopt(handle, CURLOPT_SSL_CTX_DATA, this);
    curl_easy_setopt(handle, CURLOPT_CAINFO, nullptr);
    if (trace.function != nullptr) {
        curl_easy_setopt(handle, CURLOPT_DEBUGFUNCTION, &Report);
        curl_easy_setopt(handle, CURLOPT_DEBUGDATA, this);
    }
} catch (const std::bad_alloc &) {
    // libcurl reads the file itself.
}

CSharedTrust::~CSharedTrust() {
    if (user == nullptr) {
        return;
    }
    curl_easy_setopt(user, CURLOPT_SSL_CTX_FUNCTION, nullptr);
    if (trace.function != nullptr) {  // The handle reports as late as its clean-up.
        curl_easy_setopt(user, CURLOPT_DEBUGFUNCTION, trace.function);
        curl_easy_setopt(user, CURLOPT_DEBUGDATA, trace.data);
    }
}

CURLcode CSharedTrust::Lend(CURL * /*handle*/, void *tlsContext, void *trust) noexcept {
    // Chains are checked with this store in place of the context's own. That one stays, for libcurl
    // adds to it behind this call, which would change the checks of other transfers. An HTTPS
    // proxy's connection comes here, too; libcurl has the same places for it.
    SSL_CTX_set1_verify_cert_store(
        static_cast<SSL_CTX *>(tlsContext),
        static_cast<X509_STORE *>(static_cast<CSharedTrust *>(trust)->store.get()));
    return CURLE_OK;
}

int CSharedTrust::Report(CURL *handle, curl_infotype type, char *data, std::size_t size,
                         void *trust) noexcept {
    auto &self = *static_cast<CSharedTrust *>(trust);
    if (type == CURLINFO_TEXT && std::string_view(data, size) == LineWithoutFile) {
        data = self.fileLine.data();
        size = self.fileLine.size();
    }
    return self.trace.function(handle, type, data, size, self.trace.data);
}

}  // namespace SMTPClientNS
