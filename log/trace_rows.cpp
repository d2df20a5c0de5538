#include "log/trace_rows.h"

#include <algorithm>
#include <array>
#include <cstring>

namespace SMTPClientNS {
namespace {

constexpr std::size_t LongestRow = 96;
constexpr std::size_t RowHeadLength = 3;  // "S: "
constexpr std::size_t RowCapacity = 100;  // The head, the longest row and its "\n".
constexpr std::string_view LineEnd = "\r\n";

/// Where the CR LF pair begins that ends the row: it may stand right behind a full row. The size of
/// rest if there is none so near.
std::size_t FindRowBreak(std::string_view rest) {
    return std::min(rest.substr(0, LongestRow + LineEnd.size()).find(LineEnd), rest.size());
}

/// Every byte of a mail passes here. The loop has no branch and a fixed length, so that the
/// compiler makes vector code of it, and the row is appended in one call.
void AppendRow(char label, std::string_view bytes, TraceText &target) {
    std::array<unsigned char, RowCapacity> row = {};
    std::memcpy(row.data() + RowHeadLength, bytes.data(), bytes.size());
    for (std::size_t i = 0; i < LongestRow; ++i) {
        unsigned char &byte = row[RowHeadLength + i];
        const bool isShown = static_cast<unsigned char>(byte - 0x20U) < 0x60U;
        byte = isShown ? byte : static_cast<unsigned char>('.');
    }
    row[0] = static_cast<unsigned char>(label);
    row[1] = ':';
    row[2] = ' ';
    row[RowHeadLength + bytes.size()] = '\n';
    target.append(reinterpret_cast<const char *>(row.data()), RowHeadLength + bytes.size() + 1);
}

}  // namespace

void AppendTraceRows(char label, std::string_view data, TraceText &target) {
    while (!data.empty()) {
        const std::size_t rowBreak = FindRowBreak(data);
        const std::size_t shown = std::min(rowBreak, LongestRow);
        AppendRow(label, data.substr(0, shown), target);
        const bool endsAtBreak = rowBreak < data.size() && rowBreak <= LongestRow;
        data.remove_prefix(endsAtBreak ? rowBreak + LineEnd.size() : shown);
    }
}

}  // namespace SMTPClientNS
