#ifndef CLIENT_SEND_HANDLES_H
#define CLIENT_SEND_HANDLES_H

#include <cstdint>
#include <deque>
#include <vector>

#include "compose/body_tree.h"
#include "compose/encoded_file.h"
#include "platform/text_types.h"
#include "transport/curl_handles.h"
#include "transport/trust_store.h"

namespace SMTPClientNS {

/// The libcurl objects of one send, and what its transfer checks before it connects.
///
/// Members end in the reverse of their order here, and the order is a rule of libcurl's: a subtree
/// before the tree that it hangs in (freeing it takes it out; the tree would free it a second
/// time), the easy handle after everything that was set on it.
struct SendHandles {
    CurlEasy easyHandle;
    CurlMime rootMime;        ///< The mail's body: the three below hang in it, or stand free.
    CurlMime attachmentMime;  ///< Parts of multipart/mixed.
    CurlMime imageMime;       ///< Parts of multipart/related.
    CurlMime bodyMime;        ///< Parts of multipart/alternative.
    CurlList recipientList;   ///< RCPT TO; libcurl works on the list itself.
    CurlList headerList;      ///< The whole header block as one entry.

    std::uint32_t generation = 0;  ///< ForkGeneration of the process that made them.
    NarrowString senderAddress;    ///< MAIL FROM.
    std::vector<FilePart> files;   ///< What is read during the transfer.
    /// Parts of the tree point to them; made when the transfer starts.
    std::deque<CEncodedFile> encodedFiles;
    bool sharesTrust = false;  ///< The transfer may use a CSharedTrust.
    TraceTarget trace;         ///< Where what libcurl reports goes.

    SendHandles() = default;
    ~SendHandles();
    SendHandles(const SendHandles &) = delete;
    SendHandles &operator=(const SendHandles &) = delete;
};

/// Makes the easy handle and the four mime handles in empty handles. Those that libcurl does not
/// give stay null.
void MakeSendHandles(SendHandles &handles);

/// Frees everything and leaves the handles empty. Closes the connection without waiting for the
/// server, unless it is a parent process's, which it is left to. Does nothing without an easy
/// handle.
void ReleaseSendHandles(SendHandles &handles);

}  // namespace SMTPClientNS

#endif  // CLIENT_SEND_HANDLES_H
