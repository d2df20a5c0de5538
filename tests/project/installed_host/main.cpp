#include <smtpclient/mail.h>

int main() {
    smtpclient::Client client("mail.example.org");
    smtpclient::Outcome end;
    client.Send(smtpclient::Message(),
                [&end](const smtpclient::Outcome &outcome) { end = outcome; });
    SmtpClientWaitEvents(-1);
    return end.code == SMTPClientNS::ResultBadCredentials ? 0 : 1;
}
