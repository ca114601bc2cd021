#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

// Bytes on the wire, written by hand: what the simulator must understand and say.
using WireBytes = std::vector<std::uint8_t>;

WireBytes fleetRequest(const std::string& device, int channel);
WireBytes carRequest(const std::string& device, int channel);
WireBytes listRequest();
WireBytes relayRequest(const std::string& device, int channel);
std::int32_t int32At(const WireBytes& bytes, std::size_t at);

// One frame of a stream.
struct WireFrame {
  char kind = 'V';           // fleet only
  std::uint32_t number = 0;  // car only
  int type = 0;              // car only
  WireBytes payload;

  bool key() const { return payload.size() > 4 && (payload[4] & 31) == 7; }
};

// A connection over a plain socket. Reading gives up after 10 s of silence, or a minute.
class WireClient {
 public:
  enum class End { None, Order, Reset, Silence };

  WireClient(int port, const WireBytes& request);
  ~WireClient();
  WireClient(const WireClient&) = delete;
  WireClient& operator=(const WireClient&) = delete;

  bool connected() const { return socket_ >= 0; }
  void finishSending() const;
  // Up to `count` bytes; fewer at the end, which end() then tells.
  WireBytes read(std::size_t count);
  // What one call of recv() gives, at most `count` bytes.
  WireBytes readSome(std::size_t count);
  // All there is up to the end. @param seconds of silence that count as the end
  WireBytes readAll(int seconds = 10);
  std::optional<WireFrame> fleetFrame();
  std::optional<WireFrame> carFrame();
  End end() const { return end_; }

 private:
  std::optional<WireFrame> withPayload(WireFrame frame, std::int32_t length);

  int socket_;
  End end_ = End::None;
};
