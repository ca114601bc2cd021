#include "live/LiveSession.h"

#include <algorithm>
#include <exception>
#include <new>
#include <utility>

#include "base/Clock.h"
#include "base/LogQuiet.h"
#include "base/Thread.h"
#include "port/VideoDecompression.h"
#include "quorvid/base/Log.h"

namespace quorvid {
namespace {

// Pictures overtaken before any was taken: by then somebody has forgotten something.
constexpr std::uint64_t kUntakenPictures = 250;
// Seconds: a host gets a new picture at least so often, however many wait.
constexpr double kProgress = 0.1;
// A view that left pictures out is called late for so many seconds more, and one that was too slow
// to take a picture gets the next ones unconverted.
constexpr double kCalm = 2;
constexpr const char* kNoKeyFrame = "no key frame has come yet";

bool isStreaming(LiveState state) {
  return state == LiveState::WaitingForKeyFrame || state == LiveState::Live;
}

// Of each frame.
void setStreaming(LiveStatus& status, LiveReason reason, const char* sentence) {
  const bool isLive = reason == LiveReason::None;
  setShortStatus(status, isLive ? LiveState::Live : LiveState::WaitingForKeyFrame, reason,
                 sentence);
}

}  // namespace

void setShortStatus(LiveStatus& status, LiveState state, LiveReason reason, const char* sentence) {
  status.state = state;
  status.reason = reason;
  status.nextTry = 0;
  status.answerStatus = 0;
  try {
    status.sentence.assign(sentence);
  } catch (const std::bad_alloc&) {
    status.sentence.clear();
  }
}

std::shared_ptr<LiveSession> LiveSession::start(const LiveTarget& target, double mostLag,
                                                std::shared_ptr<Wake> wake, bool hidden,
                                                const Delivery& delivery) {
  std::shared_ptr<LiveSession> session(new LiveSession(target, mostLag, std::move(wake), delivery));
  if (delivery.isEvery) session->queue_.keepAll();
  session->queue_.setHidden(hidden);
  Thread decoding([session] { session->decode(); });
  Thread receiving([session] { session->receive(); });
  if (!decoding.start() || !receiving.start()) {
    session->queue_.close();
    const std::lock_guard lock(session->mutex_);
    session->report_.hasEnded = true;
    setShortStatus(session->report_.status, LiveState::Reconnecting, LiveReason::NoResources,
                   "the system gives no further thread");
  }
  return session;
}

LiveSession::LiveSession(const LiveTarget& target, double mostLag, std::shared_ptr<Wake> wake,
                         const Delivery& delivery)
    : target_(target),
      wake_(std::move(wake)),
      delivery_(delivery),
      mostLag_(mostLag),
      peer_(target.host + ":" + std::to_string(target.port)),
      asksForRelay_(target.path == LivePath::Relay) {
  report_.status = makeStatus(LiveState::Connecting);
}

void LiveSession::end() {
  stopReceiving();
  queue_.close();
  const std::lock_guard lock(mutex_);
  ending_ = true;
  picked_.notify_one();
}

std::optional<Picture> LiveSession::takePicture() {
  const std::lock_guard lock(mutex_);
  ++taken_;
  picked_.notify_one();
  isChosen_ = false;
  return std::exchange(ready_, std::exchange(next_, std::nullopt));
}

bool LiveSession::complete(Picture& picture) {
  if (picture.kept == nullptr) return true;
  convert(*picture.kept);
  picture.buffer.reset(H264HwDecoderImpl::copyPicture(*picture.kept));
  picture.kept = nullptr;
  return picture.buffer != nullptr;
}

void LiveSession::prepare() {
  std::unique_lock lock(mutex_);
  isChosen_ = false;
  if (next_) overtake(std::exchange(next_, std::nullopt));
  const bool isChosen = isChosen_ = ready_ && ready_->kept;
  lock.unlock();
  if (isChosen) queue_.runErrand();
}

// The decoding thread's errand.
void LiveSession::convertKept() {
  std::unique_lock lock(mutex_);
  const std::shared_ptr<VTKeptPicture> kept = ready_ ? ready_->kept : nullptr;
  lock.unlock();
  if (kept) convert(*kept);
}

void LiveSession::convert(VTKeptPicture& kept) {
  if (!H264HwDecoderImpl::convertPicture(kept)) return;
  const std::lock_guard lock(mutex_);
  ++report_.converted;
}

SessionCounts LiveSession::counts() const {
  const std::uint64_t lost = queue_.lost();
  const std::lock_guard lock(mutex_);
  SessionCounts counts = static_cast<const SessionCounts&>(report_);
  counts.lost = lost;
  return counts;
}

SessionReport LiveSession::report() const {
  const std::uint64_t lost = queue_.lost();
  const std::lock_guard lock(mutex_);
  SessionReport report = report_;
  report.lost = lost;
  report.isReady = ready_.has_value();
  return report;
}

void LiveSession::setStatus(LiveState state, LiveReason reason, std::string sentence,
                            std::int32_t answerStatus) {
  {
    const std::lock_guard lock(mutex_);
    report_.status = makeStatus(state, reason, std::move(sentence));
    report_.status.answerStatus = answerStatus;
    report_.nextTryAt = -1;
  }
  wake_->signal();
}

// The decoding thread. Whatever it lacks, nothing is thrown out of it: that would end the process.
void LiveSession::decode() {
  const LogQuiet quiet;
  try {
    return delivery_.isUndecoded ? passOn() : decodeAll();
  } catch (const std::exception& error) {
    logMessage("LiveView: decoding ends: %s", error.what());
  }
  stopReceiving();
  queue_.close();
  failForMemory();
}

// What it decodes with is loaded while the other thread connects. A decoder that lost a frame half
// way may not know it: a new one takes its place, and waits for a key frame.
void LiveSession::decodeAll() {
  if (std::string why = VTLoadDecoders(); !why.empty()) {
    stopReceiving();
    return fail(LiveReason::NoResources, "what decodes can't be loaded: " + std::move(why));
  }
  queue_.setErrand([this] { convertKept(); });
  std::optional<StreamDecoder> decoder(delivery_.form);
  while (auto frame = queue_.take()) {
    try {
      decodeFrame(*decoder, *frame);
    } catch (const std::bad_alloc&) {
      decoder.emplace(delivery_.form);
      loseFrame();
    }
    queue_.giveBack(std::move(*frame));
  }
}

// There is no memory for it. What comes next tells by its number that it is missing.
void LiveSession::loseFrame() {
  {
    const std::lock_guard lock(mutex_);
    ++report_.held;
    if (isStreaming(report_.status.state)) {
      setShortStatus(report_.status, LiveState::WaitingForKeyFrame, LiveReason::NoResources,
                     "there is no memory for a frame");
    }
  }
  wake_->signal();
}

// The session is at its end, and tried again by whoever holds it.
void LiveSession::failForMemory() {
  {
    const std::lock_guard lock(mutex_);
    report_.hasEnded = true;
    report_.nextTryAt = -1;
    setShortStatus(report_.status, LiveState::Reconnecting, LiveReason::NoResources,
                   "there is no memory for the stream");
  }
  wake_->signal();
}

// A picture that nobody will see is never converted: that costs about as much as its decoding. So
// it is converted at once where it is sure to be seen; otherwise when the host's next turn begins,
// by this thread or the host's, whichever comes to it first.
void LiveSession::decodeFrame(StreamDecoder& decoder, Frame& frame) {
  const StreamDecoder::Outcome outcome = decoder.decode(frame);
  StreamShape shape;
  if (const auto& stream = decoder.stream()) {
    shape = {static_cast<int>(stream->displayedWidth()),
             static_cast<int>(stream->displayedHeight()), stream->displayAspect()};
  }
  noteOutcome(outcome, shape);
  const double now = steadySeconds();
  const bool isShown = outcome == StreamDecoder::Outcome::Picture && !noteLateness(now, frame) &&
                       frame.isToBeShown && !isOvertaken(now, frame);
  if (isShown && isSureToBeSeen(now)) {
    publish({decoder.picture(), frame.arrival, frame.number, shape});
  } else if (isShown) {
    publish({nullptr, frame.arrival, frame.number, shape, nullptr, decoder.keptPicture()});
  }
  if (isUntold() || isShown) wake_->signal();
}

// In the place of decoding.
void LiveSession::passOn() {
  FrameGate gate;
  while (auto taken = queue_.take()) {
    std::shared_ptr<Frame> frame;
    try {
      frame = std::make_shared<Frame>(std::move(*taken));
    } catch (const std::bad_alloc&) {
      loseFrame();
      continue;
    }
    const FrameGate::Outcome outcome = gate.take(*frame);
    notePassage(outcome, *frame, gate.shape());
    const bool passes = outcome == FrameGate::Outcome::Passes;
    if (passes) publish({nullptr, frame->arrival, frame->number, gate.shape(), frame});
    if (isUntold() || passes) wake_->signal();
  }
}

// A frame of a connection that is lost meanwhile says nothing of the present one.
void LiveSession::notePassage(FrameGate::Outcome outcome, const Frame& frame,
                              const StreamShape& shape) {
  using Outcome = FrameGate::Outcome;
  const std::lock_guard lock(mutex_);
  report_.shape = shape;
  if (outcome != Outcome::Passes) ++report_.held;
  if (frame.connection != connections_ || !isStreaming(report_.status.state)) return;
  setStreaming(report_.status, LiveReason::None, "");
  if (outcome == Outcome::NoSets) {
    setStreaming(report_.status, LiveReason::NoKeyFrame, kNoKeyFrame);
  } else if (outcome == Outcome::UnreadableSets) {
    setStreaming(report_.status, LiveReason::Undecodable,
                 "the stream's parameter sets can't be read");
  }
}

// The host has to be told of more than pictures.
bool LiveSession::isUntold() {
  const std::lock_guard lock(mutex_);
  if (told_ == report_.status && toldLate_ == report_.isLate) return false;
  setShortStatus(told_, report_.status.state, report_.status.reason,
                 report_.status.sentence.c_str());
  told_.answerStatus = report_.status.answerStatus;
  toldLate_ = report_.isLate;
  return true;
}

// True when the picture is too old to be shown. What came while the view was hidden makes nobody
// late: it is decoded for the last one alone.
bool LiveSession::noteLateness(double now, const Frame& frame) {
  const double lag = now - frame.arrival;
  const bool isTooOld = lag > mostLag_;
  if (isTooOld) queue_.skipToNewestKey();
  if (!frame.isToBeShown) return isTooOld;
  const std::lock_guard lock(mutex_);
  if (isTooOld || frame.isAfterLoss) {
    leftOut_ = now;
    report_.isLate = true;
  } else if (now - leftOut_ > kCalm && lag < FrameQueue::kBehind) {
    report_.isLate = false;
  }
  return isTooOld;
}

// Where pictures are old, one behind which another waits is not worth a turn of the host's.
bool LiveSession::isOvertaken(double now, const Frame& frame) {
  if (keepingSavesNothing() || now - frame.arrival <= kProgress || queue_.isEmpty()) return false;
  const std::lock_guard lock(mutex_);
  if (now - published_ > kProgress) return false;
  ++report_.overwritten;
  return true;
}

bool LiveSession::isSureToBeSeen(double now) {
  if (keepingSavesNothing()) return true;
  if (!queue_.isEmpty()) return false;
  const std::lock_guard lock(mutex_);
  return !ready_ && (wasted_ < 0 || now - wasted_ > kCalm);
}

// The mutex is held. What was chosen for the host's present turn stays: it may be converted by now.
void LiveSession::overtake(std::optional<Picture> picture) {
  std::optional<Picture>& place = isChosen_ ? next_ : ready_;
  if (place) ++report_.overwritten;
  if (place && place->buffer) wasted_ = steadySeconds();
  place = std::move(picture);
}

void LiveSession::publish(Picture picture) {
  if (!picture.buffer && !picture.frame && !picture.kept) return;
  bool nobodyTakes = false;
  {
    std::unique_lock lock(mutex_);
    if (delivery_.isEvery) picked_.wait(lock, [this] { return !ready_ || ending_; });
    if (ending_) return;
    if (picture.buffer != nullptr) ++report_.converted;
    overtake(std::move(picture));
    published_ = steadySeconds();
    nobodyTakes = taken_ == 0 && report_.overwritten == kUntakenPictures;
  }
  if (nobodyTakes) {
    logMessage(
        "LiveView: pictures wait and nobody takes them: the run loop of the thread that made "
        "the view isn't refreshed (ViewHost::refresh())");
  }
}

void LiveSession::noteOutcome(StreamDecoder::Outcome outcome, const StreamShape& shape) {
  using Outcome = StreamDecoder::Outcome;
  const std::lock_guard lock(mutex_);
  report_.shape = shape;
  if (outcome == Outcome::NoPicture) return;
  if (outcome == Outcome::Picture) {
    ++report_.decoded;
  } else {
    ++report_.held;
  }
  if (!isStreaming(report_.status.state)) return;  // the connection is lost meanwhile
  switch (outcome) {
    case Outcome::Picture:
      return setStreaming(report_.status, LiveReason::None, "");
    case Outcome::NoSets:
      return setStreaming(report_.status, LiveReason::NoKeyFrame, kNoKeyFrame);
    case Outcome::SetsTooOften:
      return setStreaming(report_.status, LiveReason::Undecodable,
                          "the stream changes its parameter sets all the time");
    case Outcome::Damaged:
      return setStreaming(report_.status, LiveReason::Undecodable,
                          "the frames that come can't be decoded");
    default:
      setStreaming(report_.status, LiveReason::PicturesOutOfOrder,
                   "frames are missing between those that came");
  }
}

}  // namespace quorvid
