#include "apps/common/Arguments.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cstdio>
#include <cstring>
#include <optional>

#include "apps/common/TerminalText.h"

namespace quorvid::app {

namespace {

// Width of the text fields in the requests, less the closing NUL.
constexpr std::size_t kLongestText = 31;
constexpr std::size_t kLongestFleetDevice = 31;
constexpr std::size_t kLongestCarDevice = 63;
// The car path sends "account-12345678" in a text field of its own.
constexpr std::size_t kLongestCarAccount = kLongestText - 9;
constexpr std::size_t kLongestHost = 253;

// A whole decimal number within bounds and nothing else.
std::optional<int> number(const std::string& text, int least, int most) {
  int value = 0;
  const char* end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, value);
  if (error != std::errc() || stop != end || value < least || value > most) return std::nullopt;
  return value;
}

std::string quoted(const std::string& text) {
  return "'" + text + "'";
}

}  // namespace

const char* nameOf(StreamPath path) {
  switch (path) {
    case StreamPath::Car:
      return "car";
    case StreamPath::Relay:
      return "relay";
    case StreamPath::Fleet:
      break;
  }
  return "fleet";
}

Endpoint parseEndpoint(const std::string& text) {
  const std::size_t colon = text.rfind(':');
  if (colon == std::string::npos || colon == 0) {
    throw UsageError("the server must be given as HOST:PORT, not " + quoted(text));
  }
  Endpoint endpoint{text.substr(0, colon), 0};
  if (endpoint.host.find(':') != std::string::npos) {
    throw UsageError("only names and IPv4 addresses can be reached, not " + quoted(endpoint.host));
  }
  requireFits("the host name", endpoint.host, kLongestHost);
  if (visibleText(endpoint.host) != endpoint.host) {
    throw UsageError("the host name has characters that no name has: " + quoted(endpoint.host));
  }
  const std::string digits = text.substr(colon + 1);
  const std::optional<int> port = number(digits, 1, 65535);
  if (!port) throw UsageError("the port must be a number from 1 to 65535, not " + quoted(digits));
  endpoint.port = *port;
  return endpoint;
}

std::vector<int> parseChannels(const std::string& text) {
  std::vector<int> channels;
  std::size_t from = 0;
  while (from <= text.size()) {
    const std::size_t comma = std::min(text.find(',', from), text.size());
    const std::string digits = text.substr(from, comma - from);
    const std::optional<int> channel = number(digits, 0, 7);
    if (!channel) throw UsageError("a channel must be a number from 0 to 7, not " + quoted(digits));
    if (std::find(channels.begin(), channels.end(), *channel) != channels.end()) {
      throw UsageError("channel " + digits + " is given twice");
    }
    channels.push_back(*channel);
    from = comma + 1;
  }
  return channels;
}

PixelSize parseSize(const std::string& text) {
  const std::size_t cross = text.find('x');
  if (cross != std::string::npos) {
    const std::optional<int> width = number(text.substr(0, cross), 16, 8192);
    const std::optional<int> height = number(text.substr(cross + 1), 16, 8192);
    if (width && height) return {*width, *height};
  }
  throw UsageError("the size must be given as WxH with 16 to 8192 pixels each, not " +
                   quoted(text));
}

std::int64_t parseFileLimit(const std::string& text) {
  constexpr std::int64_t kLeast = 64 << 10;
  constexpr std::int64_t kMost = std::int64_t{1} << 50;
  std::int64_t value = 0;
  const char* end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, value);
  const std::string letters = "KMGkmg";
  const std::size_t letter = stop + 1 == end ? letters.find(*stop) : std::string::npos;
  const std::size_t shift = letter != std::string::npos ? 10 * (letter % 3 + 1) : 0;
  const bool isSize = error == std::errc() && (stop == end || shift > 0);
  if (!isSize || value < (kLeast >> shift) || value > (kMost >> shift)) {
    throw UsageError(
        "--limit must be a size such as 500M or 2G (K, M, G: powers of 1024), at least "
        "64K, not " +
        quoted(text));
  }
  return value << shift;
}

StreamPath parsePath(const std::string& text) {
  for (const StreamPath path : {StreamPath::Fleet, StreamPath::Car, StreamPath::Relay}) {
    if (text == nameOf(path)) return path;
  }
  throw UsageError("the path must be fleet, car or relay, not " + quoted(text));
}

void requireFits(const std::string& what, const std::string& text, std::size_t most) {
  if (text.size() > most) {
    throw UsageError(what + " has " + std::to_string(text.size()) + " bytes; at most " +
                     std::to_string(most) + " fit");
  }
  if (text.find('\0') != std::string::npos) throw UsageError(what + " contains a zero byte");
}

void requireFits(const StreamTarget& target) {
  const bool fleet = target.path == StreamPath::Fleet;
  if (target.device.empty()) throw UsageError("the device identifier is empty");
  requireFits("the device identifier", target.device,
              fleet ? kLongestFleetDevice : kLongestCarDevice);
  requireFits(fleet ? "the account" : "the account for this path", target.account,
              fleet ? kLongestText : kLongestCarAccount);
}

void requireFits(const AccountTarget& target) {
  requireFits("the account", target.account, kLongestText);
}

void requireWithin(const std::string& option, double value, double least, double most) {
  if (!(value >= least && value <= most)) {
    char bounds[60];
    std::snprintf(bounds, sizeof bounds, "from %g to %g", least, most);
    throw UsageError(option + " must be a number " + bounds);
  }
}

void requireWritable(const std::string& fileName) {
  if (fileName.empty()) throw UsageError("the name of a file to write is empty");
  struct stat info {};
  const bool exists = stat(fileName.c_str(), &info) == 0;
  if (exists && S_ISDIR(info.st_mode)) {
    throw UsageError("can't write " + quoted(fileName) + ": it is a folder");
  }
  const std::size_t slash = fileName.rfind('/');
  const std::string folder = slash == std::string::npos ? "." : fileName.substr(0, slash + 1);
  const std::string& place = exists ? fileName : folder;
  if (access(place.c_str(), W_OK) != 0) {
    throw UsageError("can't write " + quoted(fileName) + ": " + std::strerror(errno));
  }
}

}  // namespace quorvid::app
