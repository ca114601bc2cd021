// Target: what a command is pointed at. Plain values.
#pragma once

#include <cstdint>
#include <string>

namespace quorvid::app {

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

inline const char* nameOf(StreamPath path) {
  static constexpr const char* kNames[] = {"fleet", "car", "relay"};
  return kNames[static_cast<int>(path)];
}

// An account on a server.
struct AccountTarget {
  Endpoint server;
  std::string account;
  std::string password;
};

// One camera channel of one device.
struct StreamTarget : AccountTarget {
  StreamPath path = StreamPath::Fleet;
  std::string device;
  int channel = 0;
};

}  // namespace quorvid::app
