// StreamObserver: what a video worker tells, and the workers run with an observer instead of a
// slot.
//
// For the library's own live view; the exported functions run without one. With an observer a
// worker prints nothing, and each frame goes to the observer at once: the slot (canGetFrame,
// frameData, frameLen) is neither waited for nor touched and may be null. The end of the stream,
// which a worker without an observer waits out, is a loss like any other: the worker reconnects.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

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

// What happened, and the detail that comes with it.
enum class StreamEvent {
  Resolving,    // 0: the name of the server is looked up
  Unresolved,   // the resolver's error: HOST_NOT_FOUND, NO_DATA, TRY_AGAIN, ...
  Connecting,   // 0: the name is resolved
  Unreachable,  // errno of connect or socket
  Unsent,       // errno: connected, but the request did not go out
  Connected,    // 0: the request is out
  RelayFound,   // the relay's port; the worker resolves and connects anew
  NoRelay,   // 0: the reply was wrong or cut short; else errno, EAGAIN for silence. The call ends
  Accepted,  // 0: the fleet server's answer; a car server gives none
  Refused,   // the fleet server's answer status, never 0
  Closed,    // 0: the server closed the connection in order
  Reset,     // errno of the read
  Silent,    // 0: nothing came for kSilenceLimit
  UnknownKind,  // the kind of a packet that is none: the stream is broken
  WrongLength,  // the length of a payload that can't be: the stream is broken
  Pausing,      // milliseconds until the next try
};

// Why there is no stream, as a sentence for people, from what was told; empty for what is no
// trouble. peer: "HOST:PORT" of the server, or what stands for its relay.
std::string sentenceOf(StreamEvent event, std::int32_t detail, const std::string& peer,
                       const std::string& host, const std::string& device);

// Called on the worker's thread. A call that takes long holds the stream up; none may throw. Each
// loss (Refused to WrongLength) is told once and a pause follows. Once the call was cancelled a
// loss is its doing and not told.
class StreamObserver {
 public:
  virtual ~StreamObserver() = default;
  virtual void told(StreamEvent event, std::int32_t detail) = 0;
  // One whole payload, 1 to QUORVID_FRAME_CAPACITY bytes, the worker's again after the call.
  virtual void frameArrived(const std::uint8_t* bytes, std::size_t size) = 0;
};

// The exported functions, with what an observer is told; null: exactly those functions.
//
// CancelVideoSource ends a read at once, as always, and with an observer a connect, too. It leaves
// a name look-up to end by itself, which may take a minute, and a pause, which takes
// kReconnectPause at most: whoever may not wait leaves the thread to end by itself and keeps
// isCancel and the texts until then.
std::int32_t runFleetVideo(const VideoCall& call, StreamObserver* observer);
std::int32_t runCarVideo(const VideoCall& call, StreamObserver* observer);
std::int32_t runRelayVideo(const VideoCall& call, StreamObserver* observer);

// Why a call can't be made, as a sentence for people; empty when it can. To be asked before each
// call: a text that does not fit its field would end the process.
std::string refusalOfFleet(const VideoCall& call);
std::string refusalOfCar(const VideoCall& call);  // of a relay lookup, too

}  // namespace quorvid
