#include "log/dialogue.h"

#include <algorithm>
#include <utility>

#include "log/trace_rows.h"
#include "platform/ascii.h"

namespace SMTPClientNS {
namespace {

constexpr const char *HiddenRow = "C: ****\n";
constexpr std::string_view AuthCommand = "auth ";
constexpr std::string_view QuitCommand = "QUIT";
constexpr std::string_view HiddenInitialResponse = " ****";
constexpr std::string_view TunnelCommand = "CONNECT ";
constexpr std::string_view HttpVersion = "HTTP/";
constexpr std::size_t ReplyCodeLength = 3;

std::string_view WithoutLineEnd(std::string_view line) {
    return line.substr(0, line.find_last_not_of("\r\n") + 1);
}

bool StartsLogin(std::string_view line) {
    return FoldsTo(line.substr(0, AuthCommand.size()), AuthCommand);
}

/// libcurl's own idea of an answer within a login: a code, then a blank or the line's end. It goes
/// on past any other line, and so does the hiding; a code that asks for more ends nothing.
bool EndsLogin(std::string_view line) {
    const std::string_view code = line.substr(0, ReplyCodeLength);
    const bool isNumber = code.find_first_not_of("0123456789") == std::string_view::npos;
    const bool isAnswer = line.size() > ReplyCodeLength && isNumber &&
                          (line[ReplyCodeLength] == ' ' || line.size() == ReplyCodeLength + 2);
    return isAnswer && code.front() != '3';
}

/// "AUTH PLAIN AGEAYg==" without what stands behind the mechanism.
NarrowString WithoutInitialResponse(std::string_view line) {
    const std::size_t behindMechanism = line.find(' ', AuthCommand.size());
    NarrowString shown(line.substr(0, behindMechanism));
    if (behindMechanism != std::string_view::npos) {
        shown += HiddenInitialResponse;
    }
    return shown;
}

NarrowString Shown(std::string_view text) {
    NarrowString shown(text);
    std::replace_if(
        shown.begin(), shown.end(), [](char byte) { return byte < 0x20 || byte > 0x7E; }, '.');
    return shown;
}

}  // namespace

void CDialogue::Clear() noexcept {
    entries.clear();
    openReply.clear();
    lastReply.clear();
    mailSize = 0;
    isGreeted = false;
    awaitsProxyAnswer = false;
    inLogin = false;
    saidQuit = false;
}

void CDialogue::ServerSaid(std::string_view line) {
    if (!isGreeted && IsProxyTalk(line)) {
        return;
    }
    isGreeted = true;
    AddMailRow();
    AddRows(ServerLabel, line);
    inLogin = inLogin && !EndsLogin(line);
    const std::string_view text = WithoutLineEnd(line);
    if (openReply.empty()) {
        openReply = Shown(text.substr(0, ReplyCodeLength));
    }
    if (text.size() > ReplyCodeLength + 1) {
        openReply += ' ';
        openReply += Shown(text.substr(ReplyCodeLength + 1));
    }
    const bool goesOn = text.size() > ReplyCodeLength && text[ReplyCodeLength] == '-';
    if (goesOn) {
        return;
    }
    NarrowString reply = std::exchange(openReply, {});
    if (!saidQuit) {
        lastReply = std::move(reply);
    }
}

void CDialogue::ClientSaid(std::string_view line) {
    // A mail server speaks first (RFC 5321, section 3.1), and none is told CONNECT.
    if (!isGreeted || line.substr(0, TunnelCommand.size()) == TunnelCommand) {
        Clear();
        awaitsProxyAnswer = true;
        return;
    }
    AddMailRow();
    if (StartsLogin(line)) {
        inLogin = true;
        AddRows(ClientLabel, WithoutInitialResponse(WithoutLineEnd(line)));
    } else if (inLogin) {
        entries.emplace_back(HiddenRow);
    } else {
        saidQuit = WithoutLineEnd(line) == QuitCommand;
        AddRows(ClientLabel, line);
    }
}

/// A proxy's answer ends in an empty line; an interim one (100 Continue) is followed by another.
bool CDialogue::IsProxyTalk(std::string_view line) {
    const bool beginsAnswer = line.substr(0, HttpVersion.size()) == HttpVersion;
    if (!awaitsProxyAnswer && !beginsAnswer) {
        return false;
    }
    awaitsProxyAnswer = !WithoutLineEnd(line).empty();
    return true;
}

bool CDialogue::LastReplyIsRefusal() const noexcept {
    return !lastReply.empty() && (lastReply.front() == '4' || lastReply.front() == '5');
}

std::deque<NarrowString> CDialogue::TakeEntries(NarrowString closingEntry) {
    AddMailRow();
    entries.push_back(std::move(closingEntry));
    return std::exchange(entries, {});
}

void CDialogue::AddRows(char label, std::string_view text) {
    TraceText rows;
    AppendTraceRows(label, text, rows);
    for (std::size_t start = 0; start < rows.size();) {
        const std::size_t end = rows.find('\n', start) + 1;
        entries.emplace_back(std::string_view(rows).substr(start, end - start));
        start = end;
    }
}

void CDialogue::AddMailRow() {
    if (mailSize != 0) {
        entries.push_back("C: (mail text, " + std::to_string(mailSize) + " bytes)\n");
        mailSize = 0;
    }
}

}  // namespace SMTPClientNS
