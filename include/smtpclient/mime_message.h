#ifndef SMTPCLIENT_MIME_MESSAGE_H
#define SMTPCLIENT_MIME_MESSAGE_H

#include <cstdint>

#include <smtpclient/export.h>

namespace SMTPClientNS {

/// Values of IMimeMessage::SetPriority that give the mail an X-Priority line.
enum Priority : std::int32_t {
    PriorityNormal = 0,  ///< X-Priority: 3, also in a new message.
    PriorityLow = 1,     ///< X-Priority: 4.
    PriorityHigh = 2,    ///< X-Priority: 2.
};

/// What IMimeMessage::Reset clears.
enum ResetKind : std::int32_t {
    ResetAll = 0,  ///< Everything but the charset.
    ResetRecipients = 1,
    ResetCc = 2,
    ResetBcc = 3,
    ResetAttachments = 4,
    ResetInlineImages = 5,
    ResetSender = 6,
};

/// What IMimeMessage::LoadBodyFromFile takes the file for: the body it fills, how the file is
/// encoded, and whether the pictures that its HTML names are to travel in the mail. For the system
/// code page see smtpclient.h.
enum BodyFileMode : std::int32_t {
    BodyTextSystem = 0,            ///< Plain text, in the system code page.
    BodyTextUtf8 = 1,              ///< Plain text, in UTF-8.
    BodyHtmlSystem = 2,            ///< HTML, in the system code page.
    BodyHtmlUtf8 = 3,              ///< HTML, in UTF-8.
    BodyHtmlSystemWithImages = 4,  ///< As BodyHtmlSystem, then the image scan.
    BodyHtmlUtf8WithImages = 5,    ///< As BodyHtmlUtf8, then the image scan.
};

/// Which half of an address the reading operations give.
enum AddressField : std::int32_t {
    FieldAddress = 0,  ///< The mail address.
    FieldName = 1,     ///< The display name; empty if none was given.
};

/// One mail, as the host describes it: a passive store that a send only reads, so that a message
/// can be sent again and again.
///
/// Text is UTF-16, 0-terminated. What is passed in is copied before the call returns and is not
/// trimmed, checked or converted beyond what is said at the operation; in particular a CR LF in a
/// name or subject becomes part of the mail's header. Whoever passes on a stranger's text removes
/// line breaks first. What is returned belongs to the message, is never null, and holds until the
/// field or list that it came from next changes or the message ends.
///
/// Lists keep the order of adding, look for no duplicates, and are read with indexes from 1; an
/// index of 0 or above the length gives the empty text.
///
/// Where memory runs out, an operation throws std::bad_alloc, and the message stays fit for use.
///
/// Thread: one at a time, and none during a Send or SendAsync that uses the message.
class IMimeMessage {
public:
#ifdef _WIN32
    /// Holds the first place of the table. Compilers there give a destructor one place or two.
    virtual void Reserved() {}
#else
    virtual ~IMimeMessage() = default;
#endif

    /// Clears what kind names, a ResetKind. Returns 1, or -1 for any other kind; then nothing
    /// changes.
    virtual std::int32_t Reset(std::int32_t kind) = 0;

    /// Ends the message at once. The host's last call on it.
    virtual void Release() = 0;

    /// Appends a recipient to the To list.
    ///
    /// address  refused unless it holds an `@` that is neither its first nor its last unit; nothing
    ///          else is looked at. For a domain outside ASCII see smtpclient.h.
    /// name     display name; null and empty mean none.
    ///
    /// Returns the new length of the list, or -1 for a refused or null address; then nothing
    /// changes.
    virtual std::int32_t AddRecipient(const char16_t *address, const char16_t *name) = 0;
    virtual std::int32_t GetRecipientCount() const = 0;
    /// An entry's half, by an AddressField; any other selector gives the empty text.
    virtual const char16_t *GetRecipient(std::uint32_t index, std::int32_t selector) const = 0;

    /// The Cc list, by the rules of AddRecipient.
    virtual std::int32_t AddCc(const char16_t *address, const char16_t *name) = 0;
    virtual std::int32_t GetCcCount() const = 0;
    virtual const char16_t *GetCc(std::uint32_t index, std::int32_t selector) const = 0;

    /// The Bcc list, by the rules of AddRecipient. Its addresses stand in a Bcc line of the mail
    /// that every recipient receives. To keep a recipient from the others, send the mail once more,
    /// to that recipient alone.
    virtual std::int32_t AddBcc(const char16_t *address, const char16_t *name) = 0;
    virtual std::int32_t GetBccCount() const = 0;
    virtual const char16_t *GetBcc(std::uint32_t index, std::int32_t selector) const = 0;

    /// Appends a file to attach. The path is kept as given, and the file is read during the
    /// transfer, a background one too: it has to stay, and keep its length, until that has ended.
    /// A file that grows or shrinks meanwhile ends the send with ResultFileUnreadable; the server
    /// takes no part of the mail then.
    ///
    /// Returns the new number of attachments, or -1 if path is null or nothing exists there.
    virtual std::int32_t AddAttachment(const char16_t *path) = 0;
    virtual std::int32_t GetAttachmentCount() const = 0;
    virtual const char16_t *GetAttachment(std::uint32_t index) const = 0;

    /// Appends a picture that the HTML body names as "cid:" followed by id (RFC 2392). It is read
    /// as an attachment is. It stands beside the body, not within it, and many readers show it
    /// below (docs/what-arrives.md).
    ///
    /// id  the Content-ID, without angle brackets. A picture without one is stored and counted,
    ///     but not sent; nor is any picture of a mail without an HTML body.
    ///
    /// Returns the new number of pictures, or -1 if path is null or nothing exists there.
    virtual std::int32_t AddInlineImage(const char16_t *path, const char16_t *id) = 0;
    virtual std::int32_t GetInlineImageCount() const = 0;
    virtual const char16_t *GetInlineImagePath(std::uint32_t index) const = 0;
    virtual const char16_t *GetInlineImageId(std::uint32_t index) const = 0;

    /// Sets the sender: the From line and the envelope's MAIL FROM. The address is tested as
    /// AddRecipient tests it. A null or empty name keeps the name that is there; Reset with
    /// ResetSender drops it.
    ///
    /// Returns 1, or -1 for a refused or null address; then nothing changes.
    virtual std::int32_t SetSender(const char16_t *address, const char16_t *name) = 0;
    virtual const char16_t *GetSender(std::int32_t selector) const = 0;

    /// Stores any value; those that are no Priority give the mail no X-Priority line.
    virtual void SetPriority(std::int32_t value) = 0;
    virtual std::int32_t GetPriority() const = 0;

    /// Null counts as empty. Of words outside ASCII with blanks between them some readers show the
    /// first alone (docs/what-arrives.md).
    virtual void SetSubject(const char16_t *text) = 0;
    virtual const char16_t *GetSubject() const = 0;

    /// The charset of both bodies and of encoded header text (RFC 2047): any name that iconv knows.
    /// "UTF-8", in capitals, in a new message, and the one to use. Null and empty are ignored.
    /// Characters that the charset lacks are dropped. Other losses are:
    ///
    /// a name that iconv does not know  is not refused: bodies arrive empty, display names outside
    ///     ASCII are missing, and a subject ends ahead of its first word outside ASCII. A message
    ///     box tells of each name and subject (SmtpClientSetMessageBox); the send's result is 1.
    /// "utf-8"  where a thread has used no other spelling before, a text with a lone surrogate
    ///     fails like one in an unknown charset. "UTF-8" drops the surrogate.
    /// UTF-16, UTF-32, UCS-2, UCS-4  bodies and display names end at their first 0 byte: of "hello"
    ///     at most the "h" arrives.
    /// BIG5-HKSCS, EUC-JISX0213, SHIFT_JISX0213, ISO-2022-JP-3, TSCII, UTF-7  what iconv holds back
    ///     until it sees the next character is not sent: a text may lose its last. A body with CR
    ///     LF at its end does not.
    /// ISO-2022-JP, ISO-2022-KR, ISO-2022-CN  a text that does not end in ASCII lacks the return to
    ///     it, which readers forgive.
    virtual void SetCharset(const char16_t *text) = 0;
    virtual const char16_t *GetCharset() const = 0;

    /// Replaces a body by a file's text, up to its first zero byte.
    ///
    /// mode  a BodyFileMode. With the image scan, the first double-quoted value of each img tag is
    ///       taken for a path, added as picture with the path as id, and given a "cid:" in front.
    ///       Relative paths count from the process's working directory.
    ///
    /// Reports nothing. The body stays as it was, and is not scanned, if the file is missing, not a
    /// regular file, 4 GiB or larger, locked exclusively (flock) by another, or cannot be read. It
    /// also stays if the file has no text, being empty or beginning with a zero byte; then a mode
    /// with the image scan scans the HTML body that is there, once more if it was scanned before. A
    /// byte order mark becomes part of the text.
    virtual void LoadBodyFromFile(const char16_t *path, std::int32_t mode) = 0;

    /// The HTML body, sent as it stands: line ends have to be CR LF. Null counts as empty, and an
    /// empty body is not sent.
    virtual void SetHtmlBody(const char16_t *text) = 0;
    virtual const char16_t *GetHtmlBody() const = 0;

    /// The plain text body, by the rules of SetHtmlBody.
    virtual void SetTextBody(const char16_t *text) = 0;
    virtual const char16_t *GetTextBody() const = 0;

#ifdef _WIN32
protected:
    ~IMimeMessage() = default;
#endif
};

}  // namespace SMTPClientNS

/// Makes an empty message. It belongs to the caller, who ends it with Release. Any thread.
extern "C" SMTPCLIENT_API SMTPClientNS::IMimeMessage *CreateMimeMessage();

#endif  // SMTPCLIENT_MIME_MESSAGE_H
