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

struct Scene {
    CTemporaryFolder folder;
    std::string file = folder.PathOf("trusted");
    std::string first;  ///< Of the system's certificates.

    Scene() {
        std::ifstream system(SystemFile);
        for (std::string line;
             first.find("END") == std::string::npos && std::getline(system, line);) {
            first += line + "\n";
        }
    }
    void Write(const std::string &content) {
        if (fs::is_symlink(file)) {
            fs::remove(file);
        }
        folder.Write("trusted", content);
    }
    void LeadToSystemFile() {
        fs::remove(file);
        fs::create_symlink(SystemFile, file);
    }
    Store Get() { return StoreOfATransfer(file, folder.PathOf("")); }
};

TEST(SharedTrust, IsLoadedOnceForEachChange) {
    Scene scene;
    scene.LeadToSystemFile();
    const Store whole = scene.Get();
    ASSERT_GT(SizeOf(whole), 1);
    EXPECT_EQ(scene.Get(), whole);
    // As if a check had taken a certificate from the folder.
    X509_STORE_add_cert(whole.get(), std::shared_ptr<X509>(X509_new(), X509_free).get());
    const Store anew = scene.Get();
    EXPECT_NE(anew, whole);
    EXPECT_EQ(SizeOf(anew) + 1, SizeOf(whole));
    const std::pair<std::string, int> contents[] = {
        {scene.first, 1},
        {"-----BEGIN CERTIFICATE-----\n!\n-----END CERTIFICATE-----\n", -1},
        {scene.first, 1},
        {"", -1},
    };
    for (const auto &[content, size] : contents) {
        scene.Write(content);
        EXPECT_EQ(SizeOf(scene.Get()), size) << content;
    }
    fs::remove(scene.file);
    EXPECT_EQ(scene.Get(), nullptr);
    scene.LeadToSystemFile();
    EXPECT_EQ(SizeOf(scene.Get()), SizeOf(anew));
}

TEST(SharedTrust, IsOneForAllThreadsAndAnotherInAChild) {
    Scene scene;
    scene.LeadToSystemFile();
    Store other;
    std::thread loading([&] { other = scene.Get(); });
    const Store store = scene.Get();
    loading.join();
    EXPECT_EQ(store, other);
    X509_STORE_lock(store.get());  // By another thread of the parent, say.
    const pid_t child = ::fork();
    if (child == 0) {
        ::alarm(60);
        ::_exit(scene.Get() != nullptr ? 0 : 1);
    }
    X509_STORE_unlock(store.get());
    int status = -1;
    ::waitpid(child, &status, 0);
    EXPECT_EQ(status, 0);
}

}  // namespace
}  // namespace SMTPClientNS
