#ifndef LOG_DIALOGUE_H
#define LOG_DIALOGUE_H

#include <deque>
#include <string_view>

#include "platform/text_types.h"

namespace SMTPClientNS {

/// What a server and the client said to each other, fit to be shown or mailed to support:
///
///     S: 220 mx.example.org ESMTP
///     C: AUTH PLAIN
///     S: 334
///     C: ****
///     C: (mail text, 1024 bytes)
///
/// It begins with the greeting of the mail server: what is said to an HTTP proxy ahead of it, the
/// proxy's login among it, is no part of it. What the client says between AUTH (RFC 4954) and its
/// final answer is left out but for the mechanism's name, and the mail's text is told by its size.
/// Each row is an entry of its own.
class CDialogue {
public:
    void Clear() noexcept;

    /// One line of a reply, with its line end.
    void ServerSaid(std::string_view line);

    /// One command, or one answer within a login, with its line end.
    void ClientSaid(std::string_view line);

    /// A piece of the mail's text.
    void ClientSentMail(std::size_t size) noexcept { mailSize += size; }

    /// The last complete reply but for the farewell, its lines joined by blanks after the one
    /// code; empty before the first. "550 5.1.1 <x@example.org>: no such user"
    const NarrowString &LastReply() const noexcept { return lastReply; }

    /// The last reply refused something (RFC 5321, section 4.2.1: codes 4yz and 5yz).
    bool LastReplyIsRefusal() const noexcept;

    /// Hands over the entries, oldest first, closed by the given one.
    std::deque<NarrowString> TakeEntries(NarrowString closingEntry);

private:
    bool IsProxyTalk(std::string_view line);
    void AddRows(char label, std::string_view text);
    void AddMailRow();

    std::deque<NarrowString> entries;
    NarrowString openReply;  ///< The lines so far of a reply that goes on.
    NarrowString lastReply;
    std::size_t mailSize = 0;  ///< Of the mail's text that no row tells of yet, in bytes.
    bool isGreeted = false;
    bool awaitsProxyAnswer = false;  ///< The client has spoken, and it was not to a mail server.
    bool inLogin = false;
    /// QUIT was sent; its reply must not replace the refusal that may have come before.
    bool saidQuit = false;
};

}  // namespace SMTPClientNS

#endif  // LOG_DIALOGUE_H
