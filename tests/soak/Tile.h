#pragma once

#include <memory>
#include <optional>
#include <random>
#include <vector>

#include "apps/common/Stream.h"
#include "quorvid/session/UIFleetLiveView.h"

// What all tiles of a run share.
struct Course {
  std::mt19937 chance;
  std::vector<int> ports;
  unsigned long pictures = 0;
  unsigned long restarts = 0;  // of stalled streams
  unsigned long starts = 0;    // of any stream, restarts too
};

// A view that plays one port after the other, 40 s each on average, and starts a stalled stream
// anew with growing pauses. Main thread.
class Tile : public quorvid::H264HwDecoderImplDelegate, public std::enable_shared_from_this<Tile> {
 public:
  // Ends the process when no view can be made.
  Tile(Course& course, quorvid::UIView& parent, quorvid::CGRect frame);

  // Plays soon, and for `stay` seconds or a little longer, then moves on.
  void playPort(int port, double stay);
  // Plays a random port for a random time.
  void moveOn();
  // Starts, restarts and moves on when that is due.
  void look(double now);
  void stop();
  void letPictureGo() { view_->playLayer()->setPixelBuffer(nullptr); }
  double drawStay();

  void displayDecodedFrame(quorvid::CVPixelBufferRef picture) override;

 private:
  void play();

  Course& course_;
  std::shared_ptr<quorvid::UIView> container_;
  std::shared_ptr<quorvid::UIFleetLiveView> view_;
  quorvid::app::StallWatch watch_;
  std::optional<double> playAt_;
  double moveAt_ = 0;
};
