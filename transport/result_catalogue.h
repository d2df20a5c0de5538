#ifndef TRANSPORT_RESULT_CATALOGUE_H
#define TRANSPORT_RESULT_CATALOGUE_H

#include <cstdint>
#include <map>

#include "platform/text_types.h"

namespace SMTPClientNS {

/// What stops a preparation, beside the libcurl codes.
enum PreparationFailure : std::int32_t {
    NothingToSend = -1,  ///< A handle, the client or the message is missing.
    NoSender = -2,
    NoRecipients = -3,
};

/// What the host and its user are told for an internal code: 0, a libcurl result (CURLcode), or one
/// of the library's own negative codes.
struct ResultRow {
    std::int32_t publicCode;  ///< A ResultCode.
    NarrowString text;        ///< In the user's language and the system code page.
};

/// Rows by internal code. Codes without a row are told what GeneralErrorRow says.
using ResultCatalogue = std::map<std::int32_t, ResultRow>;

constexpr std::int32_t GeneralErrorRow = 100;

/// The rows in the language of a locale name: Japanese if "ja" occurs in it, else English. Also
/// English where the system code page cannot carry the Japanese texts.
ResultCatalogue MakeResultCatalogue(const WideString &localeName);

/// The catalogue of the process, in the language of the user's locale at its first use. Any thread.
const ResultCatalogue &GetResultCatalogue();

/// The text for an internal code, never null, 0-terminated; lives as long as the catalogue.
const char *GetResultText(const ResultCatalogue &catalogue, std::int32_t code);

/// The public code for an internal code.
std::int32_t GetPublicCode(const ResultCatalogue &catalogue, std::int32_t code);

}  // namespace SMTPClientNS

#endif  // TRANSPORT_RESULT_CATALOGUE_H
