#include "transport/trust_store.h"

#include <gtest/gtest.h>
#include <openssl/ssl.h>
#include <sys/wait.h>
#include <unistd.h>

#include "tests/support/host_tools.h"
#include "transport/curl_handles.h"
#include "transport/curl_use.h"

namespace SMTPClientNS {
namespace {

namespace fs = std::filesystem;

/// Old enough to be kept, which a file that a test has just written is not.
constexpr const char *SystemFile = "/etc/ssl/certs/ca-certificates.crt";

/// What one transfer checks certificates with; null if libcurl is left alone.
using Store = std::shared_ptr<X509_STORE>;

Store StoreOfATransfer(const std::string &file, const std::string &folder) {
    const CCurlUse use;
    const CurlEasy handle = MakeEasyHandle();
    const std::shared_ptr<SSL_CTX> context(SSL_CTX_new(TLS_method()), SSL_CTX_free);
    CSharedTrust trust;
    trust.ApplyTo(handle.get(), {file.c_str(), folder.c_str()}, {});
    CSharedTrust::Lend(handle.get(), context.get(), &trust);
    X509_STORE *store = nullptr;
    SSL_CTX_get0_verify_cert_store(context.get(), &store);
    if (store == nullptr) {
        return nullptr;
    }
    X509_STORE_up_ref(store);
    return Store(store, X509_STORE_free);
}

int SizeOf(const Store &store) {
    return store != nullptr ? sk_X509_OBJECT_num(X509_STORE_get0_objects(store.get())) : -1;
}

/// The first of the system's certificates.
std::string FirstCertificate() {
    const std::string all = ReadFile(SystemFile);
    const std::string end = "-----END CERTIFICATE-----\n";
    return all.substr(0, all.find(end) + end.size());
}

TEST(SharedTrust, IsLoadedOnceForEachChange) {
    const CTemporaryFolder folder;
    const std::string file = folder.PathOf("trusted");
    const auto get = [&] { return StoreOfATransfer(file, folder.PathOf("")); };
    fs::create_symlink(SystemFile, file);
    const Store whole = get();
    ASSERT_GT(SizeOf(whole), 1);
    EXPECT_EQ(get(), whole);
    // As if a check had taken a certificate from the folder.
    X509_STORE_add_cert(whole.get(), std::shared_ptr<X509>(X509_new(), X509_free).get());
    const Store anew = get();
    EXPECT_NE(anew, whole);
    EXPECT_EQ(SizeOf(anew) + 1, SizeOf(whole));
    fs::remove(file);
    EXPECT_EQ(get(), nullptr);
    const std::pair<std::string, int> contents[] = {
        {FirstCertificate(), 1},
        {"-----BEGIN CERTIFICATE-----\n!\n-----END CERTIFICATE-----\n", -1},
        {FirstCertificate(), 1},
        {"", -1},
    };
    for (const auto &[content, size] : contents) {
        folder.Write("trusted", content);
        EXPECT_EQ(SizeOf(get()), size) << content;
    }
    fs::remove(file);
    fs::create_symlink(SystemFile, file);
    EXPECT_EQ(SizeOf(get()), SizeOf(anew));
}

TEST(SharedTrust, IsOneForAllThreadsAndAnotherInAChild) {
    const CTemporaryFolder folder;
    const auto get = [&] { return StoreOfATransfer(SystemFile, folder.PathOf("")); };
    Store other;
    std::thread loading([&] { other = get(); });
    const Store store = get();
    loading.join();
    EXPECT_EQ(store, other);
    ASSERT_NE(store, nullptr);
    X509_STORE_lock(store.get());  // By another thread of the parent, say.
    const pid_t child = ::fork();
    if (child == 0) {
        ::alarm(60);
        ::_exit(get() != nullptr ? 0 : 1);
    }
    X509_STORE_unlock(store.get());
    int status = -1;
    ::waitpid(child, &status, 0);
    EXPECT_EQ(status, 0);
}

}  // namespace
}  // namespace SMTPClientNS
