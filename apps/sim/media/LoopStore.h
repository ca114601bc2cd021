#pragma once

#include <atomic>
#include <map>
#include <memory>
#include <semaphore>
#include <string>
#include <thread>
#include <utility>

#include "sim/Options.h"
#include "sim/media/LoopCache.h"
#include "sim/media/MediaLoop.h"

namespace quorvid::sim {

// The loops that clients play: one for each device and channel of the drawn scene, or one of the
// input file for all. Each is encoded on a thread of its own when it is first asked for, and kept.
//
// All calls on one thread.
class LoopStore {
 public:
  // @throws SimError when the input can't be used; UsageError when the size can't be sent
  explicit LoopStore(const Options& options);
  ~LoopStore();

  std::shared_ptr<const MediaLoop> loopFor(const std::string& device, int channel);

 private:
  struct Entry {
    std::shared_ptr<MediaLoop> loop;
    std::thread encoding;
    std::uint64_t lastUse = 0;
  };
  using Key = std::pair<std::string, int>;

  std::unique_ptr<PictureSource> openSource(const Key& key);
  Entry& add(const Key& key);
  // On the loop's own thread.
  void encode(MediaLoop& loop, std::unique_ptr<PictureSource> source);
  void fill(const Key& key, MediaLoop& loop);
  void makeRoom();

  const Options& options_;
  EncoderSettings settings_;
  const LoopCache cache_;
  std::size_t frames_ = 0;
  std::atomic<bool> stop_{false};
  std::counting_semaphore<> slots_;
  std::map<Key, Entry> entries_;
  std::uint64_t uses_ = 0;
};

}  // namespace quorvid::sim
