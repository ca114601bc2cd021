// FleetTile: a UIFleetLiveView, which a host watches and starts anew by itself.
#pragma once

#include <cstdlib>
#include <memory>
#include <optional>

#include "base/Clock.h"
#include "live/StallWatch.h"
#include "quorvid/session/UIFleetLiveView.h"
#include "soak/Tile.h"

namespace soak {

class FleetTile : public Tile,
                  public quorvid::H264HwDecoderImplDelegate,
                  public std::enable_shared_from_this<FleetTile> {
  static constexpr double kStallAfter = 5, kPauseBeforePlay = 0.5;

 public:
  // Ends the process when no view can be made.
  FleetTile(Course& course, quorvid::UIView& parent, quorvid::CGRect frame)
      : course_(course),
        container_(quorvid::UIView::initWithFrame(frame)),
        view_(quorvid::UIFleetLiveView::initWithFrame({{0, 0}, frame.size})),
        watch_(kStallAfter, quorvid::steadySeconds()) {
    if (view_ == nullptr) {
      std::fprintf(stderr, "no view could be made\n");
      std::exit(2);
    }
    container_->addSubview(view_);
    parent.addSubview(container_);
  }

  void play(const Draw& draw) override {
    view_->setConnectionParm("127.0.0.1", draw.port, draw.channel, "soak", "", "TRUCK-7");
    const double now = quorvid::steadySeconds();
    watch_ = quorvid::StallWatch(kStallAfter, now);
    playAt_ = now + kPauseBeforePlay;
    moveAt_ = *playAt_ + draw.stay;
  }
  void look(double now) override {
    if (playAt_) {
      if (now >= *playAt_) begin();
    } else if (now >= moveAt_) {
      stop();
      play(course_.draw(false, true));
    } else if (watch_.restartDue(now)) {
      ++counts_.restarts;
      stop();
      playAt_ = now + kPauseBeforePlay;
    }
  }
  void rest() override {
    stop();
    playAt_.reset();
    view_->playLayer()->setPixelBuffer(nullptr);
  }
  Counts counts() const override { return counts_; }

  void displayDecodedFrame(quorvid::CVPixelBufferRef picture) override {
    if (picture != nullptr) {
      ++counts_.pictures;
      watch_.pictureArrived(quorvid::steadySeconds());
    }
    view_->displayDecodedFrame(picture);
  }

 private:
  // With a new decoder: the former one may have learned another stream's format.
  void begin() {
    const auto decoder = quorvid::H264HwDecoderImpl::init();
    decoder->setDelegate(shared_from_this());
    view_->setH264Decoder(decoder);
    view_->playVideo();
    playAt_.reset();
    ++counts_.starts;
  }
  void stop() {
    view_->stopVideo();
    view_->setH264Decoder(nullptr);
  }

  Course& course_;
  std::shared_ptr<quorvid::UIView> container_;
  std::shared_ptr<quorvid::UIFleetLiveView> view_;
  quorvid::StallWatch watch_;
  Counts counts_;
  std::optional<double> playAt_;
  double moveAt_ = 0;
};

}  // namespace soak
