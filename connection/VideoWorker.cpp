#include "connection/VideoWorker.h"

#include <unistd.h>

#include <cstring>
#include <new>

#include "connection/Pause.h"
#include "connection/ServerConnection.h"
#include "connection/SharedValue.h"
#include "quorvid/connection/VehicleConnection.h"

namespace quorvid {
namespace {

constexpr std::chrono::seconds kReconnectPause(3);
constexpr std::chrono::milliseconds kEndOfStreamPause(100);

}  // namespace

VideoWorker::VideoWorker(const VideoCall& call)
    : call_(call), source_(new (std::nothrow) VideoSource{}), socket_(call.isCancel) {
  if (source_ == nullptr) return;
  InitVideoSource(source_.get(), call.host, call.mediaPort, call.cmdPort, call.channel, call.acc,
                  call.pwd);
}

void VideoWorker::ReleaseSource::operator()(VideoSource* source) const {
  FreeVideoSource(source);
  delete source;
}

std::int32_t VideoWorker::run() {
  if (source_ == nullptr || source_->recvBuf == nullptr || source_->tagWindow == nullptr) return -1;
  publish(call_.canGetFrame, 0);
  while (!isSet(call_.isCancel)) {
    if (socket_.isOpen() || connect()) {
      takeTurn();
    } else {
      pauseFor(kReconnectPause);
    }
  }
  return 0;
}

bool VideoWorker::connect() {
  source_->state = beginConnection();
  const std::int32_t connected = ConnectToServer(source_->host, source_->mediaPort);
  if (connected == -1 || sendRequest(connected) == -1) return false;
  socket_.adopt(connected);
  return true;
}

void VideoWorker::takeTurn() {
  if (source_->state == kBroken) {
    dropConnection();
    return;
  }
  sawEnd_ = sawMore_ = false;
  source_->state = step(source_->state);
  if (sawEnd_ && !sawMore_) pauseFor(kEndOfStreamPause);
}

void VideoWorker::dropConnection() {
  socket_.close();
  publish(call_.canGetFrame, 0);
  pauseFor(kReconnectPause);
}

std::int32_t VideoWorker::note(std::int32_t asked, std::int32_t count) {
  if (asked > 0) (count == 0 ? sawEnd_ : sawMore_) = true;
  return count;
}

bool VideoWorker::receiveField(void* field, std::int32_t size) {
  return note(size, readn(socket_.descriptor(), field, size)) >= 0;
}

bool VideoWorker::discard(std::int32_t size) {
  return receiveField(scratch_.data(), size);
}

std::int32_t VideoWorker::receiveByte(std::uint8_t& byte) {
  return note(1, static_cast<std::int32_t>(::read(socket_.descriptor(), &byte, 1)));
}

std::int32_t VideoWorker::receivePayload(std::int32_t payloadLen) {
  return note(payloadLen, readn(socket_.descriptor(), source_->recvBuf, payloadLen));
}

void VideoWorker::deliver(std::int32_t count) {
  if (count < 1 || count > kFrameCapacity || socket_.wasInterrupted()) return;
  memcpy(call_.frameData, source_->recvBuf, static_cast<std::size_t>(count));
  publish(call_.frameLen, count);
  publish(call_.canGetFrame, 1);
}

bool VideoWorker::frameIsWaiting() const {
  return isSet(call_.canGetFrame);
}

}  // namespace quorvid
