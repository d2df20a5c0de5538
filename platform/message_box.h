#ifndef PLATFORM_MESSAGE_BOX_H
#define PLATFORM_MESSAGE_BOX_H

#include <cstdint>

#include <smtpclient/host_platform.h>

#include "platform/text_types.h"

namespace SMTPClientNS {

/// Style of an error that the user has to acknowledge.
constexpr std::uint32_t ErrorBoxStyle = 16;

/// Shows a text to the user and returns when it has been acknowledged: by what the host has set,
/// else by the system. Any thread.
void ShowMessageBox(const WideString &text, const WideString &caption, std::uint32_t style);

/// The system's own box; a line on the standard error stream where there is none. Any thread.
void ShowSystemMessageBox(const WideString &text, const WideString &caption, std::uint32_t style);

/// What ShowMessageBox calls from now on; null for the system's. Any thread.
void SetMessageBox(SmtpClientMessageBox show, void *context);

}  // namespace SMTPClientNS

#endif  // PLATFORM_MESSAGE_BOX_H
