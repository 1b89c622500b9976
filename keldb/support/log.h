// The log: printf-style messages, each ended by a line feed, to a sink that the host can set; by default to standard
// error. A sink receives each message as one call, with a line feed added when it does not end in one; a message longer
// than 1023 bytes, its line feed included, is cut there. Logging never fails, never raises and keeps errno. A sink must
// not throw: that ends the process.
#ifndef KELDB_SUPPORT_LOG_H
#define KELDB_SUPPORT_LOG_H

#include "keldb/support/export.h"

using LogSink = void (*)(const char* message, void* context);

// Sends all further messages to `sink`, with `context`; null goes back to standard error.
KELDB_API void setLogSink(LogSink sink, void* context) noexcept;

// Warnings of table operations.
KELDB_API void LogPrint(const char* format, ...) noexcept __attribute__((format(printf, 1, 2)));
// Messages meant for the log and the person watching: here one and the same.
KELDB_API void LogBoth(const char* format, ...) noexcept __attribute__((format(printf, 1, 2)));
// One text, handed to the sink as it stands, only in debug builds of the library; null is ignored.
KELDB_API void DebugPrint(const char* text) noexcept;

#endif
