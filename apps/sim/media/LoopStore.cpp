#include "sim/media/LoopStore.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>

#include "sim/Error.h"
#include "sim/media/DrawnSource.h"
#include "sim/media/FileSource.h"

namespace quorvid::sim {
namespace {

// So many loops are encoded at a time, and kept: any name makes a loop, and names cost a client
// nothing.
constexpr std::ptrdiff_t kEncoders = 8;
constexpr std::size_t kLoops = 256;

constexpr double kDrawnSeconds = 4;
constexpr double kFileSeconds = 10;

// The first pictures of one source, then what the other has from there on.
class HalvedSource final : public PictureSource {
 public:
  HalvedSource(std::unique_ptr<DrawnSource> first, std::unique_ptr<DrawnSource> second,
               std::size_t count)
      : first_(std::move(first)), second_(std::move(second)), count_(count) {
    second_->moveTo(count_);
  }
  AVFrame* next() override { return index_++ < count_ ? first_->next() : second_->next(); }
  void rewind() override {
    index_ = 0;
    first_->rewind();
    second_->moveTo(count_);
  }
  AVRational rate() const override { return first_->rate(); }

 private:
  std::unique_ptr<DrawnSource> first_, second_;
  const std::size_t count_;
  std::size_t index_ = 0;
};

// Encodes one picture, so that a size that can't be sent is refused at the start.
void tryEncoder(EncoderSettings settings) {
  const FramePtr picture = newPicture(settings.width, settings.height);
  for (int plane = 0; plane < 3; ++plane) {
    const int lines = plane == 0 ? settings.height : settings.height / 2;
    std::fill_n(picture->data[plane], picture->linesize[plane] * lines, std::uint8_t{128});
  }
  try {
    Encoder(settings).encode(*picture);
  } catch (const SimError& error) {
    throw UsageError(fmt::format("--size: {}", error.what()));
  }
}

}  // namespace

LoopStore::LoopStore(const Options& options)
    : options_(options), settings_(options.encoder), cache_(options.cache), slots_(kEncoders) {
  settings_.rate = options.rate.value_or(settings_.rate);
  std::unique_ptr<PictureSource> file;
  if (!options.input.empty()) {
    file = openSource({});
    settings_.rate = file->rate();
  }
  tryEncoder(settings_);
  const double seconds = options.loopSeconds.value_or(file ? kFileSeconds : kDrawnSeconds);
  frames_ = static_cast<std::size_t>(std::max(1L, std::lround(seconds * av_q2d(settings_.rate))));
  if (file) {
    Entry& entry = entries_[{}];
    entry.loop = std::make_shared<MediaLoop>(settings_, frames_);
    entry.encoding = std::thread([this, loop = entry.loop, source = std::move(file)]() mutable {
      encode(*loop, std::move(source));
    });
  }
}

LoopStore::~LoopStore() {
  stop_ = true;
  for (auto& [key, entry] : entries_) {
    if (entry.encoding.joinable()) entry.encoding.join();
  }
}

std::unique_ptr<PictureSource> LoopStore::openSource(const Key& key) {
  const int width = settings_.width;
  const int height = settings_.height;
  if (!options_.input.empty()) {
    return std::make_unique<FileSource>(options_.input, width, height, options_.rate, stop_);
  }
  const auto drawn = [&](int wide, int high) {
    return std::make_unique<DrawnSource>(wide, high, settings_.rate, frames_,
                                         SceneLabels{key.first, key.second},
                                         av_q2d(settings_.sampleShape));
  };
  const EncoderSettings& later = options_.later;
  if (later.width == 0) return drawn(width, height);
  return std::make_unique<HalvedSource>(drawn(width, height), drawn(later.width, later.height),
                                        frames_ / 2);
}

std::shared_ptr<const MediaLoop> LoopStore::loopFor(const std::string& device, int channel) {
  const Key key = options_.input.empty() ? Key{device, channel} : Key{};
  const auto found = entries_.find(key);
  Entry& entry = found == entries_.end() ? add(key) : found->second;
  entry.lastUse = ++uses_;
  return entry.loop;
}

LoopStore::Entry& LoopStore::add(const Key& key) {
  makeRoom();
  Entry& entry = entries_[key];
  entry.loop = std::make_shared<MediaLoop>(settings_, frames_);
  entry.encoding = std::thread([this, key, loop = entry.loop] { fill(key, *loop); });
  return entry;
}

void LoopStore::fill(const Key& key, MediaLoop& loop) {
  const std::string what =
      fmt::format("{}, then {}x{}, {} frames, {} {}", textOf(settings_), options_.later.width,
                  options_.later.height, frames_, key.first, key.second);
  auto frames = cache_.load(what);
  if (!frames.empty()) return loop.take(std::move(frames));
  encode(loop, openSource(key));
  cache_.store(what, loop.frames());
}

void LoopStore::encode(MediaLoop& loop, std::unique_ptr<PictureSource> source) {
  while (!slots_.try_acquire_for(std::chrono::milliseconds(50))) {
    if (stop_) return;
  }
  loop.encode(*source, stop_);
  slots_.release();
}

// Forgets the loop that was not asked for longest, if one is finished and nobody plays it.
void LoopStore::makeRoom() {
  if (entries_.size() < kLoops) return;
  auto oldest = entries_.end();
  for (auto it = entries_.begin(); it != entries_.end(); ++it) {
    const bool idle = it->second.loop.use_count() == 1;
    if (idle && (oldest == entries_.end() || it->second.lastUse < oldest->second.lastUse)) {
      oldest = it;
    }
  }
  if (oldest == entries_.end()) return;
  oldest->second.encoding.join();
  entries_.erase(oldest);
}

}  // namespace quorvid::sim
