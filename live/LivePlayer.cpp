#include "live/LivePlayer.h"

#include <algorithm>
#include <new>
#include <utility>

#include "base/Clock.h"

namespace quorvid {
namespace {

constexpr double kSecondsOfRates = 3;
constexpr double kSecondsBetweenSamples = 0.5;
constexpr double kMostToRetry = 5;
constexpr const char* kTooSlow = "decoding doesn't keep pace";
constexpr const char* kDrawnTooSlow = "drawing doesn't keep pace";
// Drawing is too slow where more than this part of the pictures is overtaken, although the thread
// spends more than that part of its time on its views: one that turns seldom has time left.
constexpr double kMostOvertaken = 0.1;
constexpr double kBusy = 0.9;
constexpr double kSecondsToJudge = 2;
// And it stays so until both are well below.
constexpr double kCalmOvertaken = 0.05;
constexpr double kCalm = 0.8;

bool isConnected(LiveState state) {
  return state == LiveState::WaitingForKeyFrame || state == LiveState::Live;
}

// A worker that gave up is no stall: it is tried again although stalls may not matter.
double secondsToRetry(const LiveOptions& options) {
  return options.stallAfter > 0 ? std::min(options.stallAfter, kMostToRetry) : kMostToRetry;
}

// What both counted; the shape is the later one's that has any.
SessionCounts sumOf(const SessionCounts& before, const SessionCounts& last) {
  SessionCounts sum;
  sum.received = before.received + last.received;
  sum.bytes = before.bytes + last.bytes;
  sum.decoded = before.decoded + last.decoded;
  sum.converted = before.converted + last.converted;
  sum.overwritten = before.overwritten + last.overwritten;
  sum.held = before.held + last.held;
  sum.lost = before.lost + last.lost;
  sum.attempts = before.attempts + last.attempts;
  sum.shape = last.shape.width > 0 ? last.shape : before.shape;
  return sum;
}

}  // namespace

LivePlayer::LivePlayer(const LiveOptions& options, std::shared_ptr<Wake> wake,
                       const Delivery& delivery)
    : options_(options),
      wake_(std::move(wake)),
      delivery_(delivery),
      watch_(options.stallAfter, steadySeconds()),
      retries_(secondsToRetry(options), steadySeconds()) {}

LivePlayer::~LivePlayer() {
  endSession();
}

bool LivePlayer::connect(const LiveTarget& target) {
  LiveTarget next = target;  // whole, or as it was
  stop();
  target_ = std::move(next);
  return play();
}

bool LivePlayer::play() {
  if (isPlaying()) return true;
  if (hasGivenUp_) return false;
  const std::string refusal = refusalOf(target_);
  failure_ = {};
  hasPlayed_ = true;
  wake_->signal();
  if (!refusal.empty()) {
    failure_ = makeStatus(LiveState::Failed, LiveReason::TargetImpossible, refusal);
    return false;
  }
  played_ = steadySeconds();
  firstShown_ = lastShown_ = -1;
  before_ = {};
  figures_ = {};
  samples_.clear();
  isOvertaken_ = false;
  watch_ = StallWatch(options_.stallAfter, played_);
  retries_ = StallWatch(secondsToRetry(options_), played_);
  startSession();
  return true;
}

void LivePlayer::stop() {
  endSession();
  wake_->signal();
}

void LivePlayer::restart() {
  stop();
  play();
}

void LivePlayer::giveUp(LiveReason reason, std::string sentence) {
  stop();
  hasGivenUp_ = true;
  failure_ = makeStatus(LiveState::Failed, reason, std::move(sentence));
}

void LivePlayer::startSession() {
  try {
    session_ = LiveSession::start(target_, options_.mostLag, wake_, !visible_, delivery_);
    isUnstarted_ = false;
  } catch (const std::bad_alloc&) {
    isUnstarted_ = true;
  }
}

// Allocates nothing: it is a part of every end.
void LivePlayer::endSession() {
  isUnstarted_ = false;
  if (session_ == nullptr) return;
  if (!session_->isOurs()) return session_.reset();
  session_->end();
  before_ = sumOf(before_, session_->counts());
  session_.reset();
}

void LivePlayer::setVisible(bool visible) {
  if (std::exchange(visible_, visible) == visible) return;
  if (visible) seenSince_ = steadySeconds();
  if (session_ != nullptr) session_->setHidden(!visible);
}

void LivePlayer::setOptions(const LiveOptions& options) {
  if (options.stallAfter != options_.stallAfter) {
    watch_ = StallWatch(options.stallAfter, steadySeconds());
  }
  options_ = options;
  if (session_ != nullptr) session_->setMostLag(options.mostLag);
}

std::optional<Picture> LivePlayer::turn(double now, double busy) {
  if (isUnstarted_ && retries_.restartDue(now)) startSession();
  if (session_ == nullptr) return std::nullopt;
  sample(now, busy);
  const SessionReport report = session_->report();  // what may throw comes before the picture
  auto picture = session_->takePicture();
  if (picture) picture->number += before_.received;
  // Nobody sees the pictures of a hidden view: its frames tell that the stream is alive.
  if (picture || (!visible_ && report.lastFrame > now - watch_.silence(now))) {
    watch_.pictureArrived(now);
    retries_.pictureArrived(now);
  }
  const bool triesAgain = report.nextTryAt >= 0;  // by itself, as fast as the server may be asked
  // A stall is told before it is mended: not in the turn that finds it.
  const bool wasStalled = std::exchange(isStalled_, watch_.isStalled(now));
  const bool isDue = needsRetry(report) ? retries_.restartDue(now)
                                        : !triesAgain && wasStalled && watch_.restartDue(now);
  if (isDue) {
    endSession();
    startSession();
    ++figures_.restarts;
  }
  if (!visible_) return std::nullopt;
  if (picture && now - picture->arrival > options_.mostLag && report.lastFrame > picture->arrival) {
    ++before_.overwritten;  // newer ones are on their way
    return std::nullopt;
  }
  if (picture && !session_->complete(*picture)) return std::nullopt;
  return picture;
}

void LivePlayer::pictureShown(double now, double arrival) {
  if (firstShown_ < 0) {
    firstShown_ = now;
    samples_.clear();  // what was overtaken while the host had no window is no fault of its drawing
  }
  if (lastShown_ >= 0) figures_.longestPause = longestPause(now);
  lastShown_ = now;
  figures_.lag = now - arrival;
  ++figures_.shown;
}

// A worker that was sent to a relay goes on trying that one, though the device may be served
// elsewhere by now.
bool LivePlayer::needsRetry(const SessionReport& report) const {
  return report.hasEnded || (target_.path == LivePath::Relay && report.nextTryAt >= 0);
}

// Nobody missed a picture while the view was hidden.
double LivePlayer::longestPause(double now) const {
  if (!visible_) return figures_.longestPause;
  return std::max(figures_.longestPause, now - std::max(lastShown_, seenSince_));
}

LiveStatus LivePlayer::status(double now) const {
  if (failure_.state == LiveState::Failed) return failure_;
  if (!hasPlayed_) return {};
  if (isUnstarted_) {
    LiveStatus waiting = makeStatus(LiveState::Reconnecting, LiveReason::NoResources,
                                    "there is no memory for the stream");
    waiting.nextTry = std::max(0.0, retries_.untilRestart(now));
    return waiting;
  }
  if (session_ == nullptr) return makeStatus(LiveState::Stopped);
  const SessionReport report = session_->report();
  LiveStatus status = report.status;
  if (report.hasEnded) status.state = LiveState::Reconnecting;
  if (report.hasEnded || report.nextTryAt >= 0) {
    double next = report.hasEnded ? retries_.untilRestart(now) : report.nextTryAt - now;
    if (needsRetry(report)) next = std::min(next, retries_.untilRestart(now));
    status.nextTry = std::max(0.0, next);
  } else if (isConnected(status.state) && watch_.isStalled(now) && !report.isReady) {
    return stalledStatus(report, now);
  } else if (isConnected(status.state) && report.isLate) {
    status = makeStatus(LiveState::Late, LiveReason::TooSlow, kTooSlow);
  } else if (status.state == LiveState::Live && isOvertaken_) {
    status = makeStatus(LiveState::Late, LiveReason::TooSlow, kDrawnTooSlow);
  }
  return status;
}

bool LivePlayer::isStill(double now) const {
  const LiveState state = status(now).state;
  return state == LiveState::Late ? now - lastShown_ > options_.mostLag : state != LiveState::Live;
}

LiveStatus LivePlayer::stalledStatus(const SessionReport& report, double now) const {
  LiveStatus status = report.status;
  if (report.lastFrame < 0 || now - report.lastFrame >= options_.stallAfter) {
    status.reason = LiveReason::Silent;
    status.sentence = report.lastFrame < 0 ? "connected, and nothing has come yet"
                                           : "the server is connected and sends nothing";
  } else if (status.reason == LiveReason::None) {
    status.reason = report.isLate ? LiveReason::TooSlow : LiveReason::NoKeyFrame;
    status.sentence = report.isLate ? kTooSlow : "frames come, but none to begin with";
  }
  status.state = LiveState::Stalled;
  status.nextTry = std::max(0.0, watch_.untilRestart(now));
  return status;
}

LiveFigures LivePlayer::figures(double now) const {
  LiveFigures figures = figures_;
  const SessionCounts all = session_ != nullptr ? sumOf(before_, session_->counts()) : before_;
  figures.received = all.received;
  figures.bytes = all.bytes;
  figures.decoded = all.decoded;
  figures.converted = all.converted;
  figures.overwritten = all.overwritten;
  figures.held = all.held;
  figures.lost = all.lost;
  figures.reconnections = all.attempts > 0 ? all.attempts - 1 : 0;
  figures.streamWidth = all.shape.width;
  figures.streamHeight = all.shape.height;
  figures.shape = options_.shape > 0 ? options_.shape : all.shape.ratio;
  figures.playing = hasPlayed_ ? now - played_ : 0;
  if (firstShown_ >= 0) {
    figures.firstPicture = firstShown_ - played_;
    figures.sinceLastPicture = now - lastShown_;
    figures.longestPause = longestPause(now);
  }
  if (!samples_.empty() && now > samples_.front().time) {
    const Sample& from = samples_.front();
    figures.pictureRate = static_cast<double>(figures.shown - from.shown) / (now - from.time);
    figures.bitRate = 8 * static_cast<double>(figures.bytes - from.bytes) / (now - from.time);
  }
  return figures;
}

void LivePlayer::sample(double now, double busy) {
  if (!samples_.empty() && now - samples_.back().time < kSecondsBetweenSamples) return;
  const SessionCounts report = session_->counts();
  samples_.push_back({now, busy, figures_.shown, before_.bytes + report.bytes,
                      before_.decoded + report.decoded, before_.overwritten + report.overwritten});
  while (samples_.size() > 2 && now - samples_.front().time > kSecondsOfRates) samples_.pop_front();
  isOvertaken_ = isDrawingTooSlow();
}

bool LivePlayer::isDrawingTooSlow() const {
  const Sample &from = samples_.front(), &to = samples_.back();
  const double seconds = to.time - from.time;
  if (seconds < kSecondsToJudge) return isOvertaken_;
  const auto decoded = static_cast<double>(to.decoded - from.decoded);
  const auto overtaken = static_cast<double>(to.overwritten - from.overwritten);
  return overtaken > (isOvertaken_ ? kCalmOvertaken : kMostOvertaken) * decoded &&
         to.busy - from.busy > (isOvertaken_ ? kCalm : kBusy) * seconds;
}

}  // namespace quorvid
