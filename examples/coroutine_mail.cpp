// Sends the same mail to each address, one after the other, in a coroutine: the thread is free
// while the server takes its time.
//
// Usage: coroutine_mail HOST PORT USER ADDRESS...    (PASSWORD from the environment)

#include <cstdio>
#include <cstdlib>
#include <stdexcept>
#include <string>
#include <vector>

#include <smtpclient/mail.h>

#include "task.h"

namespace {

CTask SendToEach(smtpclient::Client &client, std::vector<std::string> addresses) {
    for (const std::string &address : addresses)
        try {
            smtpclient::Message message;
            message.From("me@example.org").To(address).Subject("Hello").Text("From a coroutine.\n");
            const smtpclient::Outcome outcome = co_await client.Sending(message);
            std::printf("%s: %s\n", address.c_str(), outcome ? "sent" : outcome.text.c_str());
        } catch (const std::invalid_argument &refusal) {
            std::printf("%s: %s\n", address.c_str(), refusal.what());
        }
}

}  // namespace

int main(int argc, char **argv) try {
    const char *const password = std::getenv("PASSWORD");
    if (argc < 5 || password == nullptr) {
        std::fputs("Usage: PASSWORD=... coroutine_mail HOST PORT USER ADDRESS...\n", stderr);
        return EXIT_FAILURE;
    }
    smtpclient::Client client(argv[1], std::atoi(argv[2]));
    client.Login(argv[3], password);
    const CTask task = SendToEach(client, {argv + 4, argv + argc});
    while (!task.handle.done()) {
        SmtpClientWaitEvents(-1);
    }
    task.handle.destroy();
    return EXIT_SUCCESS;
} catch (const std::invalid_argument &refusal) {
    std::fprintf(stderr, "%s\n", refusal.what());
    return EXIT_FAILURE;
}
