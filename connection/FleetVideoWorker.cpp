// The fleet dialect: an answer, then packets that follow each other without a mark. The layouts are
// drawn in VehicleConnection.h.
#include <chrono>

#include "connection/PrintedLine.h"
#include "connection/VideoRequest.h"
#include "connection/VideoWorker.h"

namespace quorvid {
namespace {

class FleetVideoWorker final : public VideoWorker {
 public:
  FleetVideoWorker(const VideoCall& call, StreamObserver* observer) : VideoWorker(call, observer) {}

 private:
  enum State : std::int32_t { kReadAnswer = 801, kReadHeader = 802, kReadPayload = 803 };
  enum PacketKind : std::uint8_t { kVideo = 'V', kDropped = 'A' };

  std::int32_t beginConnection() override;
  std::int32_t sendRequest(std::int32_t socket) override;
  std::int32_t step(std::int32_t state) override;

  std::int32_t readAnswer();
  std::int32_t readHeader();
  std::int32_t readPayload();

  // Zero at the start of a connection, so that a peer that closes before its first header fails;
  // after that a field that does not arrive keeps its last value.
  std::int32_t answerStatus_ = 0;
  std::uint8_t packetKind_ = 0;
  std::int32_t payloadLen_ = 0;
};

std::int32_t FleetVideoWorker::beginConnection() {
  answerStatus_ = 0;
  packetKind_ = 0;
  payloadLen_ = 0;
  return kReadAnswer;
}

std::int32_t FleetVideoWorker::sendRequest(std::int32_t socket) {
  return SendRequestForFleet(socket, source().channel, source().acc, source().pwd, call().timestamp,
                             call().carId);
}

std::int32_t FleetVideoWorker::step(std::int32_t state) {
  switch (state) {
    case kReadAnswer:
      return readAnswer();
    case kReadHeader:
      return readHeader();
    case kReadPayload:
      return readPayload();
    default:
      return state;
  }
}

std::int32_t FleetVideoWorker::readAnswer() {
  if (!receiveField(&answerStatus_, 4)) return kBroken;
  if (answerStatus_ != 0) return broken(StreamEvent::Refused, answerStatus_);
  if (!discard(4) || !discard(10)) return kBroken;
  tell(StreamEvent::Accepted);
  return kReadHeader;
}

// Each field is judged before the next is read: of a stream that is out of step, no length is used.
std::int32_t FleetVideoWorker::readHeader() {
  if (!receiveField(&packetKind_, 1)) return kBroken;
  if (packetKind_ != kVideo && packetKind_ != kDropped) {
    return broken(StreamEvent::UnknownKind, packetKind_);
  }
  if (!receiveField(&payloadLen_, 4)) return kBroken;
  if (!isPayloadLength(payloadLen_)) return broken(StreamEvent::WrongLength, payloadLen_);
  return discard(4) && discard(10) ? kReadPayload : kBroken;
}

std::int32_t FleetVideoWorker::readPayload() {
  if (packetKind_ == kVideo) {
    const std::optional<int> waits = waitForConsumer(std::chrono::milliseconds(1));
    if (waits) printLine("Wait to canGetFrame %d\n", *waits);
  }
  const std::int32_t count = receivePayload(payloadLen_);
  if (count < 0) return kBroken;
  if (packetKind_ == kVideo) deliver(count);
  return kReadHeader;
}

}  // namespace

std::int32_t runFleetVideo(const VideoCall& call, StreamObserver* observer) {
  return FleetVideoWorker(call, observer).run();
}

}  // namespace quorvid

std::int32_t ThreadVideoSourceForFleet(const char* host, std::int32_t mediaPort,
                                       std::int32_t cmdPort, std::int32_t channel, const char* acc,
                                       const char* pwd, std::uint8_t* isCancel,
                                       const char* timestamp, const char* carId,
                                       std::uint8_t* canGetFrame, std::uint8_t* frameData,
                                       std::int32_t* frameLen) {
  return quorvid::runFleetVideo({host, mediaPort, cmdPort, channel, acc, pwd, isCancel, timestamp,
                                 carId, canGetFrame, frameData, frameLen},
                                nullptr);
}
