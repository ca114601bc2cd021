// ThreadGetRelayForCar: asks where a device's stream is served, then streams from there.
#include <array>
#include <cerrno>
#include <cstdio>

#include "connection/QueryReply.h"
#include "connection/QueryRequest.h"
#include "connection/ServerConnection.h"
#include "connection/Socket.h"
#include "connection/StreamObserver.h"
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

void tell(StreamObserver* observer, StreamEvent event, std::int32_t detail) {
  if (observer != nullptr) observer->told(event, detail);
}

bool lookUp(const VideoCall& call, StreamObserver* observer, Relay& relay) {
  Socket socket(call.isCancel);
  const std::int32_t connected = openConnection(call.host, call.mediaPort, observer, &socket);
  if (connected == -1) return false;
  if (SendRequestGetRelayForCar(connected, call.channel, call.acc, call.pwd, call.timestamp,
                                call.carId) == -1) {
    tell(observer, StreamEvent::Unsent, errno);
    return false;
  }
  socket.adopt(connected);
  tell(observer, StreamEvent::Connected, 0);
  errno = 0;
  const bool found = readReply(socket.descriptor(), relay);
  if (found) {
    tell(observer, StreamEvent::RelayFound, relay.port);
  } else if (!socket.wasInterrupted()) {
    tell(observer, StreamEvent::NoRelay, errno);
  }
  return found;
}

}  // namespace

std::int32_t runRelayVideo(const VideoCall& call, StreamObserver* observer) {
  Relay relay;
  if (!lookUp(call, observer, relay)) return -1;
  VideoCall stream = call;
  stream.host = relay.address.data();
  stream.mediaPort = relay.port;
  runCarVideo(stream, observer);
  return 0;
}

}  // namespace quorvid

std::int32_t ThreadGetRelayForCar(const char* host, std::int32_t port, std::int32_t cmdPort,
                                  std::int32_t channel, const char* acc, const char* pwd,
                                  std::uint8_t* isCancel, const char* timestamp, const char* carId,
                                  std::uint8_t* canGetFrame, std::uint8_t* frameData,
                                  std::int32_t* frameLen) {
  return quorvid::runRelayVideo({host, port, cmdPort, channel, acc, pwd, isCancel, timestamp, carId,
                                 canGetFrame, frameData, frameLen},
                                nullptr);
}
