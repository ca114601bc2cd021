// Arguments: what the commands take from the command line, checked before the library sees it.
//
// Everything here throws UsageError with one sentence; main() prints it and exits with 2.
#pragma once

#include <cstddef>
#include <cstdint>
#include <stdexcept>
#include <string>
#include <vector>

namespace quorvid::app {

class UsageError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

struct Endpoint {
  std::string host;
  int port = 0;
  std::string text() const { return host + ":" + std::to_string(port); }
};

struct PixelSize {
  int width = 0;
  int height = 0;
  std::string text() const { return std::to_string(width) + "x" + std::to_string(height); }
};

// How a stream is reached: the fleet server itself, a car server itself, or the car server that a
// lookup server names.
enum class StreamPath : std::uint8_t { Fleet, Car, Relay };
const char* nameOf(StreamPath path);

// One camera channel of one device on one server.
struct StreamTarget {
  Endpoint server;
  StreamPath path = StreamPath::Fleet;
  std::string device;
  int channel = 0;
  std::string account;
  std::string password;
};

// An account on a server, for the queries.
struct AccountTarget {
  Endpoint server;
  std::string account;
  std::string password;
};

// "HOST:PORT": a name or dotted IPv4 address and a port of 1 to 65535.
Endpoint parseEndpoint(const std::string& text);
// "N[,N...]": channels of 0 to 7, each once.
std::vector<int> parseChannels(const std::string& text);
// "WxH": 16 to 8192 pixels each.
PixelSize parseSize(const std::string& text);
// "N", "NK", "NM", "NG": bytes, the letters standing for powers of 1024; 64K to 1048576G.
std::int64_t parseFileLimit(const std::string& text);
StreamPath parsePath(const std::string& text);
// Refuses a text of more than `most` bytes; `what` names it in the sentence.
void requireFits(const std::string& what, const std::string& text, std::size_t most);
// Refuses a target whose texts do not fit the records of its path.
void requireFits(const StreamTarget& target);
void requireFits(const AccountTarget& target);
// Refuses a number that is not within the bounds; `option` names it in the sentence.
void requireWithin(const std::string& option, double value, double least, double most);
// Refuses a file that could not be written: a folder, a missing folder, no permission.
void requireWritable(const std::string& fileName);

}  // namespace quorvid::app
