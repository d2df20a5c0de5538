#include "platform/message_box.h"

#include <cstdio>

#include "platform/code_page.h"

namespace SMTPClientNS {

void ShowSystemMessageBox(const WideString &text, const WideString &caption,
                          std::uint32_t /*style*/) {
    const NarrowString line = WideToSystemCodePage(caption + u": " + text + u"\n");
    std::fputs(line.c_str(), stderr);
}

}  // namespace SMTPClientNS
