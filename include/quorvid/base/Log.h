// Log: where the session, decoder and layer report. The network side prints to standard output
// instead.
//
// Any thread; the sink is called by one thread at a time, on the thread that logs.
#pragma once

#include <functional>
#include <string_view>

#include "quorvid/base/Export.h"

namespace quorvid {

// Receives one message, UTF-8, without an added line end. It must not log itself.
using LogSink = std::function<void(std::string_view message)>;

// Replaces the sink; an empty one brings back the default (standard error, one line a message).
QUORVID_API void setLogSink(LogSink sink);

// Formats as printf does and hands the message to the sink.
QUORVID_API void logMessage(const char* format, ...) __attribute__((format(printf, 1, 2)));

}  // namespace quorvid
