#ifndef CLIENT_FILE_PARTS_H
#define CLIENT_FILE_PARTS_H

#include <curl/curl.h>

#include "client/send_handles.h"

namespace SMTPClientNS {

/// Puts our own reading of files in the place of libcurl's, which passes them on in pieces of 349
/// bytes, each of them a call of the system and a record of TLS. The mail stays the same to the
/// byte.
///
/// The length that a file has now is the one that it is announced with. From here on a file that
/// cannot be read to just this length ends the transfer with CURLE_READ_ERROR, ahead of the mail's
/// end.
///
/// Gives CURLE_OK; CURLE_READ_ERROR where something is no regular file but a folder, a pipe or a
/// device; or CURLE_OUT_OF_MEMORY. A file that is gone is left to the transfer.
CURLcode TakeOverFiles(SendHandles &handles) noexcept;

}  // namespace SMTPClientNS

#endif  // CLIENT_FILE_PARTS_H
