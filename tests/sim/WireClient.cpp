#include "sim/WireClient.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>

#include "quorvid/connection/VehicleConnection.h"

namespace {

void put(WireBytes& record, std::size_t at, const std::string& text) {
  for (const char c : text) record.at(at++) = static_cast<std::uint8_t>(c);
}

void put32(WireBytes& record, std::size_t at, std::int32_t value) {
  for (int i = 0; i < 4; ++i) record.at(at++) = static_cast<std::uint8_t>(value >> 8 * i);
}

WireBytes queryRequest(std::int32_t command, std::int32_t size) {
  WireBytes record(500);
  put(record, 0, "3GAPV104");
  put32(record, 8, 1);
  put32(record, 12, command);
  put32(record, 16, size);
  put(record, 20, "tester");
  put(record, 52, "secret");
  return record;
}

void setTimeout(int socket, int seconds) {
  const timeval time{seconds, 0};
  setsockopt(socket, SOL_SOCKET, SO_RCVTIMEO, &time, sizeof time);
}

}  // namespace

WireBytes fleetRequest(const std::string& device, int channel) {
  WireBytes record(81);
  put(record, 0, "001");
  put(record, 3, device);
  put(record, 35, std::to_string(channel / 10) + std::to_string(channel % 10) + "L");
  return record;
}

WireBytes carRequest(const std::string& device, int channel) {
  WireBytes record(500);
  put(record, 0, "3GTXV100");
  put32(record, 8, 2);
  put32(record, 12, 164);
  put(record, 16, "tester");
  put(record, 48, "secret");
  put(record, 80, "tester-12345678");
  put(record, 112, device);
  record[176] = 2;
  record[177] = 1;
  record[178] = static_cast<std::uint8_t>(channel + 1);
  return record;
}

WireBytes listRequest() {
  return queryRequest(130, 284);
}

WireBytes relayRequest(const std::string& device, int channel) {
  WireBytes record = queryRequest(134, 104);
  put32(record, 116, 1);
  put32(record, 120, 104);
  put32(record, 124, 1);
  put(record, 128, device);
  put32(record, 192, channel + 1);
  return record;
}

std::int32_t int32At(const WireBytes& bytes, std::size_t at) {
  return static_cast<std::int32_t>(bytes.at(at) | bytes.at(at + 1) << 8 | bytes.at(at + 2) << 16 |
                                   static_cast<std::uint32_t>(bytes.at(at + 3)) << 24);
}

WireClient::WireClient(int port, const WireBytes& request)
    : socket_(socket(AF_INET, SOCK_STREAM, 0)) {
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_port = htons(static_cast<std::uint16_t>(port));
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  if (connect(socket_, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
    close(socket_);
    socket_ = -1;
    return;
  }
  setTimeout(socket_, 10);
  send(socket_, request.data(), request.size(), MSG_NOSIGNAL);
}

WireClient::~WireClient() {
  if (socket_ >= 0) close(socket_);
}

void WireClient::finishSending() const {
  shutdown(socket_, SHUT_WR);
}

WireBytes WireClient::readSome(std::size_t count) {
  WireBytes bytes(count);
  const ssize_t got = recv(socket_, bytes.data(), count, 0);
  if (got == 0) end_ = End::Order;
  if (got < 0) end_ = errno == ECONNRESET ? End::Reset : End::Silence;
  bytes.resize(got > 0 ? static_cast<std::size_t>(got) : 0);
  return bytes;
}

WireBytes WireClient::read(std::size_t count) {
  const auto end = std::chrono::steady_clock::now() + std::chrono::minutes(1);
  WireBytes bytes;
  while (bytes.size() < count && end_ == End::None && std::chrono::steady_clock::now() < end) {
    const WireBytes some = readSome(count - bytes.size());
    bytes.insert(bytes.end(), some.begin(), some.end());
  }
  return bytes;
}

WireBytes WireClient::readAll(int seconds) {
  setTimeout(socket_, seconds);
  return read(100'000'000);
}

std::optional<WireFrame> WireClient::withPayload(WireFrame frame, std::int32_t length) {
  if (length < 0 || length > QUORVID_FRAME_CAPACITY) return std::nullopt;
  frame.payload = read(static_cast<std::size_t>(length));
  if (end_ != End::None) return std::nullopt;
  return frame;
}

std::optional<WireFrame> WireClient::fleetFrame() {
  const WireBytes header = read(19);
  if (header.size() < 19) return std::nullopt;
  WireFrame frame;
  frame.kind = static_cast<char>(header[0]);
  return withPayload(std::move(frame), int32At(header, 1));
}

std::optional<WireFrame> WireClient::carFrame() {
  const WireBytes header = read(36);
  if (header.size() < 36 || std::string(header.begin(), header.begin() + 8) != "3GTSV100") {
    return std::nullopt;
  }
  WireFrame frame;
  frame.number = static_cast<std::uint32_t>(int32At(header, 8));
  frame.type = header[33];
  return withPayload(std::move(frame), int32At(header, 16));
}
