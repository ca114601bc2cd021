// TerminalText: text that is drawn again in the same place of a terminal. Main thread.
#ifndef QUORVID_APPS_QUORVID_TERMINAL_TEXT_H
#define QUORVID_APPS_QUORVID_TERMINAL_TEXT_H

#include <cstddef>
#include <string>

namespace quorvid::app {

// The first `rows` - 1 lines of UTF-8 text, each cut to `columns` characters; a last line says how
// many were left out.
std::string cutTo(const std::string& text, std::size_t rows, std::size_t columns);

// Clears the screen and writes as much of the text as the terminal on standard error or input
// shows.
std::string redrawn(const std::string& text);

}  // namespace quorvid::app

#endif
