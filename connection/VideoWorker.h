// VideoWorker: what the two video workers share. It connects, asks, lets the dialect take one step
// at a time, hands frames over and reconnects, until the caller cancels.
//
// One object a call, on the calling thread. Frames go through a slot for one, which the consumer
// empties; one that it leaves longer than kConsumerPatience is lost to the next.
//
// A turn is one step of the dialect: a field, a header or a payload, and a look at the cancel flag
// before it. A peer that closed in order is not told apart from one that sends nothing: its reads
// succeed with no bytes, fields keep what they held, and the turns go on until the caller cancels.
// A turn that found nothing but this end pauses, or a closed connection would take a processor.
#pragma once

#include <array>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>

#include "connection/Socket.h"
#include "connection/StreamObserver.h"
#include "quorvid/connection/VehicleConnection.h"

namespace quorvid {

constexpr std::size_t kTagWindowSize = 32;
constexpr std::size_t kSpareSize = 64;

// The context record of one call, touched by its thread only. Texts are borrowed from the caller.
struct VideoSource {
  std::uint8_t* recvBuf;    // QUORVID_FRAME_CAPACITY bytes
  std::uint8_t* tagWindow;  // kTagWindowSize bytes; the first 8 are the car stream's tag window
  std::uint8_t* spareBuf;   // kSpareSize bytes; never used
  const char* host;
  std::int32_t mediaPort;
  std::int32_t cmdPort;  // never used
  std::int32_t channel;
  const char* acc;
  const char* pwd;
  std::int32_t state;
};

extern "C" {

// Allocates and fills the buffers and stores the rest. A buffer that could not be had stays null;
// the caller looks before it uses one.
void InitVideoSource(VideoSource* source, const char* host, std::int32_t mediaPort,
                     std::int32_t cmdPort, std::int32_t channel, const char* acc, const char* pwd);

// Releases recvBuf and tagWindow. spareBuf stays allocated for the life of the process; the record
// itself is its owner's.
void FreeVideoSource(VideoSource* source);

}  // extern "C"

class VideoWorker {
 public:
  VideoWorker(const VideoWorker&) = delete;
  VideoWorker& operator=(const VideoWorker&) = delete;
  virtual ~VideoWorker() = default;

  // Returns 0 once cancelled, -1 when the context could not be allocated.
  std::int32_t run();

 protected:
  static constexpr std::int32_t kBroken = 100;

  VideoWorker(const VideoCall& call, StreamObserver* observer);

  // Tells the observer, if there is one and the call isn't being cancelled.
  void tell(StreamEvent event, std::int32_t detail = 0);
  // Tells why the connection is of no use; kBroken.
  std::int32_t broken(StreamEvent event, std::int32_t detail);

  // The dialect: forget the last connection's fields and name the first state; send the request
  // (-1: failed, socket closed); take one step in a state and name the next.
  virtual std::int32_t beginConnection() = 0;
  virtual std::int32_t sendRequest(std::int32_t socket) = 0;
  virtual std::int32_t step(std::int32_t state) = 0;

  // Reads a field whole (readn). Only an error is a failure: after the peer's close the field keeps
  // the bytes it held. With an observer the close is an error, here and below.
  bool receiveField(void* field, std::int32_t size);
  bool discard(std::int32_t size);
  // One byte with a plain read: 1, 0 at the end of the stream, negative on an error.
  std::int32_t receiveByte(std::uint8_t& byte);
  // Reads a payload of a length within bounds; its count, negative on an error.
  std::int32_t receivePayload(std::int32_t payloadLen);
  // Hands over the first count bytes of the last payload; a count of 0 delivers nothing, and nor
  // does one that was read after the connection was shut down.
  void deliver(std::int32_t count);
  void fillSlot(std::int32_t count);

  static bool isPayloadLength(std::int32_t length) {
    return length >= 0 && length <= QUORVID_FRAME_CAPACITY;
  }
  // Waits until the slot is empty, kConsumerPatience at most, looking once each step. How often it
  // waited, nothing when the frame was still there to the end or goes to an observer.
  std::optional<int> waitForConsumer(std::chrono::milliseconds step) const;
  const VideoSource& source() const { return *source_; }
  const VideoCall& call() const { return call_; }

 private:
  struct ReleaseSource {
    void operator()(VideoSource* source) const;
  };

  bool connect();
  void takeTurn();
  void dropConnection();
  void clearSlot();
  void pauseBeforeNextTry();
  // Every read of a turn passes its count on through here. One of no bytes says nothing.
  std::int32_t note(std::int32_t asked, std::int32_t count);

  const VideoCall call_;
  StreamObserver* const observer_;
  std::unique_ptr<VideoSource, ReleaseSource> source_;
  Socket socket_;
  std::array<std::uint8_t, 50> scratch_{};  // what is discarded, 10 bytes at a time at most
  // This turn: a read that asked for something found the end of the stream at once; or anything
  // else, bytes or an error. A read cut short by the end is "more", too: the next one finds the
  // end.
  bool sawEnd_ = false;
  bool sawMore_ = false;
};

}  // namespace quorvid
