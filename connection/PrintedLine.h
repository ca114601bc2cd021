// PrintedLine: the lines that the exported workers write, to where the host wants them. Any thread.
#pragma once

namespace quorvid {

// False while the host has turned them off: a line need not be made then.
bool areLinesWanted();

// Formats as printf does. format: one line with its end, which a host's printer is not given.
void printLine(const char* format, ...) __attribute__((format(printf, 1, 2)));

}  // namespace quorvid
