#include "platform/message_box.h"

#include "platform/win32/wide.h"

namespace SMTPClientNS {

void ShowSystemMessageBox(const WideString &text, const WideString &caption, std::uint32_t style) {
    ::MessageBoxW(nullptr, SystemWide(text.c_str()), SystemWide(caption.c_str()), style);
}

}  // namespace SMTPClientNS
