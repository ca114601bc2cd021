#include "apps/quorvid/view/Tile.h"

#include <fmt/format.h>

#include <algorithm>
#include <utility>

#include "apps/common/Deadline.h"
#include "apps/common/Terminal.h"
#include "apps/quorvid/view/Caption.h"

namespace quorvid::app {

namespace {

constexpr double kSecondsBetweenTexts = 1;

LiveTarget liveTargetOf(const StreamTarget& target) {
  static constexpr LivePath kPaths[] = {LivePath::Fleet, LivePath::Car, LivePath::Relay};
  LiveTarget live;
  live.path = kPaths[static_cast<int>(target.path)];
  live.host = target.server.host;
  live.port = target.server.port;
  live.account = target.account;
  live.password = target.password;
  live.device = target.device;
  live.channel = target.channel;
  return live;
}

}  // namespace

std::optional<AskedStream> askFor(const StreamTarget& target, const LiveOptions& options) {
  AskedStream stream{target, LiveView::initToDrawLater({}, options), steadySeconds()};
  if (stream.view == nullptr) return std::nullopt;
  stream.view->connect(liveTargetOf(target));
  return stream;
}

std::unique_ptr<Tile> Tile::make(AskedStream stream, UIView& parent, CGRect frame,
                                 const TileOptions& options) {
  std::unique_ptr<Tile> tile(new Tile(std::move(stream), parent, frame, options));
  Tile* const self = tile.get();
  self->setFrame(frame);
  if (!self->view_->prepareToDraw()) return nullptr;
  self->view_->setStatusHandler([self](const LiveStatus& status) { self->statusChanged(status); });
  self->container_->addSubview(self->view_);
  parent.addSubview(self->container_);
  self->meter_.forgetSilence(steadySeconds());  // nobody could see a picture before
  return tile;
}

Tile::Tile(AskedStream stream, UIView& parent, CGRect frame, const TileOptions& options)
    : target_(std::move(stream.target)),
      name_(
          fmt::format("{}channel {}", options.named ? target_.device + " " : "", target_.channel)),
      options_(options),
      parent_(parent),
      container_(UIView::initWithFrame(frame)),
      mark_(container_),
      view_(std::move(stream.view)),
      strip_(options.text ? std::make_unique<TextStrip>(container_) : nullptr),
      meter_(stream.since) {}

Tile::~Tile() {
  if (view_) view_->setStatusHandler({});
  container_->removeFromSuperview();
}

void Tile::play() {
  meter_.forgetSilence(steadySeconds());
  begin();
}

void Tile::restart() {
  view_->stop();
  begin();
  meter_.restartedByHand();
}

// The view counts from zero then.
void Tile::begin() {
  meter_.countAnew(view_->figures());
  restarts_ = 0;
  textDue_ = 0;
  view_->play();
}

void Tile::pause() {
  view_->stop();
  mark_.hide();
}

void Tile::setFrame(CGRect frame) {
  container_->setFrame(frame);
  mark_.resize();
  if (strip_) strip_->place(mark_.width());
  placePicture();
}

// Above the line of text, so that nothing of it is covered.
void Tile::placePicture() {
  CGSize area = container_->bounds().size;
  if (strip_) area.height = std::max(1.0, area.height - strip_->height());
  if (area.width == pictureArea_.width && area.height == pictureArea_.height) return;
  pictureArea_ = area;
  view_->setFrame(CGRect{{0, 0}, area});
}

void Tile::setVisible(bool isInWindow, bool isSeen) {
  if (isInWindow != this->isInWindow()) {
    if (isInWindow) parent_.addSubview(container_);
    if (!isInWindow) container_->removeFromSuperview();
  }
  const bool visible = isInWindow && isSeen;
  if (visible == view_->isVisible()) return;
  view_->setVisible(visible);
  meter_.forgetSilence(steadySeconds());
}

void Tile::look(double now) {
  const LiveFigures figures = view_->figures();
  const double silence = meter_.sinceLastPicture(now);
  const bool isPicture = meter_.look(figures, now);
  lookForRestart(figures, isPicture, now);
  if (isPicture && mark_.isShown()) {
    note(fmt::format("{}: a picture again after {:.1f} s", name_, silence));
    mark_.hide();
  }
  const bool isWatched = isPlaying() && view_->isVisible() && options_.live.stallAfter > 0;
  if (isWatched && meter_.silence(now) >= options_.live.stallAfter) mark_.show();
  if (!strip_ || !view_->isVisible()) return;
  strip_->place(mark_.width());
  placePicture();
}

void Tile::renewText(double now) {
  if (!strip_ || !view_->isVisible() || now < textDue_) return;
  textDue_ = now + kSecondsBetweenTexts;
  strip_->show(captionOf(report(now)));
}

}  // namespace quorvid::app
