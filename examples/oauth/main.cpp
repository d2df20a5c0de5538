// Sends two mails with a login by OAuth 2.0, and gets a new token where the server refuses one.

#include <cstdlib>
#include <iostream>

#include <smtpclient/mail.h>

#include "token_source.h"

namespace {

smtpclient::Outcome SendWithToken(smtpclient::Client &client, const std::string &user,
                                  CTokenSource &tokens, const smtpclient::Message &message) {
    smtpclient::Outcome outcome = client.Token(user, tokens.Token()).Send(message);
    if (outcome.code == SMTPClientNS::ResultLoginDenied) {
        std::cout << "refused: " << outcome.text << '\n';
        tokens.Discard();
        outcome = client.Token(user, tokens.Token()).Send(message);
    }
    return outcome;
}

}  // namespace

int main(int argc, char **argv) try {
    if (argc != 6) {
        std::cerr << "Usage: oauth_mail HOST PORT USER TOKEN-ENDPOINT REFRESH-TOKEN\n"
                     "For a test server: whatever certificate it has will do.\n";
        return EXIT_FAILURE;
    }
    smtpclient::Client client(argv[1], std::atoi(argv[2]));
    client.TrustAnyCertificate();
    CTokenSource tokens(argv[4], "oauth_mail", argv[5]);
    smtpclient::Message message;
    message.From("sender@example.org").To("recipient@example.org").Text("Sent with a token.\n");
    bool isSent = true;
    for (const char *subject : {"first mail", "second mail"}) {
        const smtpclient::Outcome outcome =
            SendWithToken(client, argv[3], tokens, message.Subject(subject));
        std::cout << subject << ": " << outcome.text << '\n';
        isSent = isSent && outcome;
    }
    return isSent ? EXIT_SUCCESS : EXIT_FAILURE;
} catch (const std::exception &fault) {
    std::cerr << "oauth_mail: " << fault.what() << '\n';
    return EXIT_FAILURE;
}
