// LiveTile: a LiveView of all three paths, made anew after each rest.
#pragma once

#include <memory>

#include "base/Clock.h"
#include "quorvid/live/LiveView.h"
#include "soak/Tile.h"

namespace soak {

class LiveTile : public Tile {
  static constexpr double kOfNow = 2;  // seconds: the lag of an older picture is past

 public:
  LiveTile(Course& course, quorvid::UIView& parent, quorvid::CGRect frame)
      : course_(course), parent_(parent), frame_(frame) {}

  void play(const Draw& draw) override {
    if (view_ == nullptr) {
      view_ = quorvid::LiveView::initWithFrame(frame_);
      parent_.addSubview(view_);
    }
    ended_ = counts();
    quorvid::LiveTarget target;
    target.path = static_cast<quorvid::LivePath>(draw.path);
    target.host = "127.0.0.1";
    target.port = draw.port;
    target.channel = draw.channel;
    target.device = "TRUCK-7";
    isPlayed_ = view_->connect(target);
    moveAt_ = quorvid::steadySeconds() + draw.stay;
  }
  void look(double now) override {
    if (now >= moveAt_) play(course_.draw(false));
  }
  void rest() override {
    ended_ = counts();
    isPlayed_ = false;
    view_->stop();
    view_->removeFromSuperview();
    view_.reset();
  }
  Counts counts() const override {
    Counts counts = ended_;
    counts.lag = -1;
    if (!isPlayed_) return counts;
    const quorvid::LiveFigures figures = view_->figures();
    counts.pictures += figures.shown;
    counts.starts += 1 + figures.restarts;
    counts.restarts += figures.restarts;
    if (figures.sinceLastPicture >= 0 && figures.sinceLastPicture < kOfNow)
      counts.lag = figures.lag;
    return counts;
  }

 private:
  Course& course_;
  quorvid::UIView& parent_;
  quorvid::CGRect frame_;
  std::shared_ptr<quorvid::LiveView> view_;
  Counts ended_;  // of the plays before
  bool isPlayed_ = false;
  double moveAt_ = 0;
};

}  // namespace soak
