#ifndef COMPOSE_BODY_TREE_H
#define COMPOSE_BODY_TREE_H

#include <curl/curl.h>

#include <vector>

#include <smtpclient/smtp_client.h>

#include "platform/text_types.h"

namespace SMTPClientNS {

/// A part that holds a file in Base64. Lives as long as the tree that it stands in.
struct FilePart {
    curl_mimepart *part;
    WideString path;                    ///< As the message gives it.
    bool hasType;                       ///< The part was given its type; else libcurl chooses one.
    std::vector<NarrowString> headers;  ///< What the part was given beside libcurl's own.
};

/// Takes the place of the headers that a part was given. CURLE_OUT_OF_MEMORY leaves those.
CURLcode SetPartHeaders(curl_mimepart *part, const std::vector<NarrowString> &lines);

/// The MIME structure of a message (RFC 2046): up to three siblings under root, in this order.
///
///     multipart/alternative    HTML body, then plain text body
///     multipart/related        pictures, if there is an HTML body
///     multipart/mixed          attachments
///
/// Each operation fills its subtree and hangs it under root, if the message has something for it;
/// else the subtree stays as it is. Both trees stay the caller's. Nothing is reported: a body that
/// cannot be converted becomes an empty part, and a file that cannot be read ends the transfer.
///
/// Files are read during the transfer, not here. Each is added to files.

void AddBodyParts(curl_mime *root, curl_mime *bodies, const ISmtpClient *client);

void AddInlineImageParts(curl_mime *root, curl_mime *images, const ISmtpClient *client,
                         std::vector<FilePart> &files);

void AddAttachmentParts(curl_mime *root, curl_mime *attachments, const ISmtpClient *client,
                        std::vector<FilePart> &files);

/// The media type of a picture by the extension of its path; empty if it is libcurl's to choose.
const char *ImageTypeForPath(const NarrowString &path);

}  // namespace SMTPClientNS

#endif  // COMPOSE_BODY_TREE_H
