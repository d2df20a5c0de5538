#include "log/trace_rows.h"

#include <algorithm>
#include <array>
#include <cstring>

namespace SMTPClientNS {
namespace {

constexpr std::size_t LongestRow = 96;
constexpr std::string_view LineEnd = "\r\n";

/// Where the CR LF pair begins that ends the row: it may stand right behind a full row. The size of
/// rest if there is none so near.
std::size_t FindRowBreak(std::string_view rest) {
    return std::min(rest.substr(0, LongestRow + LineEnd.size()).find(LineEnd), rest.size());
}

/// Without a branch and over a whole row, so that the compiler makes vector code of it: a mail of
/// any size passes here byte by byte.
void ShowBytes(std::string_view bytes, NarrowString &target) {
    std::array<unsigned char, LongestRow> row = {};
    std::memcpy(row.data(), bytes.data(), bytes.size());
    for (unsigned char &byte : row) {
        const bool isShown = static_cast<unsigned char>(byte - 0x20U) < 0x60U;
        byte = isShown ? byte : static_cast<unsigned char>('.');
    }
    target.append(reinterpret_cast<const char *>(row.data()), bytes.size());
}

}  // namespace

void AppendTraceRows(char label, std::string_view data, NarrowString &target) {
    while (!data.empty()) {
        const std::size_t rowBreak = FindRowBreak(data);
        const std::size_t shown = std::min(rowBreak, LongestRow);
        target += label;
        target += ": ";
        ShowBytes(data.substr(0, shown), target);
        target += '\n';
        const bool endsAtBreak = rowBreak < data.size() && rowBreak <= LongestRow;
        data.remove_prefix(endsAtBreak ? rowBreak + LineEnd.size() : shown);
    }
}

}  // namespace SMTPClientNS
