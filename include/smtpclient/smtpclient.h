#ifndef SMTPCLIENT_SMTPCLIENT_H
#define SMTPCLIENT_SMTPCLIENT_H

/// Everything a host needs to send mail: the client, the message, the sink of background sends,
/// and the entry points that join the library to the host's event loop.

#include <smtpclient/completion_sink.h>
#include <smtpclient/host_platform.h>
#include <smtpclient/mime_message.h>
#include <smtpclient/smtp_client.h>

/// The system code page: a host gives and gets UTF-16. Bodies, and subjects and display names
/// outside ASCII, are sent in the message's charset (IMimeMessage::SetCharset). All other text
/// leaves in the system code page: mail addresses, names of servers and proxies, user names,
/// passwords, tokens, paths of files, Content-IDs. So does the log file, and body files of the
/// modes named System are read in it.
///
/// It is the codeset of LC_ALL, LC_CTYPE or LANG, the first of the environment that is not empty.
/// None, "C" and "POSIX" mean UTF-8. Of a locale that is not installed the codeset in its name
/// counts ("ja_JP.eucJP"), and UTF-8 where there is none that iconv knows. What the code page lacks
/// becomes "?"; in UTF-8, which lacks lone surrogates alone, U+FFFD.
///
/// The language of the results' messages: Japanese if LC_ALL, LC_MESSAGES or LANG, the first that
/// is not empty, has "ja" ahead of any "." or "@", and the code page holds the texts; else English.
///
/// Both are looked up at their first use, and once. A host need not call setlocale for them.
///
/// Names outside ASCII, of the server and in the domains of mail addresses: libcurl gives them
/// their ASCII form (IDNA) by the LC_CTYPE of the process. Programs start in "C", in which such a
/// server is a ResultBadHost, and an address goes out as it is. A host calls setlocale(LC_CTYPE,
/// "") first, or passes the ASCII form ("xn--..."). A process locale with another codeset than the
/// code page makes other names of them.

#endif  // SMTPCLIENT_SMTPCLIENT_H
