// Stream: the frames of one camera as a tool takes them: in order, whole, with the reason when
// there are none.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "apps/common/Target.h"
#include "h264/Units.h"

namespace quorvid::app {

// The account, a hyphen and the last 8 digits of the time: tells one session from the next.
std::string sessionToken(const std::string& account);

// What a stream brings: a frame, or why it broke off or did not come.
struct StreamItem {
  std::vector<std::uint8_t> frame;
  double time = 0;      // when it came, in steadySeconds()
  std::string trouble;  // a sentence; the frame is empty then, and the stream begins anew after it
};

// A video worker on a thread of its own, and what it brought and nobody took yet.
//
// The worker reconnects after each trouble, but for a relay look-up that failed: that one ends.
// When 32 MiB wait the server has to wait, too, so nothing is left out. Nobody waits for the
// worker, which a name look-up may hold for a minute: what it uses is shared with its thread.
//
// One thread makes, asks and destroys a receiver.
class StreamReceiver {
 public:
  // Starts the worker of the target's path. Throws Failure when there is no thread for it.
  explicit StreamReceiver(const StreamTarget& target);
  // Asks the worker to end.
  ~StreamReceiver();
  StreamReceiver(const StreamReceiver&) = delete;
  StreamReceiver& operator=(const StreamReceiver&) = delete;

  // What comes next; waits for it so long at most.
  std::optional<StreamItem> next(double seconds);
  // Whether there is a connection over which the stream was asked for.
  bool isConnected() const;

 private:
  class Worker;
  std::shared_ptr<Worker> worker_;
};

// The picture size (cropping taken off) that a sequence parameter set states; `sps` begins at its
// header byte. Nothing when it is cut short or out of bounds.
std::optional<PixelSize> sizeOfSps(h264::ByteView sps);

}  // namespace quorvid::app
