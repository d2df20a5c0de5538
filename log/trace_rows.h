#ifndef LOG_TRACE_ROWS_H
#define LOG_TRACE_ROWS_H

#include <string>
#include <string_view>

#include "platform/wiping_allocator.h"

namespace SMTPClientNS {

/// What crossed the wire, the login included.
using TraceText = std::basic_string<char, std::char_traits<char>, CWipingAllocator<char>>;

/// Who spoke.
constexpr char ServerLabel = 'S';
constexpr char ClientLabel = 'C';

/// Appends what crossed the wire as rows for a reader: "S: 250 OK\n".
///
/// A row shows up to 96 bytes and ends early at a CR LF pair, which is not shown. Bytes outside
/// 0x20 to 0x7F show as full stops, CR and LF that form no pair among them. No bytes give no row.
void AppendTraceRows(char label, std::string_view data, TraceText &target);

}  // namespace SMTPClientNS

#endif  // LOG_TRACE_ROWS_H
