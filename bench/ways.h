#ifndef BENCH_WAYS_H
#define BENCH_WAYS_H

#include <functional>
#include <map>
#include <string>

#include "bench/mail_to_send.h"

/// Sends a mail a number of times, one after the other. False if the server has not taken them all.
using Way = std::function<bool(const MailToSend &mail, int times)>;

/// Each with fresh libcurl objects for each mail, as the library has them.
///
///     curl         libcurl alone
///     curl-trace   with a trace callback that counts
///     curl-thread  on a thread
std::map<std::string, Way> CurlWays();

///     send         ISmtpClient::Send, whose trace stays in memory
///     send-log     with a log file
///     send-async   ISmtpClient::SendAsync, then the reports
std::map<std::string, Way> LibraryWays();

#endif  // BENCH_WAYS_H
