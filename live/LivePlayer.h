// LivePlayer: plays a target through one session after another, and sums up how it goes. One
// thread; no view, no GL. Times: seconds of the steady clock.
#pragma once

#include <deque>
#include <memory>
#include <optional>

#include "live/LiveSession.h"
#include "live/StallWatch.h"
#include "quorvid/live/LiveView.h"

namespace quorvid {

class LivePlayer {
 public:
  LivePlayer(const LiveOptions& options, std::shared_ptr<Wake> wake, const Delivery& delivery = {});
  ~LivePlayer();

  // The same as in LiveView.
  bool connect(const LiveTarget& target);
  bool play();
  void stop();
  void restart();
  // Ends what plays; nothing is played any more, and status() says why.
  void giveUp(LiveReason reason, std::string sentence);
  void setVisible(bool visible);
  void setOptions(const LiveOptions& options);
  bool isPlaying() const { return session_ != nullptr || isUnstarted_; }
  const LiveTarget& target() const { return target_; }
  const LiveOptions& options() const { return options_; }
  bool isVisible() const { return visible_; }

  // A turn is about to begin.
  void prepare() {
    if (session_ != nullptr && visible_) session_->prepare();
  }
  // The picture to be shown now, if a new one waits. Starts a silent stream again when it is time.
  // busy: seconds that the thread has spent on its views so far (RunLoop::busySeconds()),
  // 0 where nothing is drawn.
  std::optional<Picture> turn(double now, double busy = 0);
  // arrival: of the picture that was drawn just now.
  void pictureShown(double now, double arrival);
  LiveStatus status(double now) const;
  // No picture follows the last one: it is not live.
  bool isStill(double now) const;
  LiveFigures figures(double now) const;

 private:
  struct Sample {
    double time, busy;
    std::uint64_t shown, bytes, decoded, overwritten;
  };

  void startSession();
  void endSession();
  bool needsRetry(const SessionReport& report) const;
  LiveStatus stalledStatus(const SessionReport& report, double now) const;
  double longestPause(double now) const;
  void sample(double now, double busy);
  bool isDrawingTooSlow() const;

  LiveOptions options_;
  std::shared_ptr<Wake> wake_;
  const Delivery delivery_;
  LiveTarget target_;
  LiveStatus failure_;  // Failed: why nothing can be played
  bool hasGivenUp_ = false;
  bool hasPlayed_ = false;
  bool visible_ = true;
  std::shared_ptr<LiveSession> session_;
  bool isUnstarted_ = false;  // there was no memory for a session; it is tried again
  StallWatch watch_;
  bool isStalled_ = false;  // as watch_ said in the last turn
  StallWatch retries_;      // of sessions that don't connect again by themselves
  SessionCounts before_;    // what the sessions before this one counted
  LiveFigures figures_;     // what is counted here
  double played_ = 0, firstShown_ = -1, lastShown_ = -1;
  double seenSince_ = -1;  // when it became visible last
  std::deque<Sample> samples_;
  bool isOvertaken_ = false;  // drawing doesn't keep pace
};

}  // namespace quorvid
