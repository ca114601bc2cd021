#include "quorvid/live/PicturePlayer.h"

#include <algorithm>
#include <chrono>
#include <exception>
#include <limits>
#include <utility>

#include "base/Clock.h"
#include "base/Thread.h"
#include "live/PlayerState.h"
#include "port/PlanarPicture.h"
#include "quorvid/base/Log.h"

namespace quorvid {
namespace {

constexpr double kLongestWait = 1e8;  // seconds; what a clock's count holds

template <class Handler>
std::shared_ptr<const Handler> shared(Handler handler) {
  return handler ? std::make_shared<const Handler>(std::move(handler)) : nullptr;
}

}  // namespace

bool copyAsNv12(const PlayedPicture& picture, std::vector<std::uint8_t>& bytes) {
  return planarToNv12(picture.buffer.get(), bytes);
}

bool copyAsRgb(const PlayedPicture& picture, std::vector<std::uint8_t>& bytes) {
  return planarToRgb(picture.buffer.get(), bytes);
}

std::unique_ptr<PicturePlayer> PicturePlayer::create(const PlayerOptions& options) {
  return make(options, false);
}

std::unique_ptr<PicturePlayer> PicturePlayer::createForFrames(double stallAfter) {
  PlayerOptions options;
  options.everyPicture = true;
  options.mostWaiting = std::numeric_limits<int>::max();  // brought into its range
  options.stallAfter = stallAfter;
  return make(options, true);
}

std::unique_ptr<PicturePlayer> PicturePlayer::make(const PlayerOptions& options, bool undecoded) {
  try {
    const auto state = std::make_shared<State>(options, undecoded);
    std::unique_ptr<PicturePlayer> player(new PicturePlayer(state));  // it ends the thread
    Thread thread([state] { state->run(); });
    if (!thread.start()) return nullptr;
    return player;
  } catch (const std::exception& error) {
    logMessage("PicturePlayer: not created: %s", error.what());
    return nullptr;
  }
}

PicturePlayer::PicturePlayer(std::shared_ptr<State> state) : state_(std::move(state)) {}

// The handlers go last, and without the lock: what they hold may call the library.
PicturePlayer::~PicturePlayer() {
  // A child of fork() has no thread to end, and the lock may be one that nobody lets go.
  if (!state_->isOurs()) return;
  State::Handler<PlayedPicture> pictureHandler;
  State::Handler<LiveStatus> statusHandler;
  std::unique_lock lock(state_->mutex);
  state_->ended = true;
  state_->player.stop();
  state_->dropPictures();
  state_->waitForHandler(lock);
  pictureHandler.swap(state_->pictureHandler);
  statusHandler.swap(state_->statusHandler);
  lock.unlock();
}

bool PicturePlayer::connect(const LiveTarget& target) {
  const std::lock_guard lock(state_->mutex);
  state_->dropPictures();
  state_->overtaken = 0;
  return state_->player.connect(target);
}

bool PicturePlayer::play() {
  const std::lock_guard lock(state_->mutex);
  if (state_->player.isPlaying()) return true;
  state_->dropPictures();
  state_->overtaken = 0;
  return state_->player.play();
}

void PicturePlayer::stop() {
  const std::lock_guard lock(state_->mutex);
  state_->player.stop();
  state_->dropPictures();
}

void PicturePlayer::restart() {
  const std::lock_guard lock(state_->mutex);
  state_->dropPictures();
  state_->overtaken = 0;
  state_->player.restart();
}

bool PicturePlayer::isPlaying() const {
  const std::lock_guard lock(state_->mutex);
  return state_->player.isPlaying();
}

LiveStatus PicturePlayer::status() const {
  const std::lock_guard lock(state_->mutex);
  return state_->player.status(steadySeconds());
}

LiveFigures PicturePlayer::figures() const {
  const std::lock_guard lock(state_->mutex);
  LiveFigures figures = state_->player.figures(steadySeconds());
  figures.overwritten += state_->overtaken;
  return figures;
}

bool PicturePlayer::handsOutFrames() const {
  return state_->isUndecoded;
}

std::optional<PlayedPicture> PicturePlayer::next(double seconds, Ended* why) {
  auto played = State::next(state_, false, seconds, why);
  return played ? std::optional(std::move(played->picture)) : std::nullopt;
}

std::optional<PlayedFrame> PicturePlayer::nextFrame(double seconds, Ended* why) {
  auto played = State::next(state_, true, seconds, why);
  return played ? std::optional(std::move(played->frame)) : std::nullopt;
}

// state: kept, because the player may go while this waits.
std::optional<PicturePlayer::State::Played> PicturePlayer::State::next(std::shared_ptr<State> state,
                                                                       bool undecoded,
                                                                       double seconds, Ended* why) {
  std::unique_lock lock(state->mutex);
  Ended ended = Ended::TimedOut;
  const auto isOver = [&, drops = state->drops] {
    if (state->drops != drops || !state->player.isPlaying()) ended = Ended::NotPlaying;
    if (state->pictureHandler != nullptr) ended = Ended::HandlerSet;
    if (state->isUndecoded != undecoded) ended = Ended::OtherKind;
    return ended != Ended::TimedOut;
  };
  const std::chrono::duration<double> most(seconds > 0 ? std::min(seconds, kLongestWait) : 0);
  state->changed.wait_for(lock, most, [&] { return !state->waiting.empty() || isOver(); });
  if (!isOver()) {
    if (auto played = state->take()) return played;
  }
  if (why != nullptr) *why = ended;
  return std::nullopt;
}

void PicturePlayer::setPictureHandler(std::function<void(const PlayedPicture&)> handler) {
  auto kept = shared(std::move(handler));
  if (state_->isUndecoded) return;
  std::unique_lock lock(state_->mutex);
  kept.swap(state_->pictureHandler);
  state_->changed.notify_all();
  state_->bell->ring();
  state_->waitForHandler(lock);
  lock.unlock();
}

void PicturePlayer::setStatusHandler(std::function<void(const LiveStatus&)> handler) {
  auto kept = shared(std::move(handler));
  std::unique_lock lock(state_->mutex);
  kept.swap(state_->statusHandler);
  state_->waitForHandler(lock);
  lock.unlock();
}

}  // namespace quorvid
