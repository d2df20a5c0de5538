// What the samples of the documentation take for granted.

#include <glib-unix.h>
#include <poll.h>
#include <sys/epoll.h>
#include <uv.h>

#include <QSocketNotifier>
#include <chrono>
#include <cstdlib>
#include <functional>
#include <stdexcept>
#include <string>

#include <smtpclient/mail.h>

#include "examples/task.h"

#include <asio.hpp>

inline smtpclient::Client client("mail.example.org");
inline smtpclient::Message message;
inline std::string typedByTheUser, user, token;
inline struct Tokens {
    std::string Token();
    void Discard();
} tokens;

inline int epoll;
inline uv_loop_t *loop;
inline uv_poll_t mailEvents;
inline asio::io_context context;

void Show(const smtpclient::Outcome &outcome);
void ShowNote(const std::string &text);
void Save(const std::string &log);
void AskForPassword();
void TryAgainLater();
