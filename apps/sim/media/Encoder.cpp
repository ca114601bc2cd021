#include "sim/media/Encoder.h"

#include <fmt/format.h>

#include <algorithm>

#include "sim/Error.h"
#include "sim/media/AccessUnit.h"

extern "C" {
#include <libavutil/opt.h>
}

namespace quorvid::sim {
namespace {

// No weighted prediction, no 8x8 transform and average-bitrate control: the picture parameter set
// has 4 bytes. No lookahead, so that every picture comes out as it goes in.
constexpr const char* kParameters =
    "slices=1:sliced-threads=0:threads=1:no-psy=1:ref=1:weightp=0:bframes=0:scenecut=0:"
    "rc-lookahead=0:sync-lookahead=0:mbtree=0:force-cfr=1:8x8dct=0";

// The rate control's buffer is a frame's upper bound but for its rounding; a tenth is left for
// that.
constexpr std::int64_t kBufferBits = static_cast<std::int64_t>(kMaxFrameBytes) * 8 * 9 / 10;

}  // namespace

std::int64_t effectiveBitrate(const EncoderSettings& settings) {
  if (settings.bitrate > 0) return settings.bitrate;
  const double pixels = av_q2d(settings.rate) * settings.width * settings.height;
  return std::max<std::int64_t>(static_cast<std::int64_t>(pixels * 0.16), 100'000);
}

std::string textOf(const EncoderSettings& settings) {
  return fmt::format("{}x{} {}/{} gop {} {} bit/s sei {} shape {}/{}", settings.width,
                     settings.height, settings.rate.num, settings.rate.den, settings.gop,
                     effectiveBitrate(settings), settings.sei, settings.sampleShape.num,
                     settings.sampleShape.den);
}

Encoder::Encoder(const EncoderSettings& settings)
    : settings_(settings), packet_(owned(av_packet_alloc())) {
  const AVCodec* codec = avcodec_find_encoder_by_name("libx264");
  if (codec == nullptr) throw SimError("the H.264 encoder libx264 is not available");
  codec_ = owned(avcodec_alloc_context3(codec));
  codec_->width = settings.width;
  codec_->height = settings.height;
  codec_->pix_fmt = AV_PIX_FMT_YUV420P;
  codec_->framerate = settings.rate;
  codec_->time_base = av_inv_q(settings.rate);
  codec_->gop_size = settings.gop;
  codec_->max_b_frames = 0;
  codec_->thread_count = 1;
  codec_->bit_rate = effectiveBitrate(settings);
  codec_->rc_max_rate = codec_->bit_rate * 3 / 2;
  codec_->rc_buffer_size = static_cast<int>(std::min(codec_->bit_rate, kBufferBits));
  av_opt_set(codec_->priv_data, "preset", "veryfast", 0);
  av_opt_set(codec_->priv_data, "profile", "main", 0);
  av_opt_set(codec_->priv_data, "forced-idr", "1", 0);
  av_opt_set(codec_->priv_data, "x264-params", kParameters, 0);
  const int result = avcodec_open2(codec_.get(), codec, nullptr);
  if (result < 0) {
    throw SimError(fmt::format("the H.264 encoder refuses {}x{}: {}", settings.width,
                               settings.height, errorText(result)));
  }
}

ByteView Encoder::encodePlain(AVFrame& picture) {
  picture.pts = count_;
  picture.pict_type = count_ % settings_.gop == 0 ? AV_PICTURE_TYPE_I : AV_PICTURE_TYPE_NONE;
  ++count_;
  av_packet_unref(packet_.get());
  int result = avcodec_send_frame(codec_.get(), &picture);
  if (result >= 0) result = avcodec_receive_packet(codec_.get(), packet_.get());
  if (result < 0) throw SimError(fmt::format("the H.264 encoder failed: {}", errorText(result)));
  return {packet_->data, static_cast<std::size_t>(packet_->size)};
}

EncodedFrame Encoder::encode(AVFrame& picture) {
  EncodedFrame frame;
  frame.bytes = arrangeFrame(encodePlain(picture), settings_.sei, settings_.sampleShape);
  frame.key = isKeyFrame(frame.bytes);
  return frame;
}

}  // namespace quorvid::sim
