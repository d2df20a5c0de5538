#ifndef EXAMPLES_OAUTH_TOKEN_SOURCE_H
#define EXAMPLES_OAUTH_TOKEN_SOURCE_H

#include <chrono>
#include <string>

/// Trades a refresh token for access tokens (RFC 6749, section 6), and keeps each while it is good.
class CTokenSource {
public:
    CTokenSource(std::string endpoint, std::string clientId, std::string refreshToken);

    /// One that is good for another minute. Throws std::runtime_error if the endpoint gives none.
    const std::string &Token();

    /// Has the next call fetch another: the server does not take this one.
    void Discard() { token.clear(); }

private:
    void Fetch();

    const std::string endpoint;
    const std::string clientId;
    std::string refreshToken;  ///< Some endpoints give a new one with each token.
    std::string token;
    std::chrono::steady_clock::time_point goodUntil;
};

#endif  // EXAMPLES_OAUTH_TOKEN_SOURCE_H
