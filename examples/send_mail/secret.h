#ifndef EXAMPLES_SEND_MAIL_SECRET_H
#define EXAMPLES_SEND_MAIL_SECRET_H

#include <string>

/// Where a password or token comes from. Never from an argument, which every user of the machine
/// can read.
struct SecretSource {
    enum class Kind { None, File, Descriptor, Prompt };

    Kind kind = Kind::None;
    std::string path;     ///< For Kind::File.
    int descriptor = -1;  ///< For Kind::Descriptor; read to its end.

    bool IsGiven() const { return kind != Kind::None; }
};

/// Fetches the secret, less the line end behind it. A prompt shows `what` on the terminal and reads
/// a line without echo.
///
/// Throws CUsageError if it cannot be read, or is empty, or has more than one line.
std::u16string ReadSecret(const SecretSource &source, const std::string &what);

#endif  // EXAMPLES_SEND_MAIL_SECRET_H
