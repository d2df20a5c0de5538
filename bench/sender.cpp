// Sends one mail many times in one of the ways that are compared, and tells what it took as a line
// of JSON. A first mail, which warms up, is not counted unless it is the only one.
//
// Usage: sender WAY TIMES NAME=VALUE...
//   port=N tls=0|1 verify=0|1 recipients=N body=BYTES html=TEXT picture=PATH attach=PATH log=PATH

#include <fcntl.h>
#include <sys/resource.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <string>

#include "bench/ways.h"

std::string BodyOf(const MailToSend &mail) {
    std::string body;
    while (body.size() < mail.bodyBytes) {
        body += std::string(62, 'x') + "\r\n";
    }
    return body;
}

std::string RecipientOf(std::size_t number) {
    return "recipient" + std::to_string(number) + "@example.org";
}

namespace {

double ProcessorSeconds() {
    rusage usage = {};
    ::getrusage(RUSAGE_SELF, &usage);
    const auto seconds = [](const timeval &time) {
        return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) / 1e6;
    };
    return seconds(usage.ru_utime) + seconds(usage.ru_stime);
}

/// VmHWM: the most memory that was ever resident, in KiB.
long PeakMemory() {
    std::ifstream status("/proc/self/status");
    long kibibytes = 0;
    for (std::string word; status >> word;) {
        if (word == "VmHWM:") {
            status >> kibibytes;
        }
    }
    return kibibytes;
}

void TakeArgument(const std::string &argument, MailToSend &mail) {
    const std::size_t equals = argument.find('=');
    const std::string name = argument.substr(0, equals);
    const std::string value = argument.substr(equals + 1);
    if (name == "port") {
        mail.port = std::stoi(value);
    } else if (name == "tls") {
        mail.isTls = value == "1";
    } else if (name == "verify") {
        mail.isVerified = value == "1";
    } else if (name == "recipients") {
        mail.recipients = std::stoul(value);
    } else if (name == "body") {
        mail.bodyBytes = std::stoul(value);
    } else if (name == "html") {
        mail.html = value;
    } else if (name == "picture") {
        mail.pictures.push_back(value);
    } else if (name == "attach") {
        mail.attachments.push_back(value);
    } else if (name == "log") {
        mail.logFile = value;
    } else {
        std::fprintf(stderr, "unknown argument: %s\n", argument.c_str());
        std::exit(EXIT_FAILURE);
    }
}

}  // namespace

int main(int argc, char **argv) {
    std::map<std::string, Way> ways = CurlWays();
    ways.merge(LibraryWays());
    const auto way = argc > 2 ? ways.find(argv[1]) : ways.end();
    if (way == ways.end()) {
        std::fputs("Usage: sender WAY TIMES NAME=VALUE...\n", stderr);
        return EXIT_FAILURE;
    }
    const int times = std::atoi(argv[2]);
    MailToSend mail;
    for (int at = 3; at < argc; ++at) {
        TakeArgument(argv[at], mail);
    }
    ::dup2(::open("/dev/null", O_WRONLY | O_CLOEXEC), STDERR_FILENO);  // Send writes to it.
    if (times > 1 && !way->second(mail, 1)) {
        return EXIT_FAILURE;
    }
    const long memoryBefore = PeakMemory();
    const double processorBefore = ProcessorSeconds();
    const auto begin = std::chrono::steady_clock::now();
    const bool areTaken = way->second(mail, times);
    const std::chrono::duration<double> taken = std::chrono::steady_clock::now() - begin;
    std::printf(R"({"seconds": %.6f, "cpu": %.6f, "peak_kib": %ld})"
                "\n",
                taken.count(), ProcessorSeconds() - processorBefore, PeakMemory() - memoryBefore);
    return areTaken ? EXIT_SUCCESS : EXIT_FAILURE;
}
