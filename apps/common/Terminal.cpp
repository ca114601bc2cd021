#include "apps/common/Terminal.h"

#include <fmt/format.h>
#include <sys/ioctl.h>
#include <unistd.h>
#include <utf8.h>

#include <algorithm>
#include <clocale>
#include <cstdio>
#include <cwchar>
#include <iterator>
#include <limits>
#include <sstream>

namespace quorvid::app {

namespace {

// Characters that draw nothing of their own, or turn the direction of writing around.
constexpr std::uint32_t kInvisible[][2] = {
    {0x00AD, 0x00AD},    // soft hyphen
    {0x034F, 0x034F},    // grapheme joiner
    {0x061C, 0x061C},    // Arabic letter mark
    {0x115F, 0x1160},    // Hangul fillers
    {0x17B4, 0x17B5},    // Khmer inherent vowels
    {0x180B, 0x180F},    // Mongolian selectors and separator
    {0x200B, 0x200F},    // spaces without width, joiners, direction marks
    {0x2028, 0x202E},    // line and paragraph separator, embeddings, overrides
    {0x2060, 0x206F},    // word joiner, invisible operators, isolates
    {0x3164, 0x3164},    // Hangul filler
    {0xFE00, 0xFE0F},    // variation selectors
    {0xFEFF, 0xFEFF},    // byte order mark
    {0xFFA0, 0xFFA0},    // Hangul filler
    {0xFFF0, 0xFFFB},    // annotation marks
    {0x1BCA0, 0x1BCA3},  // shorthand controls
    {0x1D173, 0x1D17A},  // musical controls
    {0xE0000, 0xE0FFF},  // tags, more variation selectors
};

bool isControl(std::uint32_t code) {
  return code < 0x20 || (code >= 0x7F && code < 0xA0);
}

bool isInvisible(std::uint32_t code) {
  return std::any_of(std::begin(kInvisible), std::end(kInvisible),
                     [code](const auto& range) { return code >= range[0] && code <= range[1]; });
}

// What stands for a character that a terminal must not get, or for a byte that is part of none.
std::string replacementOf(std::uint32_t code, std::size_t size, Unseen style) {
  if (style == Unseen::Dotted) return std::string(size, '.');
  if (!isInvisible(code)) return fmt::format("\\x{:02x}", code);
  return code < 0x10000 ? fmt::format("\\u{:04x}", code) : fmt::format("\\U{:08x}", code);
}

// The C library knows the widths of characters in a locale only: this thread has one of Unicode
// while the object lives.
class UnicodeWidths {
 public:
  UnicodeWidths() : before_(uselocale(unicode())) {}
  ~UnicodeWidths() { uselocale(before_); }
  UnicodeWidths(const UnicodeWidths&) = delete;
  UnicodeWidths& operator=(const UnicodeWidths&) = delete;

  static std::size_t of(std::uint32_t code) {
    const int columns = unicode() != nullptr ? wcwidth(static_cast<wchar_t>(code)) : 1;
    return columns < 0 ? 1 : static_cast<std::size_t>(columns);
  }

 private:
  static locale_t unicode() {
    static const locale_t made = newlocale(LC_CTYPE_MASK, "C.UTF-8", nullptr);
    return made;
  }
  const locale_t before_;
};

// As much of the line, from its front, as `columns` have room for.
std::string_view fitting(std::string_view line, std::size_t columns, std::size_t* taken) {
  const UnicodeWidths widths;
  const auto* at = line.begin();
  const auto* const end = utf8::find_invalid(line.begin(), line.end());
  for (*taken = 0; at != end;) {
    const auto* next = at;
    const std::size_t width = UnicodeWidths::of(utf8::unchecked::next(next));
    if (*taken + width > columns) break;
    *taken += width;
    at = next;
  }
  return line.substr(0, static_cast<std::size_t>(at - line.begin()));
}

winsize terminalSize() {
  winsize size{};
  for (const int fd : {STDERR_FILENO, STDIN_FILENO}) {
    if (ioctl(fd, TIOCGWINSZ, &size) == 0 && size.ws_row > 2 && size.ws_col > 0) return size;
  }
  size.ws_row = 24;
  size.ws_col = 80;
  return size;
}

}  // namespace

std::string visibleText(std::string_view text, Unseen style) {
  std::string visible;
  const auto* at = text.begin();
  while (at != text.end()) {
    for (const auto* const invalid = utf8::find_invalid(at, text.end()); at != invalid;) {
      const auto* const start = at;
      const std::uint32_t code = utf8::unchecked::next(at);
      const auto size = static_cast<std::size_t>(at - start);
      if (isControl(code) || isInvisible(code)) {
        visible += replacementOf(code, size, style);
      } else {
        visible.append(start, size);
      }
    }
    if (at != text.end()) visible += replacementOf(static_cast<std::uint8_t>(*at++), 1, style);
  }
  return visible;
}

void note(const std::string& sentence) {
  fmt::print(stderr, "quorvid: {}\n", visibleText(sentence));
}

std::size_t columnsOf(std::string_view text) {
  std::size_t taken = 0;
  fitting(text, std::numeric_limits<std::size_t>::max(), &taken);
  return taken;
}

std::string cutTo(const std::string& text, std::size_t rows, std::size_t columns) {
  std::string result;
  std::istringstream lines(text);
  std::size_t shown = 0;
  std::size_t left = 0;
  for (std::string line; std::getline(lines, line);) {
    if (shown + 1 < rows) {
      std::size_t taken = 0;
      result.append(fitting(line, columns, &taken)) += "\n";
      ++shown;
    } else {
      ++left;
    }
  }
  return left > 0 ? result + fmt::format("... and {} more", left) : result;
}

std::string redrawn(const std::string& text) {
  const winsize size = terminalSize();
  return "\033[H\033[2J" + cutTo(text, size.ws_row, size.ws_col);
}

ProgressLine::ProgressLine() : terminal_(isatty(STDERR_FILENO) != 0) {}

void ProgressLine::show(const std::string& text) {
  if (terminal_ && text != shown_) {
    fmt::print(stderr, "\r{}\033[K", text);
    shown_ = text;
  }
}

void ProgressLine::clear() {
  if (!shown_.empty()) {
    std::fputs("\r\033[K", stderr);
    shown_.clear();
  }
}

}  // namespace quorvid::app
