// TerminalText: text as a terminal may see it, and text that is drawn again in the same place of
// one. visibleText() on any thread, the rest on the main thread.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace quorvid::app {

// How visibleText() writes what a terminal must not get: as an escape, or with a dot for each byte
// (in columns).
enum class Unseen : std::uint8_t { Escaped, Dotted };

// The text without anything that steers a terminal or hides in it. Control characters and bytes
// that are no UTF-8 become "\x1b"; marks that turn the direction of writing, and characters that
// draw nothing, become "\u202e", or "\U000e0041" above U+FFFF. Line ends and tabs count as
// controls.
std::string visibleText(std::string_view utf8, Unseen style = Unseen::Escaped);

// The first `rows` - 1 lines of UTF-8 text, each cut to `columns` characters; a last line says how
// many were left out.
std::string cutTo(const std::string& text, std::size_t rows, std::size_t columns);

// Clears the screen and writes as much of the text as the terminal on standard error or input
// shows.
std::string redrawn(const std::string& text);

}  // namespace quorvid::app
