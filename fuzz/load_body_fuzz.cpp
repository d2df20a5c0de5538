#include <sys/mman.h>
#include <unistd.h>

#include "fuzz/fuzz_input.h"
#include "message/message_store.h"

int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    using namespace SMTPClientNS;
    static const int file = ::memfd_create("body", MFD_CLOEXEC);
    static const std::string path = "/proc/self/fd/" + std::to_string(file);
    CFuzzInput input(data, size);
    const std::int32_t mode = input.Byte() % 7;
    const std::string_view content = input.Rest();
    Require(::ftruncate(file, 0) == 0 && ::pwrite(file, content.data(), content.size(), 0) ==
                                             static_cast<ssize_t>(content.size()));
    CMimeMessage message;
    message.SetTextBody(u"text");
    message.SetHtmlBody(u"html");
    message.LoadBodyFromFile(std::u16string(path.begin(), path.end()).c_str(), mode);
    Require(mode <= BodyTextUtf8 || std::u16string(u"text") == message.GetTextBody());
    Require((mode > BodyTextUtf8 && mode < 6) || std::u16string(u"html") == message.GetHtmlBody());
    if (content.empty() || content.front() == '\0') {
        Require(std::u16string(u"text") == message.GetTextBody());
        Require(std::u16string(u"html") == message.GetHtmlBody());
    }
    return 0;
}
