#include "token_source.h"

#include <curl/curl.h>
#include <nlohmann/json.hpp>

#include <iostream>
#include <memory>
#include <stdexcept>

namespace {

constexpr std::chrono::seconds Reserve(60);  // No send begins with less time left.
constexpr long LongestWait = 30;             // Seconds

struct Closer {
    void operator()(CURL *handle) const { curl_easy_cleanup(handle); }
    void operator()(char *text) const { curl_free(text); }
};

std::size_t Append(char *bytes, std::size_t, std::size_t count, void *answer) {
    static_cast<std::string *>(answer)->append(bytes, count);
    return count;
}

std::string Escaped(const std::string &text) {
    const std::unique_ptr<char, Closer> escaped(
        curl_easy_escape(nullptr, text.data(), static_cast<int>(text.size())));
    return escaped.get();
}

/// The answer to a form that is posted there.
std::string Post(const std::string &url, const std::string &form) {
    const std::unique_ptr<CURL, Closer> request(curl_easy_init());
    std::string answer;
    curl_easy_setopt(request.get(), CURLOPT_URL, url.c_str());
    curl_easy_setopt(request.get(), CURLOPT_POSTFIELDS, form.c_str());
    curl_easy_setopt(request.get(), CURLOPT_TIMEOUT, LongestWait);
    curl_easy_setopt(request.get(), CURLOPT_NOSIGNAL, 1L);
    curl_easy_setopt(request.get(), CURLOPT_FAILONERROR, 1L);
    curl_easy_setopt(request.get(), CURLOPT_WRITEFUNCTION, Append);
    curl_easy_setopt(request.get(), CURLOPT_WRITEDATA, &answer);
    const CURLcode code = curl_easy_perform(request.get());
    if (code != CURLE_OK) {
        throw std::runtime_error(std::string("no token: ") + curl_easy_strerror(code));
    }
    return answer;
}

}  // namespace

CTokenSource::CTokenSource(std::string tokenEndpoint, std::string client, std::string refresh)
    : endpoint(std::move(tokenEndpoint)),
      clientId(std::move(client)),
      refreshToken(std::move(refresh)) {}

const std::string &CTokenSource::Token() {
    if (token.empty() || std::chrono::steady_clock::now() > goodUntil) {
        Fetch();
    }
    return token;
}

void CTokenSource::Fetch() {
    const auto now = std::chrono::steady_clock::now();
    const nlohmann::json answer = nlohmann::json::parse(
        Post(endpoint, "grant_type=refresh_token&refresh_token=" + Escaped(refreshToken) +
                           "&client_id=" + Escaped(clientId)));
    token = answer.at("access_token");
    goodUntil = now + std::chrono::seconds(answer.value("expires_in", 0)) - Reserve;
    refreshToken = answer.value("refresh_token", refreshToken);
    std::cout << "fetched a token\n";
}
