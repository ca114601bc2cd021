// VideoWorker: what the two video workers share. It connects, asks, lets the dialect take one step
// at a time, hands frames over and reconnects, until the caller cancels.
//
// One object a call, on the calling thread. Frames go through a slot for one: a consumer that does
// not take a frame within half a second loses it to the next. A peer that closed in order is not
// told apart from one that sends nothing; such turns only pause, so that they cost nothing.
#pragma once

#include <array>
#include <chrono>
#include <cstdint>
#include <memory>

#include "connection/VideoSource.h"
#include "connection/WatchedSocket.h"

namespace quorvid {

// The arguments of one call, borrowed until it returns. The slot is frameData, frameLen and
// canGetFrame, written in this order; the consumer clears the flag.
struct VideoCall {
  const char* host;
  std::int32_t mediaPort;
  std::int32_t cmdPort;
  std::int32_t channel;
  const char* acc;
  const char* pwd;
  std::uint8_t* isCancel;
  const char* timestamp;
  const char* carId;
  std::uint8_t* canGetFrame;
  std::uint8_t* frameData;
  std::int32_t* frameLen;
};

class VideoWorker {
 public:
  VideoWorker(const VideoWorker&) = delete;
  VideoWorker& operator=(const VideoWorker&) = delete;
  virtual ~VideoWorker() = default;

  // Returns 0 once cancelled, -1 when the context could not be allocated.
  std::int32_t run();

 protected:
  static constexpr std::int32_t kBroken = 100;

  explicit VideoWorker(const VideoCall& call);

  // The dialect: forget the last connection's fields and name the first state; send the request
  // (-1: failed, socket closed); take one step in a state and name the next.
  virtual std::int32_t beginConnection() = 0;
  virtual std::int32_t sendRequest(std::int32_t socket) = 0;
  virtual std::int32_t step(std::int32_t state) = 0;

  // Reads a field whole (readn). Only an error is a failure: after the peer's close the field keeps
  // the bytes it held.
  bool receiveField(void* field, std::int32_t size);
  bool discard(std::int32_t size);
  // One byte with a plain read: 1, 0 at the end of the stream, negative on an error.
  std::int32_t receiveByte(std::uint8_t& byte);
  // Reads a payload of a length within bounds; its count, negative on an error.
  std::int32_t receivePayload(std::int32_t payloadLen);
  // Hands over the first count bytes of the last payload; a count of 0 delivers nothing, and nor
  // does one that was read after the connection was shut down.
  void deliver(std::int32_t count);

  static bool isPayloadLength(std::int32_t length) {
    return length >= 0 && length <= kFrameCapacity;
  }
  bool frameIsWaiting() const;
  const VideoSource& source() const { return *source_; }
  const VideoCall& call() const { return call_; }

 private:
  struct ReleaseSource {
    void operator()(VideoSource* source) const;
  };

  bool connect();
  void takeTurn();
  void dropConnection();
  std::int32_t note(std::int32_t asked, std::int32_t count);

  const VideoCall call_;
  std::unique_ptr<VideoSource, ReleaseSource> source_;
  WatchedSocket socket_;
  std::array<std::uint8_t, 50> scratch_{};  // what discarded fields are read into
  bool sawEnd_ = false;                     // this turn: a read found the end of the stream
  bool sawMore_ = false;                    // this turn: a read found anything else
};

}  // namespace quorvid
