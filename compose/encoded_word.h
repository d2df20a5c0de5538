#ifndef COMPOSE_ENCODED_WORD_H
#define COMPOSE_ENCODED_WORD_H

#include <cstdint>
#include <vector>

#include "platform/text_types.h"

namespace SMTPClientNS {

/// Header text as encoded words (RFC 2047) in the B encoding: "=?UTF-8?b?R3LDvMOfZQ==?=". Text
/// without a unit above 127 goes out as it stands, even if it looks like an encoded word.
///
/// BUGS: nothing is folded, and the 75 characters that the RFC allows a word are not observed;
/// words of a subject touch, with their blank inside the encoded text. Readers cope with both.

/// A display name: one word for the whole name. Target, empty on entry, stays empty if the name
/// cannot be converted, which is reported to the user, or if nothing of it exists in the charset.
/// Always 1.
std::int32_t EncodeDisplayName(const NarrowString &charset, const char16_t *text,
                               NarrowString &target);

/// A subject: one word for each blank-ended piece that needs it, the others plain. Target, empty on
/// entry, holds the pieces before one that cannot be converted, which is reported to the user.
/// Always 1.
std::int32_t EncodeSubject(const NarrowString &charset, const char16_t *text, NarrowString &target);

/// A piece of a subject: the units up to and including a blank (U+0020), or up to the end.
struct Segment {
    bool needsEncoding;  ///< Holds a unit above 127.
    WideString text;
};

/// Cuts after each blank; the segments put together give the text.
std::vector<Segment> SplitSegments(const WideString &text);

}  // namespace SMTPClientNS

#endif  // COMPOSE_ENCODED_WORD_H
