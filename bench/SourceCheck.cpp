#include "SourceCheck.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cmath>
#include <optional>
#include <utility>

namespace quorvid::bench {
namespace {

using namespace quorvid::sim;

constexpr std::size_t kChannels = 3;
constexpr std::array<double, kChannels> kLuma{.299, .587, .114};
constexpr int kCellColumns = static_cast<int>(kGridColumns);
constexpr int kCellRows = static_cast<int>(kGridRows);

// The number in the block code; nothing where its checksum doesn't hold. A cell's value is the mean
// of its middle, so that single wrong pixels don't spoil it.
std::optional<int> numberIn(const ShownPicture& picture) {
  CodeCells cells{};
  for (std::size_t i = 0; i < cells.size(); ++i) {
    const auto [x, y] = codePixel(i, picture.width, picture.height);
    int sum = 0;
    for (const auto& [dx, dy] : {std::pair{0, 0}, {-2, 0}, {2, 0}, {0, -2}, {0, 2}}) {
      const int pixel = (y + dy) * picture.width + x + dx;
      sum += picture.rgb[static_cast<std::size_t>(pixel) * kChannels + 1];
    }
    cells[i] = sum > 5 * 126;
  }
  return counterIn(cells);
}

double decibels(double squares, double samples) {
  return 10 * std::log10(255 * 255 * samples / std::max(squares, 1.0));
}

void compare(const ShownPicture& picture, const std::vector<std::uint8_t>& source,
             CheckedPicture& checked) {
  std::array<double, std::size_t{kCellColumns} * kCellRows> squares{}, samples{};
  double allSquares = 0;
  std::size_t at = 0;
  for (int y = 0; y < picture.height; ++y) {
    const int row = y * kCellRows / picture.height;
    for (int x = 0; x < picture.width; ++x) {
      const auto cell = std::size_t{kCellColumns} * row + x * kCellColumns / picture.width;
      double luma = 0;
      for (std::size_t c = 0; c < kChannels; ++c, ++at) {
        const double difference = picture.rgb[at] - source[at];
        allSquares += difference * difference;
        luma += kLuma[c] * difference;
      }
      squares[cell] += luma * luma;
      ++samples[cell];
    }
  }
  checked.decibels = decibels(allSquares, static_cast<double>(at));
  checked.worstCell = 100;
  for (std::size_t i = 0; i < squares.size(); ++i) {
    checked.worstCell = std::min(checked.worstCell, decibels(squares[i], samples[i]));
  }
}

}  // namespace

SourceCheck::SourceCheck(SourceSettings settings)
    : settings_(std::move(settings)),
      frames_(std::lround(settings_.loopSeconds * av_q2d(settings_.rate))),
      thread_([this] { run(); }) {}

SourceCheck::~SourceCheck() {
  finish();
}

void SourceCheck::add(ShownPicture picture) {
  const std::lock_guard lock(mutex_);
  waiting_.push_back(std::move(picture));
  changed_.notify_one();
}

std::vector<CheckedPicture> SourceCheck::finish() {
  {
    const std::lock_guard lock(mutex_);
    ends_ = true;
    changed_.notify_one();
  }
  if (thread_.joinable()) thread_.join();
  return checked_;
}

void SourceCheck::run() {
  std::unique_lock lock(mutex_);
  for (;;) {
    changed_.wait(lock, [this] { return ends_ || !waiting_.empty(); });
    if (waiting_.empty()) return;
    const ShownPicture picture = std::move(waiting_.front());
    waiting_.pop_front();
    lock.unlock();
    const CheckedPicture checked = check(picture);
    lock.lock();
    checked_.push_back(checked);
  }
}

CheckedPicture SourceCheck::check(const ShownPicture& picture) {
  CheckedPicture checked;
  checked.view = picture.view;
  checked.time = picture.time;
  checked.streamWidth = picture.streamWidth;
  checked.streamHeight = picture.streamHeight;
  const auto number = numberIn(picture);
  if (!number || *number >= frames_) return checked;
  checked.number = *number;
  compare(picture, drawn(picture, *number), checked);
  // Picture n of the endless stream is due at n / rate.
  const double rate = av_q2d(settings_.rate);
  const double loop = static_cast<double>(frames_) / rate;
  checked.age = std::fmod(picture.time - *number / rate, loop);
  const long due = std::lround((picture.time - checked.age) * rate);
  const auto last = lastDue_.find(picture.view);
  checked.isInOrder = last == lastDue_.end() || due > last->second;
  lastDue_[picture.view] = due;
  return checked;
}

DrawnSource& SourceCheck::sourceOf(const ShownPicture& picture) {
  auto& source =
      sources_[{picture.streamWidth, picture.streamHeight, picture.shape, picture.channel}];
  if (source == nullptr) {
    source = std::make_unique<DrawnSource>(
        picture.streamWidth, picture.streamHeight, settings_.rate,
        static_cast<std::size_t>(frames_), SceneLabels{settings_.device, picture.channel},
        picture.shape * picture.streamHeight / picture.streamWidth);
  }
  return *source;
}

// The source's picture at the size of the shown one.
std::vector<std::uint8_t> SourceCheck::drawn(const ShownPicture& picture, int number) {
  DrawnSource& source = sourceOf(picture);
  source.moveTo(static_cast<std::size_t>(number));
  const AVFrame* frame = source.next();
  std::vector<std::uint8_t> rgb(picture.rgb.size());
  const ScalerPtr scaler(
      sws_getContext(frame->width, frame->height, AV_PIX_FMT_YUV420P, picture.width, picture.height,
                     AV_PIX_FMT_RGB24, SWS_BILINEAR | SWS_ACCURATE_RND, nullptr, nullptr, nullptr));
  const int* matrix = sws_getCoefficients(matrixForLines(frame->height));
  sws_setColorspaceDetails(scaler.get(), matrix, 0, matrix, 1, 0, 1 << 16, 1 << 16);
  std::uint8_t* const to = rgb.data();
  const int stride = static_cast<int>(kChannels) * picture.width;
  sws_scale(scaler.get(), frame->data, frame->linesize, 0, frame->height, &to, &stride);
  return rgb;
}

}  // namespace quorvid::bench
