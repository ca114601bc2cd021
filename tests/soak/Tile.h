#pragma once

#include <cstdio>
#include <cstdlib>
#include <memory>
#include <optional>
#include <random>
#include <vector>

#include "apps/common/Deadline.h"
#include "apps/common/Stream.h"
#include "live/StallWatch.h"
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
  static constexpr double kStallAfter = 5, kPauseBeforePlay = 0.5, kMeanStay = 40;

 public:
  // Ends the process when no view can be made.
  Tile(Course& course, quorvid::UIView& parent, quorvid::CGRect frame)
      : course_(course),
        container_(quorvid::UIView::initWithFrame(frame)),
        view_(quorvid::UIFleetLiveView::initWithFrame({{0, 0}, frame.size})),
        watch_(kStallAfter, quorvid::app::steadySeconds()) {
    if (view_ == nullptr) {
      std::fprintf(stderr, "quorvid_soak: no view could be made\n");
      std::exit(2);
    }
    container_->addSubview(view_);
    parent.addSubview(container_);
  }

  // Plays soon, and for `stay` seconds or a little longer, then moves on.
  void playPort(int port, double stay) {
    const int channel = static_cast<int>(course_.chance() % 8);
    view_->setConnectionParm("127.0.0.1", port, channel, "soak", "", "TRUCK-7");
    const double now = quorvid::app::steadySeconds();
    watch_ = quorvid::StallWatch(kStallAfter, now);
    playAt_ = now + kPauseBeforePlay;
    moveAt_ = *playAt_ + stay;
  }
  double drawStay() { return std::exponential_distribution<double>(1 / kMeanStay)(course_.chance); }
  // Plays a random port for a random time.
  void moveOn() { playPort(course_.ports[course_.chance() % course_.ports.size()], drawStay()); }

  // Starts, restarts and moves on when that is due.
  void look(double now) {
    if (playAt_) {
      if (now >= *playAt_) play();
    } else if (now >= moveAt_) {
      stop();
      moveOn();
    } else if (watch_.restartDue(now)) {
      ++course_.restarts;
      stop();
      playAt_ = now + kPauseBeforePlay;
    }
  }
  void stop() {
    view_->stopVideo();
    view_->setH264Decoder(nullptr);
  }
  void letPictureGo() { view_->playLayer()->setPixelBuffer(nullptr); }

  void displayDecodedFrame(quorvid::CVPixelBufferRef picture) override {
    if (picture != nullptr) {
      ++course_.pictures;
      watch_.pictureArrived(quorvid::app::steadySeconds());
    }
    view_->displayDecodedFrame(picture);
  }

 private:
  // With a new decoder: the former one may have learned another stream's format.
  void play() {
    const auto decoder = quorvid::H264HwDecoderImpl::init();
    decoder->setDelegate(shared_from_this());
    view_->setH264Decoder(decoder);
    view_->playVideo();
    playAt_.reset();
    ++course_.starts;
  }

  Course& course_;
  std::shared_ptr<quorvid::UIView> container_;
  std::shared_ptr<quorvid::UIFleetLiveView> view_;
  quorvid::StallWatch watch_;
  std::optional<double> playAt_;
  double moveAt_ = 0;
};
