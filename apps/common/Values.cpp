#include "apps/common/Values.h"

#include <fmt/format.h>
#include <fmt/ranges.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cstring>
#include <filesystem>
#include <optional>
#include <string_view>

#include "apps/common/Failure.h"
#include "apps/common/Terminal.h"
#include "apps/common/Words.h"

namespace quorvid::app {

namespace {

// A whole decimal number within bounds and nothing else: no sign, no blank, no base of its own.
template <typename Number>
std::optional<Number> number(std::string_view text, Number least, Number most) {
  Number value = 0;
  const char* end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, value);
  if (error != std::errc() || stop != end || value < least || value > most) return std::nullopt;
  return value;
}

}  // namespace

Endpoint parseEndpoint(const std::string& text) {
  const std::size_t colon = text.rfind(':');
  if (colon == std::string::npos || colon == 0) {
    throw Failure(fmt::format("the server must be given as HOST:PORT, not '{}'", text));
  }
  const std::string host = text.substr(0, colon);
  if (host.find(':') != std::string::npos) {
    throw Failure(fmt::format("only names and IPv4 addresses can be reached, not '{}'", host));
  }
  requireFits("the host name", host, 253);
  if (visibleText(host) != host) {
    throw Failure(fmt::format("the host name has characters that no name has: '{}'", host));
  }
  const std::string digits = text.substr(colon + 1);
  const std::optional<int> port = number(digits, 1, 65535);
  if (!port) {
    throw Failure(fmt::format("the port must be a number from 1 to 65535, not '{}'", digits));
  }
  return {host, *port};
}

std::vector<int> parseChannels(const std::string& text) {
  std::vector<int> channels;
  for (std::size_t from = 0; from <= text.size();) {
    const std::size_t comma = std::min(text.find(',', from), text.size());
    const std::string digits = text.substr(from, comma - from);
    const std::optional<int> channel = number(digits, 0, 7);
    if (!channel) {
      throw Failure(fmt::format("a channel must be a number from 0 to 7, not '{}'", digits));
    }
    if (std::find(channels.begin(), channels.end(), *channel) != channels.end()) {
      throw Failure(fmt::format("channel {} is given twice", digits));
    }
    channels.push_back(*channel);
    from = comma + 1;
  }
  return channels;
}

PixelSize parseSize(const std::string& text) {
  const std::size_t cross = std::min(text.find('x'), text.size());
  const std::string_view sides = text;
  const auto width = number(sides.substr(0, cross), 16, 8192);
  const auto height = number(sides.substr(std::min(cross + 1, text.size())), 16, 8192);
  if (width && height) return {*width, *height};
  throw Failure(
      fmt::format("the size must be given as WxH with 16 to 8192 pixels each, not '{}'", text));
}

double parseAspect(const std::string& text) {
  if (text == "stream") return 0;
  if (text == "fill") return -1;
  const std::size_t colon = std::min(text.find(':'), text.size());
  const std::string_view sides = text;
  const auto width = number(sides.substr(0, colon), 1, 9999);
  const auto height = number(sides.substr(std::min(colon + 1, text.size())), 1, 9999);
  const double ratio = width && height ? static_cast<double>(*width) / *height : 0;
  if (ratio >= 0.1 && ratio <= 10) return ratio;
  const std::string meant = nearestWord(text, {"stream", "fill"});
  if (!meant.empty()) throw Failure(unknownWord("aspect", text, {meant}));
  throw Failure(
      fmt::format("the aspect must be stream, fill, or W:H from 1:10 to 10:1, not '{}'", text));
}

std::int64_t parseFileLimit(const std::string& text) {
  constexpr std::int64_t kLeast = 64 << 10;
  constexpr std::int64_t kMost = std::int64_t{1} << 50;
  if (text.empty()) return 0;
  const std::size_t letter = std::string_view("KMGkmg").find(text.back());
  const bool hasLetter = letter != std::string_view::npos;
  const std::size_t shift = hasLetter ? 10 * (letter % 3 + 1) : 0;
  const std::string_view digits(text.data(), text.size() - (hasLetter ? 1 : 0));
  const auto value = number(digits, kLeast >> shift, kMost >> shift);
  if (value) return *value << shift;
  throw Failure(
      fmt::format("--limit must be a size such as 500M or 2G (K, M, G: powers of 1024), "
                  "at least 64K, not '{}'",
                  text));
}

void requireFits(const char* what, const std::string& text, std::size_t most) {
  if (text.size() > most) {
    throw Failure(fmt::format("{} has {} bytes; at most {} fit", what, text.size(), most));
  }
  if (text.find('\0') != std::string::npos) {
    throw Failure(fmt::format("{} contains a zero byte", what));
  }
}

void requireWritable(const std::string& fileName) {
  std::error_code error;
  const bool exists = std::filesystem::exists(fileName, error);
  if (std::filesystem::is_directory(fileName, error)) {
    throw Failure(fmt::format("can't write '{}': it is a folder", fileName));
  }
  if (!exists) {
    return requireFolder(std::filesystem::absolute(fileName).parent_path().string());
  }
  if (access(fileName.c_str(), W_OK) != 0) {
    throw Failure(fmt::format("can't write '{}': {}", fileName, std::strerror(errno)));
  }
}

void requireFolder(const std::string& folder) {
  std::error_code error;
  if (!std::filesystem::exists(folder, error)) {
    throw Failure(fmt::format("there is no folder '{}'", folder));
  }
  if (!std::filesystem::is_directory(folder, error)) {
    throw Failure(fmt::format("'{}' is no folder", folder));
  }
  if (access(folder.c_str(), W_OK | X_OK) != 0) {
    throw Failure(
        fmt::format("can't write into the folder '{}': {}", folder, std::strerror(errno)));
  }
}

void requireEnding(const char* what, const std::string& fileName,
                   const std::vector<std::string>& endings) {
  const auto is = [&fileName](const std::string& ending) { return fileName.ends_with(ending); };
  if (std::any_of(endings.begin(), endings.end(), is)) return;
  throw Failure(
      fmt::format("{} must end in {}: '{}' does not", what, fmt::join(endings, ", "), fileName));
}

}  // namespace quorvid::app
