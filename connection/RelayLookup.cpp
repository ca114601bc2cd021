// ThreadGetRelayForCar: asks where a device's stream is served, then streams from there.
#include <array>
#include <cstdio>

#include "connection/QueryReply.h"
#include "connection/QueryRequest.h"
#include "connection/ServerConnection.h"
#include "connection/Socket.h"
#include "connection/WireRecord.h"
#include "quorvid/connection/VehicleConnection.h"

namespace quorvid {
namespace {

struct Relay {
  std::array<char, 50> address{};  // dotted quad
  std::int32_t port = 0;
};

// The address and the port are taken with single reads: a reply that comes in pieces there fails.
bool readReply(std::int32_t fd, Relay& relay) {
  // The tag window first, then what is skipped; also the most that may be skipped.
  std::array<std::uint8_t, 500> scratch{};
  std::int32_t replyLen = 0;
  if (!findReplyTag(fd, scratch.data()) || !readReplyStart(fd, replyLen)) return false;
  if (!receiveWhole(fd, scratch.data(), 104)) return false;
  const std::int32_t skipped = replyLen - 8;
  if (skipped > static_cast<std::int32_t>(scratch.size())) return false;
  if (!receiveWhole(fd, scratch.data(), skipped)) return false;
  std::uint8_t quad[4];
  for (std::uint8_t& part : quad) {
    if (!receiveAtOnce(fd, &part, 1)) return false;
  }
  snprintf(relay.address.data(), relay.address.size(), "%d.%d.%d.%d", quad[0], quad[1], quad[2],
           quad[3]);
  return receiveAtOnce(fd, &relay.port, 4);
}

bool lookUp(const char* host, std::int32_t port, std::int32_t channel, const char* acc,
            const char* pwd, const std::uint8_t* isCancel, const char* timestamp, const char* carId,
            Relay& relay) {
  Socket socket(isCancel);
  const std::int32_t connected = ConnectToServer(host, port);
  if (connected == -1) return false;
  if (SendRequestGetRelayForCar(connected, channel, acc, pwd, timestamp, carId) == -1) return false;
  socket.adopt(connected);
  return readReply(socket.descriptor(), relay);
}

}  // namespace
}  // namespace quorvid

std::int32_t ThreadGetRelayForCar(const char* host, std::int32_t port, std::int32_t cmdPort,
                                  std::int32_t channel, const char* acc, const char* pwd,
                                  std::uint8_t* isCancel, const char* timestamp, const char* carId,
                                  std::uint8_t* canGetFrame, std::uint8_t* frameData,
                                  std::int32_t* frameLen) {
  quorvid::Relay relay;
  if (!quorvid::lookUp(host, port, channel, acc, pwd, isCancel, timestamp, carId, relay)) return -1;
  ThreadVideoSourceForCar(relay.address.data(), relay.port, cmdPort, channel, acc, pwd, isCancel,
                          timestamp, carId, canGetFrame, frameData, frameLen);
  return 0;
}
