#include "apps/quorvid/view/Tile.h"

#include <fmt/format.h>

#include <utility>

#include "apps/common/Deadline.h"
#include "apps/common/Terminal.h"
#include "apps/quorvid/view/Caption.h"

namespace quorvid::app {

namespace {

constexpr double kSecondsBetweenTexts = 1;
// So long a restart waits for the view to know when the next one is due.
constexpr double kSecondsToTell = 1;

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

// A state that is between two attempts of the same kind, whose reason still holds.
bool isTryingAgain(LiveState state) {
  return state == LiveState::Resolving || state == LiveState::Connecting;
}

// For states that have no reason of their own.
std::string reasonOf(LiveState state, const LiveFigures& figures) {
  if (state == LiveState::Resolving) return "the server's name is still looked up";
  if (state == LiveState::Connecting) return "no answer to the connection attempt yet";
  if (state == LiveState::Stopped) return "paused";
  return figures.received == 0 ? "the server is connected and has sent nothing yet"
                               : "no key frame has come yet";
}

}  // namespace

std::unique_ptr<Tile> Tile::make(const StreamTarget& target, UIView& parent, CGRect frame,
                                 const TileOptions& options) {
  std::unique_ptr<Tile> tile(new Tile(target, parent, frame, options));
  tile->view_ = LiveView::initWithFrame(CGRect{{0, 0}, frame.size}, options.live);
  if (options.text) tile->strip_ = TextStrip::make(tile->container_);
  const bool draws =
      tile->view_ != nullptr && tile->view_->status().reason != LiveReason::NoGraphics;
  if (!draws || (options.text && !tile->strip_)) return nullptr;
  Tile* const self = tile.get();
  self->view_->setStatusHandler([self](const LiveStatus& status) { self->statusChanged(status); });
  self->container_->addSubview(self->view_);
  if (self->strip_) self->strip_->place(0);
  parent.addSubview(self->container_);
  return tile;
}

Tile::Tile(StreamTarget target, UIView& parent, CGRect frame, const TileOptions& options)
    : target_(std::move(target)),
      options_(options),
      parent_(parent),
      container_(UIView::initWithFrame(frame)),
      mark_(container_),
      meter_(steadySeconds()) {}

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
  if (view_->target().device.empty()) {
    view_->connect(liveTargetOf(target_));
  } else {
    view_->play();
  }
}

void Tile::pause() {
  view_->stop();
  mark_.hide();
}

void Tile::setFrame(CGRect frame) {
  container_->setFrame(frame);
  view_->setFrame(CGRect{{0, 0}, frame.size});
  mark_.resize();
  if (strip_) strip_->place(mark_.width());
}

void Tile::setVisible(bool visible) {
  if (visible == view_->isVisible()) return;
  view_->setVisible(visible);
  meter_.forgetSilence(steadySeconds());
  if (visible) {
    parent_.addSubview(container_);
  } else {
    container_->removeFromSuperview();
  }
}

void Tile::look(double now) {
  const LiveFigures figures = view_->figures();
  const double silence = meter_.sinceLastPicture(now);
  const bool isPicture = meter_.look(figures, now);
  lookForRestart(figures, isPicture, now);
  if (isPicture && mark_.isShown()) {
    note(fmt::format("channel {}: a picture again after {:.1f} s", target_.channel, silence));
    mark_.hide();
  }
  const bool isWatched = isPlaying() && view_->isVisible() && options_.live.stallAfter > 0;
  if (isWatched && meter_.silence(now) >= options_.live.stallAfter) mark_.show();
  renewText(now);
}

// The view knows when it tries again once the new stream is connected.
void Tile::lookForRestart(const LiveFigures& figures, bool isPicture, double now) {
  const bool isNew = std::exchange(restarts_, figures.restarts) != figures.restarts;
  const double nextTry = view_->status().nextTry;
  const bool isToldLate = untold_ && (isNew || now - untold_->time > kSecondsToTell);
  if (untold_ && (isToldLate || nextTry > 0 || isPicture)) {
    const std::string next =
        nextTry > 0 && !isNew ? fmt::format(" (next try in {:.0f} s)", nextTry) : "";
    note(fmt::format("channel {}: no picture for {:.1f} s, starting the stream again{}",
                     target_.channel, untold_->silence, next));
    untold_.reset();
  }
  if (isNew) untold_ = Restart{now, meter_.sinceLastPicture(now)};
}

void Tile::statusChanged(const LiveStatus& status) {
  if (status.state == LiveState::Live) trouble_ = {};
  if (status.reason != LiveReason::None) trouble_ = status;
  if (!options_.verbose) return;
  const std::string reason = status.sentence.empty() ? "" : " (" + status.sentence + ")";
  note(fmt::format("channel {}: {}{}", target_.channel, nameOf(status.state), reason));
}

void Tile::renewText(double now) {
  if (!strip_ || !view_->isVisible()) return;
  strip_->place(mark_.width());
  if (now < textDue_) return;
  textDue_ = now + kSecondsBetweenTexts;
  strip_->show(captionOf(report(now)));
}

std::string Tile::whyNoPicture(const LiveStatus& status, const LiveFigures& figures) const {
  const LiveStatus& told = status.sentence.empty() ? trouble_ : status;
  if (told.sentence.empty()) return reasonOf(status.state, figures);
  if (told.reason != LiveReason::RefusedByServer) return told.sentence;
  return fmt::format("{} (device {}, channel {}: unknown or off line?)", told.sentence,
                     target_.device, target_.channel);
}

TileReport Tile::report(double now) const {
  TileReport report;
  report.device = target_.device;
  report.channel = target_.channel;
  meter_.fillIn(report, view_->figures(), now);
  report.status = view_->status();
  if (isTryingAgain(report.status.state)) {
    report.status.reason = trouble_.reason;
    report.status.sentence = trouble_.sentence;
  }
  if (report.figures.shown == 0 || report.status.state != LiveState::Live) {
    report.reason = whyNoPicture(report.status, report.figures);
  }
  report.isStalled = mark_.isShown();
  return report;
}

}  // namespace quorvid::app
