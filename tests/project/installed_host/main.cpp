#include <smtpclient/smtpclient.h>

int main() {
    SMTPClientNS::ISmtpClient *const client = CreateSmtpClient();
    const bool works = client->Send() == SMTPClientNS::ResultBadHost;
    client->Release();
    return works ? 0 : 1;
}
