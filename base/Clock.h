// Clock: the date and the pause that the session and the view ask for. Any thread.
#pragma once

namespace quorvid {

// Seconds since 1970-01-01 00:00 UTC, with fractions.
double timeIntervalSince1970();

// Seconds of a clock that never jumps, from some point in the past.
double steadySeconds();

// Processor time that the calling thread has used, in seconds.
double processorSeconds();

// Blocks the calling thread for that long, signals or not.
void sleepForTimeInterval(double seconds);

}  // namespace quorvid
