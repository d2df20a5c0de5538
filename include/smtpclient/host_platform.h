#ifndef SMTPCLIENT_HOST_PLATFORM_H
#define SMTPCLIENT_HOST_PLATFORM_H

#include <cstdint>

#include <smtpclient/export.h>

/// Where the library meets the host's event loop and the host's user.
///
/// Each thread has a queue of finished background sends. A client reports to the queue of the
/// thread that made its first SendAsync; that thread either polls SmtpClientEventFd in its own
/// event loop and calls SmtpClientDispatchEvents when it is readable, or, having no loop, calls
/// SmtpClientWaitEvents. Any thread may call any of these functions, each for its own queue.
///
/// On Windows there is no descriptor: the reports are messages to hidden windows of that thread,
/// and its ordinary loop of GetMessage and DispatchMessage handles them. The two functions that
/// handle events serve hosts without a loop.
///
/// A thread that ends with sends still to report drops those reports; the mails themselves are
/// not affected. After fork the child has queues of its own, empty, and must not use the parent's
/// clients.
extern "C" {

#ifndef _WIN32
/// The descriptor of the calling thread's queue: readable (POLLIN) for as long as something waits.
///
/// Belongs to the library and stays the same for the life of the thread. Fit for poll, epoll, and
/// whatever is built on them; the host never reads, writes or closes it.
///
/// Returns -1, with errno set, if the system gives no descriptor; a later call tries again, and
/// the two functions below work all the same.
SMTPCLIENT_API int SmtpClientEventFd(void);
#endif

/// Handles what waits in the calling thread's queue, without blocking: each finished send calls its
/// sink, on this thread. What arrives during the call may wait for the next one.
///
/// May be called from inside a sink. Returns how many finished sends were handled.
SMTPCLIENT_API int SmtpClientDispatchEvents(void);

/// Waits until something can be handled or timeoutMs milliseconds are over, then handles it.
///
/// A negative time means no limit, 0 does not wait. The clock is monotonic, and a signal handler
/// that runs meanwhile does not end the wait. Returns how many finished sends were handled, 0 on
/// time-out.
SMTPCLIENT_API int SmtpClientWaitEvents(int timeoutMs);

/// Shows a text to the user: the message box of a platform that has none.
///
/// text, caption  UTF-16, 0-terminated, gone when the call returns.
/// style          16: an error, to be acknowledged.
/// context        what was given to SmtpClientSetMessageBox.
///
/// Runs on the thread that composes a mail, inside Send or SendAsync, and may block it until the
/// user has answered. Must not throw, nor change or release the message or the client that is being
/// sent.
using SmtpClientMessageBox = void (*)(const char16_t *text, const char16_t *caption,
                                      std::uint32_t style, void *context);

/// Sets what shows message boxes, for the whole process. Null restores the default: one line on the
/// standard error stream, caption then text; on Windows the system's own box.
///
/// The library calls show with the context of the same call of this function. A box that is
/// already on show on another thread is not waited for.
SMTPCLIENT_API void SmtpClientSetMessageBox(SmtpClientMessageBox show, void *context);

}  // extern "C"

#endif  // SMTPCLIENT_HOST_PLATFORM_H
