#include "connection/VideoWorker.h"

#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <new>

#include "connection/BlockingIO.h"
#include "connection/ServerConnection.h"
#include "connection/SharedValue.h"

namespace quorvid {
namespace {

constexpr std::chrono::milliseconds kEndOfStreamPause(100);  // unnoticed when cancelling

std::uint8_t* allocateFilled(std::size_t size, int value) {
  auto* buffer = static_cast<std::uint8_t*>(malloc(size));
  if (buffer != nullptr) memset(buffer, value, size);
  return buffer;
}

// A function of its own, so that a leak checker can tell this block from the two that are released.
[[gnu::noinline]] void allocateSpareBuf(VideoSource* source) {
  source->spareBuf = static_cast<std::uint8_t*>(calloc(1, kSpareSize));
}

}  // namespace

extern "C" void InitVideoSource(VideoSource* source, const char* host, std::int32_t mediaPort,
                                std::int32_t cmdPort, std::int32_t channel, const char* acc,
                                const char* pwd) {
  source->recvBuf = allocateFilled(QUORVID_FRAME_CAPACITY, 0);
  source->tagWindow = allocateFilled(kTagWindowSize, 0xFF);
  allocateSpareBuf(source);
  source->host = host;
  source->mediaPort = mediaPort;
  source->cmdPort = cmdPort;
  source->channel = channel;
  source->acc = acc;
  source->pwd = pwd;
  source->state = 2;
}

extern "C" void FreeVideoSource(VideoSource* source) {
  free(source->recvBuf);
  free(source->tagWindow);
}

VideoWorker::VideoWorker(const VideoCall& call, StreamObserver* observer)
    : call_(call),
      observer_(observer),
      source_(new (std::nothrow) VideoSource{}),
      socket_(call.isCancel) {
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
  clearSlot();
  while (!isSet(call_.isCancel)) {
    if (socket_.isOpen() || connect()) {
      takeTurn();
    } else {
      pauseBeforeNextTry();
    }
  }
  return 0;
}

bool VideoWorker::connect() {
  source_->state = beginConnection();
  const std::int32_t connected =
      openConnection(source_->host, source_->mediaPort, observer_, &socket_);
  if (connected == -1) return false;
  if (sendRequest(connected) == -1) {
    tell(StreamEvent::Unsent, errno);
    return false;
  }
  socket_.adopt(connected);
  tell(StreamEvent::Connected);
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
  clearSlot();
  pauseBeforeNextTry();
}

void VideoWorker::clearSlot() {
  if (observer_ == nullptr) publish(call_.canGetFrame, 0);
}

void VideoWorker::pauseBeforeNextTry() {
  constexpr std::chrono::milliseconds kPause = kReconnectPause;
  tell(StreamEvent::Pausing, static_cast<std::int32_t>(kPause.count()));
  pauseFor(kReconnectPause);
}

void VideoWorker::tell(StreamEvent event, std::int32_t detail) {
  if (observer_ != nullptr && !socket_.wasInterrupted()) observer_->told(event, detail);
}

std::int32_t VideoWorker::broken(StreamEvent event, std::int32_t detail) {
  tell(event, detail);
  return kBroken;
}

std::int32_t VideoWorker::note(std::int32_t asked, std::int32_t count) {
  if (asked > 0) (count == 0 ? sawEnd_ : sawMore_) = true;
  if (observer_ == nullptr || asked <= 0 || count == asked) return count;
  const int error = errno;
  if (count >= 0) {
    tell(StreamEvent::Closed);
  } else if (error == EAGAIN) {
    tell(StreamEvent::Silent);
  } else {
    tell(StreamEvent::Reset, error);
  }
  return -1;
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

// The flag goes last and is released, so that a consumer that sees it sees the length and the
// bytes, too. After a shutdown the last read may have ended early, so its frame may be cut.
void VideoWorker::deliver(std::int32_t count) {
  if (count < 1 || count > QUORVID_FRAME_CAPACITY || socket_.wasInterrupted()) return;
  if (observer_ != nullptr) {
    observer_->frameArrived(source_->recvBuf, static_cast<std::size_t>(count));
    return;
  }
  fillSlot(count);
  publish(call_.frameLen, count);
  publish(call_.canGetFrame, 1);
}

// A function of its own, so that a race checker can tell it from all else: a consumer that holds a
// frame for longer than it is waited for has it overwritten.
[[gnu::noinline]] void VideoWorker::fillSlot(std::int32_t count) {
  memcpy(call_.frameData, source_->recvBuf, static_cast<std::size_t>(count));
}

std::optional<int> VideoWorker::waitForConsumer(std::chrono::milliseconds step) const {
  if (observer_ != nullptr) return std::nullopt;
  for (int waits = 0; waits < kConsumerPatience / step; ++waits) {
    if (!isSet(call_.canGetFrame)) return waits;
    pauseFor(step);
  }
  return std::nullopt;
}

}  // namespace quorvid
