#include <regex>
#include <sstream>

#include "fuzz/fuzz_input.h"
#include "message/html_images.h"
#include "message/message_store.h"

/// What the scan makes of a body, in words: of each piece up to a ">", the first tag, if it is an
/// image's, and the first value in quotes there.
static std::string ByRegularExpression(const std::string &body) {
    static const std::regex image("^[^<]*<[iI][mM][gG][^\"]*\"(?=[^\"]*\")");
    std::istringstream pieces(body);
    std::string result;
    for (std::string piece; std::getline(pieces, piece, '>');) {
        const bool hasEnd = !pieces.eof();
        result += hasEnd ? std::regex_replace(piece, image, "$&cid:") + ">" : piece;
    }
    return result;
}

int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    using namespace SMTPClientNS;
    constexpr std::string_view Symbols = "<>\"imgIMG =/a.";
    std::string body;  // Of few characters, so that tags come about.
    for (std::size_t at = 0; at < size; ++at) {
        body += Symbols[data[at] % Symbols.size()];
    }
    CMimeMessage message;
    message.SetHtmlBody(smtpclient::detail::ToUtf16(body).c_str());
    ScanHtmlImages(message);
    Require(smtpclient::detail::ToUtf8(message.GetHtmlBody()) == ByRegularExpression(body));
    return 0;
}
