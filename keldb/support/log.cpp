#include "keldb/support/log.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <mutex>

namespace {

struct Destination {
    LogSink sink = nullptr;  // null for standard error
    void* context = nullptr;
};

constinit std::mutex destination_lock;
constinit Destination destination;

// One write, so that lines of several processes do not mix; there is nobody to tell when it fails.
void write_to_standard_error(const char* message) {
    [[maybe_unused]] const ssize_t written = ::write(STDERR_FILENO, message, std::strlen(message));
}

struct KeptErrno {
    const int code = errno;
    ~KeptErrno() { errno = code; }
};

// The sink runs outside the lock: it may log, and may set another sink.
void send(const char* message) {
    Destination to;
    {
        const std::lock_guard guard(destination_lock);
        to = destination;
    }
    if (to.sink) {
        to.sink(message, to.context);
    } else {
        write_to_standard_error(message);
    }
}

void print(const char* format, std::va_list arguments) {
    const KeptErrno kept;
    constexpr std::size_t kLine = 1023;
    char line[kLine + 1];
    const int wanted = std::vsnprintf(line, kLine, format, arguments);  // leaves a byte for the line feed
    if (wanted < 0) {
        std::snprintf(line, kLine, "%s", format);
    }
    const std::size_t length = std::strlen(line);
    if (length == 0 || line[length - 1] != '\n') {
        std::strcpy(line + length, "\n");
    }
    send(line);
}

}  // namespace

void setLogSink(LogSink sink, void* context) noexcept {
    const std::lock_guard guard(destination_lock);
    destination = {sink, context};
}

void LogPrint(const char* format, ...) noexcept {
    std::va_list arguments;
    va_start(arguments, format);
    print(format, arguments);
    va_end(arguments);
}

void LogBoth(const char* format, ...) noexcept {
    std::va_list arguments;
    va_start(arguments, format);
    print(format, arguments);
    va_end(arguments);
}

void DebugPrint([[maybe_unused]] const char* text) noexcept {
#ifndef NDEBUG
    if (text) {
        const KeptErrno kept;
        send(text);
    }
#endif
}
