// Terminal: text as a terminal may see it: sentences, one progress line, a table that is drawn
// again in the same place. visibleText() on any thread, the rest on the main thread.
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
std::string visibleText(std::string_view text, Unseen style = Unseen::Escaped);

// Prints "quorvid: <sentence>" on standard error, with nothing in it that steers a terminal.
void note(const std::string& sentence);

// So many columns a line of visible text takes: two for a wide character, none for a mark that
// stands on the one before.
std::size_t columnsOf(std::string_view text);

// The first `rows` - 1 lines of UTF-8 text, each cut to `columns` columns; a last line says how
// many were left out.
std::string cutTo(const std::string& text, std::size_t rows, std::size_t columns);

// Clears the screen and writes as much of the text as the terminal on standard error or input
// shows.
std::string redrawn(const std::string& text);

// One line on standard error that is written over again and again; nothing at all where standard
// error is no terminal.
class ProgressLine {
 public:
  ProgressLine();
  ~ProgressLine() { clear(); }
  ProgressLine(const ProgressLine&) = delete;
  ProgressLine& operator=(const ProgressLine&) = delete;

  void show(const std::string& text);
  // To be called before anything else is written.
  void clear();

 private:
  bool terminal_;
  std::string shown_;
};

}  // namespace quorvid::app
