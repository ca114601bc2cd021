// What a PicturePlayer and its thread share.
//
//   session -> LivePlayer::turn() -> waiting -> next(), or the picture handler
//              \_________ the player's thread ________________________________/
//
// The thread holds the state, so it may end after the player. Handlers run without the lock.
#pragma once

#include <unistd.h>

#include <condition_variable>
#include <deque>
#include <mutex>
#include <thread>

#include "live/Bell.h"
#include "live/LivePlayer.h"
#include "quorvid/live/PicturePlayer.h"

namespace quorvid {

struct PicturePlayer::State {
  template <class Value>
  using Handler = std::shared_ptr<const std::function<void(const Value&)>>;

  // What waits: a picture, or of a player of frames a frame.
  struct Played {
    PlayedPicture picture;
    PlayedFrame frame;
  };

  State(const PlayerOptions& options, bool undecoded);
  // The player's thread.
  void run();
  // Not in a child of fork(), which got a copy without that thread.
  bool isOurs() const { return process_ == getpid(); }

  // Waits for the next one: see PicturePlayer::next().
  static std::optional<Played> next(std::shared_ptr<State> state, bool undecoded, double seconds,
                                    Ended* why);

  // With the lock held, all of them.
  std::optional<Played> take();
  void dropPictures();
  void waitForHandler(std::unique_lock<std::mutex>& lock);

  const bool isUndecoded, isEvery;
  const std::size_t mostWaiting;
  const std::shared_ptr<Bell> bell = std::make_shared<Bell>();
  const std::shared_ptr<Wake> wake = std::make_shared<Wake>();

  std::mutex mutex;                 // guards what follows
  std::condition_variable changed;  // a picture, a stop, a handler: whatever somebody waits for
  LivePlayer player;
  std::deque<Played> waiting;
  std::uint64_t overtaken = 0;  // of those that waited here, since play()
  std::uint64_t drops = 0;      // how often all that waited were dropped
  Handler<PlayedPicture> pictureHandler;
  Handler<LiveStatus> statusHandler;
  LiveStatus told;
  bool ended = false;

 private:
  void turn(std::unique_lock<std::mutex>& lock);
  void collect();
  std::optional<Picture> takeTurn();
  void handOver(std::unique_lock<std::mutex>& lock);
  void tell(std::unique_lock<std::mutex>& lock);
  template <class Value>
  void call(std::unique_lock<std::mutex>& lock, Handler<Value> handler, const Value& value);

  const pid_t process_ = getpid();
  std::thread::id thread_;
  bool handlerRuns_ = false;
  std::uint64_t handled_ = 0;
};

}  // namespace quorvid
