// What a tile tells: lines on its restarts and states, and its report.
#include <fmt/format.h>

#include <utility>

#include "apps/common/Terminal.h"
#include "apps/quorvid/view/Tile.h"

namespace quorvid::app {

namespace {

// So long a restart waits for the view to know when the next one is due.
constexpr double kSecondsToTell = 1;

// A state that is between two attempts of the same kind, whose reason still holds.
bool isTryingAgain(LiveState state) {
  return state == LiveState::Resolving || state == LiveState::Connecting;
}

// There is no stream, or none any more, for a reason of its own.
bool isLoss(LiveState state) {
  return state == LiveState::Reconnecting || state == LiveState::Refused ||
         state == LiveState::Failed;
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

// The view knows when it tries again once the new stream is connected.
void Tile::lookForRestart(const LiveFigures& figures, bool isPicture, double now) {
  const bool isNew = std::exchange(restarts_, figures.restarts) != figures.restarts;
  const double nextTry = view_->status().nextTry;
  const bool isToldLate = untold_ && (isNew || now - untold_->time > kSecondsToTell);
  if (untold_ && (isToldLate || nextTry > 0 || isPicture)) {
    const std::string next =
        nextTry > 0 && !isNew ? fmt::format(" (next try in {:.0f} s)", nextTry) : "";
    note(fmt::format("{}: no picture for {:.1f} s, starting the stream again{}", name_,
                     untold_->silence, next));
    untold_.reset();
  }
  if (isNew) untold_ = Restart{now, meter_.sinceLastPicture(now)};
}

void Tile::statusChanged(const LiveStatus& status) {
  if (status.state == LiveState::Live) trouble_ = {};
  const bool isNew = status.sentence != trouble_.sentence;
  if (status.reason != LiveReason::None) trouble_ = status;
  if (!options_.verbose) {
    if (isNew && isLoss(status.state)) note(fmt::format("{}: {}", name_, status.sentence));
    return;
  }
  const std::string reason = status.sentence.empty() ? "" : " (" + status.sentence + ")";
  note(fmt::format("{}: {}{}", name_, nameOf(status.state), reason));
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
  report.name = name_;
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
