#ifndef MESSAGE_HTML_IMAGES_H
#define MESSAGE_HTML_IMAGES_H

#include <smtpclient/mime_message.h>

namespace SMTPClientNS {

/// Has the local pictures that the message's HTML body refers to travel in the mail.
///
/// The first double-quoted value of each img tag is taken for a path. The picture is added to the
/// message with the path as path and as id, and the value gets "cid:" (RFC 2392) in front:
/// `<img src="a.png">` becomes `<img src="cid:a.png">`, whether or not the file exists.
///
/// A plain text scan, no HTML parser: a tag runs from the first `<` after the previous `>` up to
/// the next `>`; attribute names, comments, entities and single quotes mean nothing to it. It is
/// not idempotent.
void ScanHtmlImages(IMimeMessage &message);

}  // namespace SMTPClientNS

#endif  // MESSAGE_HTML_IMAGES_H
