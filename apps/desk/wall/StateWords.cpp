#include "apps/desk/wall/StateWords.h"

#include <algorithm>
#include <cmath>

#include "apps/desk/toolkit/Ui.h"

namespace quorvid::desk {

namespace {

std::string reasonOf(const LiveStatus& status) {
  switch (status.reason) {
    case LiveReason::None:
      return "";
    case LiveReason::TargetImpossible:
      return tr("The server, device or camera can't be asked for like this");
    case LiveReason::NameNotFound:
      return tr("The server's name is not known");
    case LiveReason::ConnectionRefused:
      return tr("The server takes no connection at this port");
    case LiveReason::Unreachable:
      return tr("The server does not answer");
    case LiveReason::ConnectionLost:
      return tr("The connection was lost");
    case LiveReason::Silent:
      return tr("The server sends nothing: the camera may be off line");
    case LiveReason::RefusedByServer:
      return trf("The server refused (answer {})", status.answerStatus);
    case LiveReason::NoRelay:
      return tr("The server names no place where the stream is served");
    case LiveReason::BrokenStream:
      return tr("The server sends something else than a stream");
    case LiveReason::NoKeyFrame:
      return tr("Pictures come, but none to begin with");
    case LiveReason::PicturesOutOfOrder:
      return tr("Pictures are missing in between");
    case LiveReason::Undecodable:
      return tr("What comes can't be decoded");
    case LiveReason::TooSlow:
      return tr("This computer doesn't keep pace");
    case LiveReason::NoResources:
      return tr("This computer has no memory or threads left");
    case LiveReason::NoGraphics:
      return tr("This computer can't draw it");
  }
  return status.sentence;
}

}  // namespace

std::string stateWord(LiveState state) {
  switch (state) {
    case LiveState::Idle:
      return tr("Not started");
    case LiveState::Resolving:
      return tr("Looking up the server");
    case LiveState::Connecting:
      return tr("Connecting");
    case LiveState::WaitingForKeyFrame:
      return tr("Waiting for a picture");
    case LiveState::Live:
      return tr("Live");
    case LiveState::Late:
      return tr("Late");
    case LiveState::Stalled:
      return tr("No picture comes");
    case LiveState::Reconnecting:
      return tr("Not connected");
    case LiveState::Refused:
      return tr("Refused");
    case LiveState::Stopped:
      return tr("Stopped");
    case LiveState::Failed:
      return tr("Can't be shown");
  }
  return "";
}

std::string reasonSentence(const LiveStatus& status) {
  std::string reason = reasonOf(status);
  const bool waits = status.nextTry > 0 && isStill(status.state);
  if (!waits) return reason;
  const auto seconds = static_cast<std::size_t>(std::ceil(std::min(status.nextTry, 3600.0)));
  const std::string again = trn("again in {} second", "again in {} seconds", seconds);
  return reason.empty() ? again : trf("{}: {}", reason, again);
}

std::string figuresText(const LiveFigures& figures) {
  if (figures.shown == 0) return "";
  const double megabits = std::max(0.0, figures.bitRate) / 1e6;
  const std::string lag =
      figures.lag < 0 ? "" : trf(", {:.0f} ms", std::min(figures.lag, 99.0) * 1000);
  return trf("{:.0f}/s, {:.1f} Mb/s", std::max(0.0, figures.pictureRate), megabits) + lag;
}

bool isStill(LiveState state) {
  return state == LiveState::Stalled || state == LiveState::Reconnecting ||
         state == LiveState::Refused || state == LiveState::Stopped || state == LiveState::Failed;
}

std::string clockText(double seconds) {
  const auto whole = static_cast<long>(std::clamp(seconds, 0.0, 1e9));
  const long hours = whole / 3600, minutes = whole / 60 % 60;
  return hours > 0 ? fmt::format("{}:{:02}:{:02}", hours, minutes, whole % 60)
                   : fmt::format("{}:{:02}", minutes, whole % 60);
}

}  // namespace quorvid::desk
