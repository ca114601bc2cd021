// Source: what the element does: a player of frames behind the calls of a live GstPushSrc.
//
// In PLAYING it plays, and in no other state: PAUSED ends the connection, so that what comes next
// is of that moment. Three threads: the application's changes the state, the streaming thread waits
// inside create(), and the player's own posts what it tells; the player, its frames and the flag
// that ends a wait are safe for all of them, and the rest belongs to one.
#pragma once

#include <gst/base/gstpushsrc.h>

#include <atomic>
#include <condition_variable>
#include <memory>
#include <mutex>

#include "gstreamer/Settings.h"
#include "gstreamer/StreamForm.h"

namespace quorvid::gst {

class Source {
 public:
  // element: outlives this.
  explicit Source(GstBaseSrc* element) : element_(element) {}

  // The element's properties; with its object lock held.
  Settings settings;

  // READY to PAUSED and back. False, with an error posted, when the settings can't be taken.
  bool start();
  void stop();
  // PAUSED to PLAYING and back.
  bool play();
  void pause();
  // Ends create(), and lets it go on.
  void unlock(bool ends);
  // The next frame, with its time: the running time at which it arrived.
  GstFlowReturn create(GstBuffer** buffer);
  // Downstream may want another form from the next frame on.
  void renegotiate() { isNegotiated_ = false; }
  // Figures of what plays, the caller's to free.
  GstStructure* figures() const;

 private:
  struct FreeHandle {
    void operator()(quorvid_player* player) const { quorvid_player_free(player); }
    void operator()(quorvid_frame* frame) const { quorvid_frame_free(frame); }
  };
  using Player = std::shared_ptr<quorvid_player>;
  using Frame = std::unique_ptr<quorvid_frame, FreeHandle>;

  Player player() const;
  bool refuse(const char* sentence) const;
  void post(const quorvid_status& status) const;
  void waitForPlay();
  GstFlowReturn push(const Frame& frame, GstBuffer** buffer);
  bool negotiate();
  void stamp(GstBuffer* buffer, const quorvid_access_unit& unit);

  GstBaseSrc* const element_;
  Target target_;
  mutable std::mutex mutex_;  // guards what follows
  std::condition_variable changed_;
  Player player_;
  bool isEnding_ = false;
  // The streaming thread's.
  StreamForm form_;
  std::atomic<bool> isNegotiated_{false};
  bool isDiscontinuous_ = true;  // what was pushed before is not continued
  GstClockTime last_ = 0;        // time of the last frame
};

}  // namespace quorvid::gst
