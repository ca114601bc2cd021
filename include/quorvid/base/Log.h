// Log: where the session, decoder and layer report. The network side prints to standard output
// instead (SetConnectionPrinter() in quorvid/connection/VehicleConnection.h).
//
// Any thread; the sink is called by one thread at a time, on the thread that logs.
#pragma once

#include <cstdint>
#include <functional>
#include <string_view>

#include "quorvid/base/Export.h"

namespace quorvid {

enum class LogLevel : std::uint8_t {
  Detail,   // what happens with each frame; nothing is wrong
  Warning,  // something failed or was refused: a picture may be missing
};

// Receives one message, UTF-8, without an added line end. It must not log itself.
using LogSink = std::function<void(std::string_view message)>;

// Replaces the sink; an empty one brings back the default (standard error, one line a message).
// least: messages below that level are neither formatted nor passed on. What the threads of a
// LiveView log is passed on as warnings only, each kind at most once in 10 s.
QUORVID_API void setLogSink(LogSink sink, LogLevel least = LogLevel::Detail);

// Formats as printf does and hands the message to the sink, as a warning.
QUORVID_API void logMessage(const char* format, ...) __attribute__((format(printf, 1, 2)));
// The same as a detail.
QUORVID_API void logDetail(const char* format, ...) __attribute__((format(printf, 1, 2)));

}  // namespace quorvid
