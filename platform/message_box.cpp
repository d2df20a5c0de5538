#include "platform/message_box.h"

#include "platform/thread_safety.h"

namespace SMTPClientNS {
namespace {

struct MessageBox {
    SmtpClientMessageBox show = nullptr;
    void *context = nullptr;
};

CMutex boxMutex;
MessageBox currentBox GUARDED_BY(boxMutex);

MessageBox CurrentBox() {
    const CLock lock(boxMutex);
    return currentBox;
}

}  // namespace

void ShowMessageBox(const WideString &text, const WideString &caption, std::uint32_t style) {
    const MessageBox box =
        CurrentBox();  // Copied, and called without the lock: it may block for long.
    if (box.show != nullptr) {
        box.show(text.c_str(), caption.c_str(), style, box.context);
        return;
    }
    ShowSystemMessageBox(text, caption, style);
}

void SetMessageBox(SmtpClientMessageBox show, void *context) {
    const CLock lock(boxMutex);
    currentBox = {show, context};
}

}  // namespace SMTPClientNS
