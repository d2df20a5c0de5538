#ifndef CLIENT_TRANSFER_H
#define CLIENT_TRANSFER_H

#include <atomic>
#include <cstdint>

#include "client/send_handles.h"

namespace SMTPClientNS {

/// Runs the transfer of a prepared send, on the calling thread: the only way to the network.
///
/// stopRequested  becomes true when the transfer has to end; null if only the end of the process
///                stops it.
///
/// Gives libcurl's result, or without a connection:
///     CURLE_BAD_FUNCTION_ARGUMENT   an envelope address holds a CR or LF, with which whoever
///                                   supplies addresses would write SMTP commands of his own;
///     CURLE_READ_ERROR              a file to send has become a folder, a pipe or a device, which
///                                   would send nothing or block for ever; with a connection, a
///                                   file that is gone, unreadable, or not of the length any more
///                                   that it had when the transfer started;
///     CURLE_OUT_OF_MEMORY           there is no memory to open a file to send;
///     CURLE_ABORTED_BY_CALLBACK     the process is ending.
std::int32_t PerformTransfer(SendHandles &handles,
                             const std::atomic<bool> *stopRequested = nullptr) noexcept;

}  // namespace SMTPClientNS

#endif  // CLIENT_TRANSFER_H
