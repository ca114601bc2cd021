#include "soak/Tile.h"

#include <cstdio>
#include <cstdlib>

#include "apps/common/Deadline.h"

using quorvid::app::StallWatch;
using quorvid::app::steadySeconds;

namespace {

constexpr double kStallAfter = 5;
constexpr double kPauseBeforePlay = 0.5;
constexpr double kMeanStay = 40;

}  // namespace

Tile::Tile(Course& course, quorvid::UIView& parent, quorvid::CGRect frame)
    : course_(course),
      container_(quorvid::UIView::initWithFrame(frame)),
      view_(quorvid::UIFleetLiveView::initWithFrame({{0, 0}, frame.size})),
      watch_(kStallAfter, steadySeconds()) {
  if (view_ == nullptr) {
    std::fprintf(stderr, "quorvid_soak: no view could be made\n");
    std::exit(2);
  }
  container_->addSubview(view_);
  parent.addSubview(container_);
}

void Tile::playPort(int port, double stay) {
  const int channel = static_cast<int>(course_.chance() % 8);
  view_->setConnectionParm("127.0.0.1", port, channel, "soak", "", "TRUCK-7");
  const double now = steadySeconds();
  watch_ = StallWatch(kStallAfter, now);
  playAt_ = now + kPauseBeforePlay;
  moveAt_ = *playAt_ + stay;
}

double Tile::drawStay() {
  return std::exponential_distribution<double>(1 / kMeanStay)(course_.chance);
}

void Tile::moveOn() {
  playPort(course_.ports[course_.chance() % course_.ports.size()], drawStay());
}

void Tile::look(double now) {
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

// With a new decoder: the former one may have learned another stream's format.
void Tile::play() {
  const auto decoder = quorvid::H264HwDecoderImpl::init();
  decoder->setDelegate(shared_from_this());
  view_->setH264Decoder(decoder);
  view_->playVideo();
  playAt_.reset();
  ++course_.starts;
}

void Tile::stop() {
  view_->stopVideo();
  view_->setH264Decoder(nullptr);
}

void Tile::displayDecodedFrame(quorvid::CVPixelBufferRef picture) {
  if (picture != nullptr) {
    ++course_.pictures;
    watch_.pictureArrived(steadySeconds());
  }
  view_->displayDecodedFrame(picture);
}
