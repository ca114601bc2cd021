// The car dialect: frames that each begin with a tag, so that the stream is found again after any
// damage, and that are numbered, so that frames which need a lost one are left out. The layout is
// drawn in VehicleConnection.h.
#include <chrono>

#include "connection/VideoRequest.h"
#include "connection/VideoWorker.h"
#include "connection/WireRecord.h"

namespace quorvid {
namespace {

class CarVideoWorker final : public VideoWorker {
 public:
  CarVideoWorker(const VideoCall& call, StreamObserver* observer) : VideoWorker(call, observer) {}

 private:
  enum State : std::int32_t { kFindTag = 2, kReadFrame = 101 };
  static constexpr std::int8_t kNeedsPrevious = 3;  // the frame type that continuity is asked of

  std::int32_t beginConnection() override;
  std::int32_t sendRequest(std::int32_t socket) override;
  std::int32_t step(std::int32_t state) override;

  std::int32_t findTag();
  std::int32_t readFrame();
  bool receiveHeader();
  bool isOutOfSequence() const;

  std::int32_t lastSeq_ = 0;  // of the last accepted frame of this connection
  std::int32_t frameSeq_ = 0;
  std::int32_t payloadLen_ = 0;
  std::int8_t info_[16] = {};
};

std::int32_t CarVideoWorker::beginConnection() {
  lastSeq_ = 0;
  frameSeq_ = 0;
  payloadLen_ = 0;
  return kFindTag;
}

std::int32_t CarVideoWorker::sendRequest(std::int32_t socket) {
  return SendRequestForCar(socket, source().channel, source().acc, source().pwd, call().timestamp,
                           call().carId);
}

std::int32_t CarVideoWorker::step(std::int32_t state) {
  switch (state) {
    case kFindTag:
      return findTag();
    case kReadFrame:
      return readFrame();
    default:
      return state;
  }
}

// One byte a turn. The window outlives a connection: a tag cut in two by a break is still found.
std::int32_t CarVideoWorker::findTag() {
  std::uint8_t byte = 0;
  const std::int32_t count = receiveByte(byte);
  if (count < 0) return kBroken;
  if (count == 0) return kFindTag;
  shiftIntoWindow(source().tagWindow, byte);
  return windowHolds(source().tagWindow, "3GTSV100") ? kReadFrame : kFindTag;
}

std::int32_t CarVideoWorker::readFrame() {
  if (!receiveHeader()) return kBroken;
  if (isOutOfSequence()) {
    return kFindTag;  // its payload is skipped by the search, whatever its length
  }
  lastSeq_ = frameSeq_;
  if (!isPayloadLength(payloadLen_)) return broken(StreamEvent::WrongLength, payloadLen_);
  waitForConsumer(std::chrono::milliseconds(5));
  const std::int32_t count = receivePayload(payloadLen_);
  if (count < 0) return kBroken;
  deliver(count);
  return kFindTag;
}

bool CarVideoWorker::receiveHeader() {
  return receiveField(&frameSeq_, 4) && discard(4) && receiveField(&payloadLen_, 4) &&
         receiveField(info_, sizeof info_);
}

bool CarVideoWorker::isOutOfSequence() const {
  const std::int8_t frameType = info_[13];
  return frameType == kNeedsPrevious && frameSeq_ != following(lastSeq_);
}

}  // namespace

std::int32_t runCarVideo(const VideoCall& call, StreamObserver* observer) {
  return CarVideoWorker(call, observer).run();
}

}  // namespace quorvid

std::int32_t ThreadVideoSourceForCar(const char* host, std::int32_t mediaPort, std::int32_t cmdPort,
                                     std::int32_t channel, const char* acc, const char* pwd,
                                     std::uint8_t* isCancel, const char* timestamp,
                                     const char* carId, std::uint8_t* canGetFrame,
                                     std::uint8_t* frameData, std::int32_t* frameLen) {
  return quorvid::runCarVideo({host, mediaPort, cmdPort, channel, acc, pwd, isCancel, timestamp,
                               carId, canGetFrame, frameData, frameLen},
                              nullptr);
}
