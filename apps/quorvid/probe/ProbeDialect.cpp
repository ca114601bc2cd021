#include "apps/quorvid/probe/ProbeDialect.h"

#include <fmt/format.h>

#include <algorithm>

#include "connection/QueryRequest.h"
#include "connection/VideoRequest.h"
#include "quorvid/connection/VehicleConnection.h"

namespace quorvid::app {

namespace {

constexpr std::int32_t kReplySucceeded = 0x8001;
constexpr std::int32_t kMostRelayExtra = 500;

std::vector<std::uint8_t> readPayload(ProbeSocket& socket, std::int32_t length) {
  if (length < 0 || length > QUORVID_FRAME_CAPACITY) {
    throw ProbeFailure(fmt::format("a frame states a length of {} bytes; at most {} are taken",
                                   length, int{QUORVID_FRAME_CAPACITY}));
  }
  std::vector<std::uint8_t> bytes(static_cast<std::size_t>(length));
  socket.read(bytes.data(), bytes.size(), "a frame");
  return bytes;
}

// The layouts of both are drawn in VehicleConnection.h.
class FleetDialect : public ProbeDialect {
 public:
  explicit FleetDialect(const StreamTarget& target) : target_(target) {}

  std::vector<std::uint8_t> request() const override {
    std::vector<std::uint8_t> record(kFleetRequestSize);
    InitRequestStringForFleet(record.data(), kFleetRequestSize, target_.channel, "", "",
                              target_.device.c_str(), "");
    return record;
  }
  const char* requestName() const override { return "fleet video request"; }

  std::string readAnswer(ProbeSocket& socket) override {
    const std::int32_t status = socket.readInt32("the answer");
    if (status != 0) {
      throw ProbeFailure(fmt::format("the server refuses the stream: answer status {}", status));
    }
    socket.skip(14, "the answer");
    return "accepted (status 0)";
  }

  ProbeFrame nextFrame(ProbeSocket& socket) override {
    std::uint8_t kind = 0;
    socket.read(&kind, 1, "a packet");
    if (kind != 'V' && kind != 'A') {
      throw ProbeFailure(fmt::format("a packet is of an unknown kind: {}", kind));
    }
    const std::int32_t length = socket.readInt32("a packet's length");
    socket.skip(14, "a packet's header");
    ProbeFrame frame;
    frame.isAudio = kind == 'A';
    frame.bytes = readPayload(socket, length);
    return frame;
  }

 private:
  StreamTarget target_;
};

class CarDialect : public ProbeDialect {
 public:
  CarDialect(const StreamTarget& target, std::string token)
      : target_(target), token_(std::move(token)) {}

  std::vector<std::uint8_t> request() const override {
    std::vector<std::uint8_t> record(kCarRequestSize);
    InitRequestStringForCar(record.data(), kCarRequestSize, target_.channel,
                            target_.account.c_str(), target_.password.c_str(),
                            target_.device.c_str(), token_.c_str());
    return record;
  }
  const char* requestName() const override { return "car video request"; }

  std::string readAnswer(ProbeSocket&) override { return "none on this path: frames follow"; }

  ProbeFrame nextFrame(ProbeSocket& socket) override {
    ProbeFrame frame;
    frame.garbage = socket.findTag({"3GTSV100"}, "a frame's tag");
    frame.garbage -= std::min(frame.garbage, unread_);
    unread_ = 0;
    const std::int32_t number = socket.readInt32("a frame's number");
    socket.skip(4, "a frame's header");
    const std::int32_t length = socket.readInt32("a frame's length");
    std::int8_t info[16];
    socket.read(info, sizeof info, "a frame's header");
    const auto expected = static_cast<std::int32_t>(static_cast<std::uint32_t>(lastNumber_) + 1);
    // A frame of type 3 needs the one before it.
    frame.isLeftOut = info[13] == 3 && number != expected;
    if (frame.isLeftOut) {
      unread_ =
          static_cast<std::size_t>(std::clamp<std::int32_t>(length, 0, QUORVID_FRAME_CAPACITY));
      return frame;
    }
    frame.bytes = readPayload(socket, length);
    lastNumber_ = number;
    return frame;
  }

 private:
  StreamTarget target_;
  std::string token_;
  std::int32_t lastNumber_ = 0;
  // Of the frame left out before: the library does not trust its length but looks for the next tag.
  std::size_t unread_ = 0;
};

}  // namespace

std::unique_ptr<ProbeDialect> fleetDialect(const StreamTarget& target) {
  return std::make_unique<FleetDialect>(target);
}

std::unique_ptr<ProbeDialect> carDialect(const StreamTarget& target, const std::string& token) {
  return std::make_unique<CarDialect>(target, token);
}

std::vector<std::uint8_t> relayRequest(const StreamTarget& target, const std::string& token) {
  std::vector<std::uint8_t> record(kQueryRequestSize);
  InitRequestStringGetRelayForCar(record.data(), kQueryRequestSize, target.channel,
                                  target.account.c_str(), target.password.c_str(),
                                  target.device.c_str(), token.c_str());
  return record;
}

RelayAnswer readRelayAnswer(ProbeSocket& socket) {
  socket.findTag({"3GAPV103", "3GAPV104", "3GAPV105"}, "the reply's tag");
  socket.skip(4, "the reply");
  const std::int32_t command = socket.readInt32("the reply");
  if (command != kReplySucceeded) {
    throw ProbeFailure(fmt::format("the lookup was refused: reply command {}", command));
  }
  const std::int32_t length = socket.readInt32("the reply");
  if (length < 8 || length - 8 > kMostRelayExtra) {
    throw ProbeFailure(fmt::format("the reply states a length of {} bytes", length));
  }
  socket.skip(104 + static_cast<std::size_t>(length - 8), "the reply");
  std::uint8_t quad[4];
  socket.read(quad, sizeof quad, "the relay's address");
  return {fmt::format("{}", fmt::join(quad, ".")), socket.readInt32AtOnce("the relay's port")};
}

}  // namespace quorvid::app
