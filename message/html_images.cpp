#include "message/html_images.h"

#include <optional>
#include <string_view>
#include <vector>

#include "platform/ascii.h"
#include "platform/text_types.h"

namespace SMTPClientNS {
namespace {

constexpr std::u16string_view TagName = u"img";
constexpr std::u16string_view ContentIdScheme = u"cid:";

/// Where the path of an image tag lies in its chunk.
struct QuotedValue {
    std::size_t start;
    std::size_t length;
};

bool StartsWithTagName(std::u16string_view text) {
    return FoldsTo(text.substr(0, TagName.size()), TagName);
}

/// chunk ends in its only `>`; both quotes have to stand before it. Searches stay inside the chunk,
/// which keeps the whole scan linear.
std::optional<QuotedValue> FindImagePath(std::u16string_view chunk) {
    constexpr auto None = std::u16string_view::npos;
    const std::size_t tag = chunk.find(u'<');
    if (tag == None || !StartsWithTagName(chunk.substr(tag + 1))) {
        return std::nullopt;
    }
    const std::size_t opening = chunk.find(u'"', tag);
    if (opening == None) {
        return std::nullopt;
    }
    const std::size_t closing = chunk.find(u'"', opening + 1);
    if (closing == None) {
        return std::nullopt;
    }
    return QuotedValue{opening + 1, closing - opening - 1};
}

}  // namespace

void ScanHtmlImages(IMimeMessage &message) {
    const WideString body = message.GetHtmlBody();
    if (body.empty()) {
        return;
    }
    WideString rewritten;
    rewritten.reserve(body.size());
    std::vector<WideString> paths;
    std::u16string_view rest = body;
    for (std::size_t end = rest.find(u'>'); end != std::u16string_view::npos;
         end = rest.find(u'>')) {
        const std::u16string_view chunk = rest.substr(0, end + 1);
        rest.remove_prefix(chunk.size());
        const std::optional<QuotedValue> path = FindImagePath(chunk);
        if (!path) {
            rewritten += chunk;
            continue;
        }
        paths.emplace_back(chunk.substr(path->start, path->length));
        rewritten += chunk.substr(0, path->start);
        rewritten += ContentIdScheme;
        rewritten += chunk.substr(path->start);
    }
    rewritten += rest;
    for (const WideString &path : paths) {
        // Refused if nothing exists there: the reference then leads nowhere.
        message.AddInlineImage(path.c_str(), path.c_str());
    }
    message.SetHtmlBody(rewritten.c_str());
}

}  // namespace SMTPClientNS
