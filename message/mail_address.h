#ifndef MESSAGE_MAIL_ADDRESS_H
#define MESSAGE_MAIL_ADDRESS_H

#include "platform/text_types.h"

namespace SMTPClientNS {

/// A sender, a recipient, or an inline image.
struct MailAddress {
    WideString name;     ///< Display name, may be empty. Of an image: its Content-ID.
    WideString address;  ///< Mail address, never empty once stored. Of an image: its path.
};

}  // namespace SMTPClientNS

#endif  // MESSAGE_MAIL_ADDRESS_H
