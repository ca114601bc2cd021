#include "sim/media/DrawnSource.h"

#include <array>

#include "sim/Error.h"

namespace quorvid::sim {

DrawnSource::DrawnSource(int width, int height, AVRational rate, std::size_t frames,
                         SceneLabels labels)
    : rate_(rate),
      frames_(frames),
      scene_(width, height, std::move(labels)),
      picture_(newPicture(width, height)),
      scaler_(sws_getContext(width, height, AV_PIX_FMT_BGR0, width, height, AV_PIX_FMT_YUV420P,
                             SWS_BILINEAR | SWS_ACCURATE_RND, nullptr, nullptr, nullptr)) {
  if (!scaler_) throw SimError("the drawn scene can't be converted for the encoder");
  setColours(scaler_.get(), matrixForLines(height), true, height);
}

AVFrame* DrawnSource::next() {
  if (index_ == frames_) return nullptr;
  const double seconds = static_cast<double>(index_) * av_q2d(av_inv_q(rate_));
  const double length = static_cast<double>(frames_) * av_q2d(av_inv_q(rate_));
  scene_.draw(
      {.counter = static_cast<std::uint16_t>(index_), .seconds = seconds, .loopSeconds = length});
  ++index_;
  if (av_frame_make_writable(picture_.get()) < 0) throw std::bad_alloc();
  const std::array<const std::uint8_t*, 4> from{scene_.pixels(), nullptr, nullptr, nullptr};
  const std::array<int, 4> stride{scene_.stride(), 0, 0, 0};
  sws_scale(scaler_.get(), from.data(), stride.data(), 0, picture_->height, picture_->data,
            picture_->linesize);
  return picture_.get();
}

}  // namespace quorvid::sim
