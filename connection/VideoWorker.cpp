#include "connection/VideoWorker.h"

#include <unistd.h>

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

// The flag goes last and is released, so that a consumer that sees it sees the length and the
// bytes, too. After a shutdown the last read may have ended early, so its frame may be cut.
void VideoWorker::deliver(std::int32_t count) {
  if (count < 1 || count > QUORVID_FRAME_CAPACITY || socket_.wasInterrupted()) return;
  memcpy(call_.frameData, source_->recvBuf, static_cast<std::size_t>(count));
  publish(call_.frameLen, count);
  publish(call_.canGetFrame, 1);
}

std::optional<int> VideoWorker::waitForConsumer(std::chrono::milliseconds step) const {
  for (int waits = 0; waits < kConsumerPatience / step; ++waits) {
    if (!isSet(call_.canGetFrame)) return waits;
    pauseFor(step);
  }
  return std::nullopt;
}

}  // namespace quorvid
