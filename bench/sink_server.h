#ifndef BENCH_SINK_SERVER_H
#define BENCH_SINK_SERVER_H

#include <sys/types.h>

/// An SMTP server on a loopback port, in a process of its own, that accepts every mail and throws
/// it away as fast as it can. One connection at a time.
class CSinkServer {
public:
    CSinkServer();
    ~CSinkServer();
    CSinkServer(const CSinkServer &) = delete;
    CSinkServer &operator=(const CSinkServer &) = delete;

    int Port() const { return port; }

private:
    int port = 0;
    pid_t process = -1;
};

#endif  // BENCH_SINK_SERVER_H
