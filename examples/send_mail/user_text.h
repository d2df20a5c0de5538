#ifndef EXAMPLES_SEND_MAIL_USER_TEXT_H
#define EXAMPLES_SEND_MAIL_USER_TEXT_H

#include <stdexcept>
#include <string>

/// What the user gave cannot be used; nothing has been sent. Ends the program with status 2.
class CUsageError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// A mail address with its display name, which may be empty.
struct Address {
    std::u16string name;
    std::u16string address;
};

/// Reads arguments and writes messages in the user's encoding from here on. The library finds that
/// encoding by itself and takes "C" and "POSIX" for UTF-8; so does this.
void UseUserLocale();

/// Throws CUsageError for bytes that the user's encoding does not know.
std::u16string WideFromUser(const std::string &text);

/// Fit for a terminal: control characters, line feeds aside, and characters that the user's
/// encoding lacks become question marks.
std::string UserFromWide(const std::u16string &text);

/// Takes "Name <address>", "\"Name, quoted\" <address>" or "address". A plain name that header
/// syntax would take apart (RFC 5322, section 3.2.3) is put in quotes.
Address ParseAddress(const std::u16string &text);

/// Every line end, CR, LF or CR LF, as the CR LF that mail needs; without a byte order mark.
std::u16string WithMailLineEnds(const std::u16string &text);

#endif  // EXAMPLES_SEND_MAIL_USER_TEXT_H
