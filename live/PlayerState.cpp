#include "live/PlayerState.h"

#include <algorithm>
#include <chrono>
#include <limits>
#include <new>
#include <utility>

#include "base/Clock.h"
#include "base/LogQuiet.h"
#include "quorvid/base/Log.h"

namespace quorvid {
namespace {

constexpr std::chrono::milliseconds kTick{250};  // a silent stream is noticed by then
constexpr int kMostWaiting = 64;

double atLeastZero(double seconds) {
  return seconds > 0 ? seconds : 0;  // nor is it no number
}

LiveOptions liveOptionsOf(const PlayerOptions& options) {
  LiveOptions live;
  live.stallAfter = atLeastZero(options.stallAfter);
  live.mostLag =
      options.everyPicture ? std::numeric_limits<double>::infinity() : atLeastZero(options.mostLag);
  return live;
}

double dateOf(double arrival) {
  return timeIntervalSince1970() - (steadySeconds() - arrival);
}

PlayedPicture pictureOf(Picture picture) {
  PlayedPicture played;
  played.buffer = {picture.buffer.release(), PictureRelease()};
  played.number = picture.number;
  played.arrival = picture.arrival;
  played.arrivalDate = dateOf(picture.arrival);
  return played;
}

// The zero that a session puts in front stays behind.
PlayedFrame frameOf(const Picture& picture) {
  const Frame& frame = *picture.frame;
  PlayedFrame played;
  played.bytes = {picture.frame, frame.bytes.data() + 1};
  played.size = frame.bytes.size() - 1;
  played.number = picture.number;
  played.arrival = frame.arrival;
  played.arrivalDate = dateOf(frame.arrival);
  played.isKey = frame.isKey;
  played.continues = frame.continues;
  played.width = picture.shape.width;
  played.height = picture.shape.height;
  return played;
}

}  // namespace

PicturePlayer::State::State(const PlayerOptions& options, bool undecoded)
    : isUndecoded(undecoded),
      isEvery(options.everyPicture),
      mostWaiting(isEvery ? std::clamp(options.mostWaiting, 1, kMostWaiting) : 1),
      player(liveOptionsOf(options), wake, {PictureForm::AsDecoded, isEvery, undecoded}) {
  wake->setHandler([ringing = bell] { ringing->ring(); });
}

void PicturePlayer::State::run() {
  const LogQuiet quiet;
  std::unique_lock lock(mutex);
  thread_ = std::this_thread::get_id();
  while (!ended) {
    lock.unlock();
    bell->wait(kTick);
    wake->clear();
    lock.lock();
    turn(lock);
  }
}

// A turn that lacks memory is over, and the next one comes by itself.
void PicturePlayer::State::turn(std::unique_lock<std::mutex>& lock) {
  try {
    collect();
    handOver(lock);
    tell(lock);
  } catch (const std::bad_alloc&) {
    logMessage("PicturePlayer: there is no memory for a picture or a state");
  }
}

// Without room nothing is taken: the session waits, and so does the watch over its pictures.
void PicturePlayer::State::collect() {
  while (!ended && !(isEvery && waiting.size() >= mostWaiting)) {
    auto picture = takeTurn();
    if (!picture) return;
    if (!isEvery) {
      overtaken += waiting.size() - 1;
      waiting.erase(waiting.begin(), waiting.end() - 1);
    }
    if (isUndecoded) {
      waiting.back().frame = frameOf(*picture);
    } else {
      try {
        waiting.back().picture = pictureOf(std::move(*picture));
      } catch (const std::bad_alloc&) {
        waiting.pop_back();
        ++overtaken;
        throw;
      }
    }
    changed.notify_all();
  }
}

// A picture that was taken has its place, at the end of those that wait.
std::optional<Picture> PicturePlayer::State::takeTurn() {
  waiting.emplace_back();
  std::optional<Picture> picture;
  try {
    picture = player.turn(steadySeconds());
  } catch (const std::bad_alloc&) {
    waiting.pop_back();
    throw;
  }
  if (!picture) waiting.pop_back();
  return picture;
}

std::optional<PicturePlayer::State::Played> PicturePlayer::State::take() {
  if (waiting.empty()) return std::nullopt;
  if (waiting.size() == mostWaiting) bell->ring();  // there is room again
  Played played = std::move(waiting.front());
  waiting.pop_front();
  player.pictureShown(steadySeconds(), isUndecoded ? played.frame.arrival : played.picture.arrival);
  return played;
}

// One picture a turn, so that the status is told between them.
void PicturePlayer::State::handOver(std::unique_lock<std::mutex>& lock) {
  if (ended || pictureHandler == nullptr) return;
  if (const auto played = take()) call(lock, pictureHandler, played->picture);
  if (!waiting.empty()) bell->ring();
}

void PicturePlayer::State::tell(std::unique_lock<std::mutex>& lock) {
  if (ended) return;
  const LiveStatus status = player.status(steadySeconds());
  if (status == told) return;
  told = status;
  if (statusHandler != nullptr) call(lock, statusHandler, status);
}

template <class Value>
void PicturePlayer::State::call(std::unique_lock<std::mutex>& lock, Handler<Value> handler,
                                const Value& value) {
  handlerRuns_ = true;
  lock.unlock();
  try {
    (*handler)(value);
  } catch (const std::bad_alloc&) {
    logMessage("PicturePlayer: a handler lacked memory");
  }
  handler.reset();
  lock.lock();
  handlerRuns_ = false;
  ++handled_;
  changed.notify_all();
}

void PicturePlayer::State::waitForHandler(std::unique_lock<std::mutex>& lock) {
  if (std::this_thread::get_id() == thread_) return;
  changed.wait(lock, [this, before = handled_] { return !handlerRuns_ || handled_ != before; });
}

void PicturePlayer::State::dropPictures() {
  waiting.clear();
  ++drops;
  changed.notify_all();
  bell->ring();
}

}  // namespace quorvid
