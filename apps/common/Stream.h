// Stream: how a host takes a stream without the live view.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "apps/common/Target.h"
#include "h264/Units.h"

namespace quorvid::app {

// The account, a hyphen and the last 8 digits of the time: tells one session from the next.
std::string sessionToken(const std::string& account);

// An exported video worker on a thread of its own, and the slot it fills.
//
// The worker blocks until it is cancelled, which ends a read under way but no look-up, connection
// attempt or pause. Nobody waits for it: slot and texts are shared with its thread and go with the
// last of the two.
//
//   frame   its bytes      written by the worker, read by us while `ready` is set
//   length  32 bits        written by the worker after the bytes
//   ready   1 byte         set by the worker last; cleared by us when we are done with the bytes
//   cancel  1 byte         set by us; read by the worker once a turn
//
// One thread makes, asks and destroys a receiver.
class StreamReceiver {
 public:
  // A frame in the slot; the bytes may be changed in place. They are the worker's again after
  // release(), and half a second after they came in any case.
  struct Frame {
    std::uint8_t* bytes = nullptr;
    std::size_t length = 0;
  };

  // Starts the worker of the target's path. Throws Failure when there is no thread for it.
  explicit StreamReceiver(const StreamTarget& target);
  // Asks the worker to end.
  ~StreamReceiver();
  StreamReceiver(const StreamReceiver&) = delete;
  StreamReceiver& operator=(const StreamReceiver&) = delete;

  // The frame that waits, if any.
  std::optional<Frame> frame();
  // Gives the slot back to the worker.
  void release();
  // True when the worker ended by itself: a relay lookup that failed, or no memory.
  bool hasFailed() const;

 private:
  struct Slot;
  std::shared_ptr<Slot> slot_;
};

// The picture size (cropping taken off) that a sequence parameter set states; `sps` begins at its
// header byte. Nothing when it is cut short or out of bounds.
std::optional<PixelSize> sizeOfSps(h264::ByteView sps);

}  // namespace quorvid::app
