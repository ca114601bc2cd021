#include "apps/quorvid/TerminalText.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <sstream>

namespace quorvid::app {

namespace {

std::string cutLine(const std::string& line, std::size_t columns) {
  std::size_t characters = 0;
  for (std::size_t i = 0; i < line.size(); ++i) {
    const bool startsCharacter = (line[i] & 0xC0) != 0x80;
    if (startsCharacter && characters++ == columns) {
      return line.substr(0, i);
    }
  }
  return line;
}

winsize terminalSize() {
  winsize size{};
  for (const int fd : {STDERR_FILENO, STDIN_FILENO}) {
    if (ioctl(fd, TIOCGWINSZ, &size) == 0 && size.ws_row > 2 && size.ws_col > 0) {
      return size;
    }
  }
  size.ws_row = 24;
  size.ws_col = 80;
  return size;
}

}  // namespace

std::string cutTo(const std::string& text, std::size_t rows, std::size_t columns) {
  std::string result;
  std::istringstream lines(text);
  std::size_t shown = 0;
  std::size_t left = 0;
  for (std::string line; std::getline(lines, line);) {
    if (shown + 1 < rows) {
      result += cutLine(line, columns) + "\n";
      ++shown;
    } else {
      ++left;
    }
  }
  return left > 0 ? result + "... and " + std::to_string(left) + " more" : result;
}

std::string redrawn(const std::string& text) {
  const winsize size = terminalSize();
  return "\033[H\033[2J" + cutTo(text, size.ws_row, size.ws_col);
}

}  // namespace quorvid::app
