// What the simulator must understand and say, over plain sockets.
#pragma once

#include <arpa/inet.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstring>
#include <optional>
#include <string>
#include <vector>

#include "connection/QueryRequest.h"
#include "connection/VideoRequest.h"
#include "quorvid/connection/VehicleConnection.h"

using WireBytes = std::vector<std::uint8_t>;

// Requests as the library writes them, which its own tests hold to each byte.
inline WireBytes fleetRequest(const char* device, int channel) {
  WireBytes record(81);
  quorvid::InitRequestStringForFleet(record.data(), 81, channel, "", "", device, "");
  return record;
}
inline WireBytes carRequest(const char* device, int channel) {
  WireBytes record(500);
  quorvid::InitRequestStringForCar(record.data(), 500, channel, "tester", "secret", device, "now");
  return record;
}
inline WireBytes listRequest() {
  WireBytes record(500);
  quorvid::InitRequestStringGetListForCar(record.data(), 500, "tester", "secret", "");
  return record;
}
inline WireBytes relayRequest(const char* device, int channel) {
  WireBytes record(500);
  quorvid::InitRequestStringGetRelayForCar(record.data(), 500, channel, "tester", "secret", device,
                                           "now");
  return record;
}

inline std::int32_t int32At(const WireBytes& bytes, std::size_t at) {
  return static_cast<std::int32_t>(bytes.at(at) | bytes.at(at + 1) << 8 | bytes.at(at + 2) << 16 |
                                   static_cast<std::uint32_t>(bytes.at(at + 3)) << 24);
}
inline std::string textAt(const WireBytes& bytes, std::size_t at) {
  return reinterpret_cast<const char*>(bytes.data() + at);
}

// One frame of a stream.
struct WireFrame {
  WireBytes header, payload;
  bool key() const { return payload.size() > 4 && (payload[4] & 31) == 7; }
};

// A connection over a plain socket. Reading gives up after 10 s of silence, or a minute.
class WireClient {
 public:
  enum class End { None, Order, Reset, Silence };

  WireClient(int port, const WireBytes& request) : socket_(socket(AF_INET, SOCK_STREAM, 0)) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(static_cast<std::uint16_t>(port));
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    isConnected_ = connect(socket_, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0;
    setTimeout(10);
    send(socket_, request.data(), request.size(), MSG_NOSIGNAL);
  }
  ~WireClient() { close(socket_); }
  WireClient(const WireClient&) = delete;
  WireClient& operator=(const WireClient&) = delete;

  bool connected() const { return isConnected_; }
  void finishSending() const { shutdown(socket_, SHUT_WR); }
  // What one call of recv() gives, at most `count` bytes.
  WireBytes readSome(std::size_t count) {
    WireBytes bytes(count);
    const ssize_t got = recv(socket_, bytes.data(), count, 0);
    if (got == 0) end_ = End::Order;
    if (got < 0) end_ = errno == ECONNRESET ? End::Reset : End::Silence;
    bytes.resize(got > 0 ? static_cast<std::size_t>(got) : 0);
    return bytes;
  }
  // Up to `count` bytes; fewer at the end, which end() then tells.
  WireBytes read(std::size_t count) {
    const auto end = std::chrono::steady_clock::now() + std::chrono::minutes(1);
    WireBytes bytes;
    while (bytes.size() < count && end_ == End::None && std::chrono::steady_clock::now() < end) {
      const WireBytes some = readSome(count - bytes.size());
      bytes.insert(bytes.end(), some.begin(), some.end());
    }
    return bytes;
  }
  // All there is up to the end. @param seconds of silence that count as the end
  WireBytes readAll(int seconds = 10) {
    setTimeout(seconds);
    return read(100'000'000);
  }
  std::optional<WireFrame> fleetFrame() { return frame(19, 1); }
  std::optional<WireFrame> carFrame() { return frame(36, 16); }
  End end() const { return end_; }

 private:
  void setTimeout(int seconds) const {
    const timeval time{seconds, 0};
    setsockopt(socket_, SOL_SOCKET, SO_RCVTIMEO, &time, sizeof time);
  }
  std::optional<WireFrame> frame(std::size_t headerSize, std::size_t lengthAt) {
    WireFrame frame{read(headerSize), {}};
    if (frame.header.size() < headerSize) return std::nullopt;
    const std::int32_t length = int32At(frame.header, lengthAt);
    if (length < 0 || length > QUORVID_FRAME_CAPACITY) return std::nullopt;
    frame.payload = read(static_cast<std::size_t>(length));
    return end_ == End::None ? std::optional(frame) : std::nullopt;
  }

  int socket_;
  bool isConnected_ = false;
  End end_ = End::None;
};
