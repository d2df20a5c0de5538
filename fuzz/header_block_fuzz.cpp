#include "client/smtp_client_wrapper.h"
#include "compose/body_tree.h"
#include "compose/header_block.h"
#include "fuzz/fuzz_input.h"
#include "message/message_store.h"

int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    using namespace SMTPClientNS;
    SilenceMessageBox();
    CFuzzInput input(data, size);
    CMimeMessage message;
    message.SetPriority(input.Byte() % 4);
    if (input.Byte() < 0x20) {
        message.SetCharset(input.Text().c_str());
    }
    message.SetSubject(input.Text().c_str());
    message.SetTextBody(input.Text().c_str());
    message.SetHtmlBody(input.Text().c_str());
    message.SetSender((u"s" + input.Text() + u"@s").c_str(), input.Text().c_str());
    while (!input.IsEmpty()) {
        const std::u16string address = u"r" + input.Text() + u"@r";
        const std::u16string name = input.Text();
        message.AddRecipient(address.c_str(), name.c_str());
        message.AddBcc(address.c_str(), name.c_str());
    }
    auto *const client = new CSmtpClientWrapper;
    client->SetMessage(&message);
    client->SetHost(u"127.0.0.1");
    client->SetPort(1);
    client->SetUserName(u"u");
    client->SetPassword(u"p");

    NarrowString block;
    BuildHeaderBlock(client, block);
    Require(block.compare(0, 6, "From: ") == 0);
    Require(block.compare(block.size() - 3, 3, ">\r\n") == 0);
    {
        SendHandles handles;
        MakeSendHandles(handles);
        const std::int32_t result = PrepareSend(handles, client);
        Require(result == (message.GetRecipientCount() > 0 ? 0 : -3));
    }
    client->Release();
    return 0;
}
