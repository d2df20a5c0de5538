#include <vector>

#include "fuzz/fuzz_input.h"
#include "message/html_images.h"
#include "message/message_store.h"

namespace SMTPClientNS {
namespace {

/// The scan with every search through the whole text: right by its looks, and quadratic.
std::u16string NaiveScan(const std::u16string &text) {
    constexpr auto None = std::u16string::npos;
    const auto isLetter = [](char16_t unit, char16_t small) {
        return unit == small || unit == small - 32;
    };
    std::vector<std::size_t> paths;
    std::size_t start = 0;
    for (std::size_t end = text.find(u'>'); end != None; end = text.find(u'>', start)) {
        const std::size_t tag = text.find(u'<', start);
        start = end + 1;
        if (tag == None || tag >= end || tag + 3 >= text.size() || !isLetter(text[tag + 1], u'i') ||
            !isLetter(text[tag + 2], u'm') || !isLetter(text[tag + 3], u'g')) {
            continue;
        }
        const std::size_t opening = text.find(u'"', tag);
        const std::size_t closing = opening == None ? None : text.find(u'"', opening + 1);
        if (closing != None && closing < end) {
            paths.push_back(opening + 1);
        }
    }
    std::u16string result = text;
    for (auto path = paths.rbegin(); path != paths.rend(); ++path) {
        result.insert(*path, u"cid:");
    }
    return result;
}

/// ASCII from single bytes, so that tags come about, and one unit of each pair of other bytes.
std::u16string TagsFrom(std::string_view bytes) {
    constexpr std::u16string_view symbols = u"<>\"imgIMG =/a.";
    std::u16string text;
    for (const char byte : bytes) {
        const auto value = static_cast<unsigned char>(byte);
        text += value < 0xE0 ? symbols[value % symbols.size()] : static_cast<char16_t>(value << 8);
    }
    return text;
}

}  // namespace
}  // namespace SMTPClientNS

int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    using namespace SMTPClientNS;
    CFuzzInput input(data, size);
    const std::u16string body = TagsFrom(input.Rest());
    CMimeMessage message;
    message.SetHtmlBody(body.c_str());
    ScanHtmlImages(message);
    Require(message.GetHtmlBody() == NaiveScan(body));
    return 0;
}
