#include "port/av/LibavDecoder.h"

#include <cstring>
#include <utility>

#include "h264/Sps.h"

namespace quorvid {
namespace {

// Added to the level of each message, so that none is severe enough to be printed.
constexpr int kQuieter = AV_LOG_TRACE + 8;
// Device frames in our hands while the device works: the latest and the one before.
constexpr int kFramesHeld = 2;
constexpr std::int64_t kPixelsOfMacroblock = 256;

OSStatus statusOf(int error) {
  switch (error) {
    case 0:
      return noErr;
    case AVERROR_INVALIDDATA:
      return kVTVideoDecoderBadDataErr;
    case AVERROR(ENOMEM):
      return kVTAllocationFailedErr;
    default:
      return kVTVideoDecoderMalfunctionErr;
  }
}

bool setExtradata(AVCodecContext& context, const std::vector<std::uint8_t>& record) {
  auto* const bytes =
      static_cast<std::uint8_t*>(av_mallocz(record.size() + AV_INPUT_BUFFER_PADDING_SIZE));
  if (bytes == nullptr) return false;
  std::memcpy(bytes, record.data(), record.size());
  context.extradata = bytes;  // the context frees it
  context.extradata_size = static_cast<int>(record.size());
  return true;
}

}  // namespace

std::unique_ptr<PictureDecoder> LibavDecoder::open(const LibavDecoderSetup& setup,
                                                   const h264::ParameterSets& sets) {
  std::unique_ptr<LibavDecoder> decoder(new LibavDecoder(setup.devicePixels));
  return decoder->configure(setup, sets) ? std::move(decoder) : nullptr;
}

bool LibavDecoder::configure(const LibavDecoderSetup& setup, const h264::ParameterSets& sets) {
  context_.reset(setup.codec != nullptr ? avcodec_alloc_context3(setup.codec) : nullptr);
  for (AvFramePtr* frame : {&next_, &frame_, &fetched_}) {
    frame->reset(av_frame_alloc());
  }
  if (!context_ || !next_ || !frame_ || !fetched_ || !setExtradata(*context_, sets.avcRecord())) {
    return false;
  }
  context_->log_level_offset = kQuieter;
  // More threads would each hold a picture back; low delay stops libavcodec from waiting for
  // pictures that belong before the one that it has.
  context_->thread_count = 1;
  // Every picture comes out: libavcodec's own wait for a key frame knows no key frames but IDR
  // ones.
  context_->flags |= AV_CODEC_FLAG_LOW_DELAY | AV_CODEC_FLAG_OUTPUT_CORRUPT;
  // Lost macroblocks are taken from the picture before, and mark the picture as damaged. Guessing
  // their motion costs up to five times the decoding of the picture, which isn't shown.
  context_->error_concealment = FF_EC_FAVOR_INTER;
  context_->max_pixels = h264::kMaxFrameSizeInMbs * kPixelsOfMacroblock;
  if (setup.device != nullptr) {
    context_->hw_device_ctx = av_buffer_ref(setup.device);
    context_->extra_hw_frames = kFramesHeld;
    context_->opaque = this;
    context_->get_format = choosePixels;
  }
  return avcodec_open2(context_.get(), setup.codec, nullptr) == 0;
}

AVPixelFormat LibavDecoder::choosePixels(AVCodecContext* context, const AVPixelFormat* offered) {
  const auto* const decoder = static_cast<const LibavDecoder*>(context->opaque);
  for (; *offered != AV_PIX_FMT_NONE; ++offered) {
    if (*offered == decoder->devicePixels_) return *offered;
  }
  return AV_PIX_FMT_NONE;  // the device can't do this stream: an error, and the next candidate
}

DecodedPicture LibavDecoder::decode(const AVPacket& packet) {
  const int sent = avcodec_send_packet(context_.get(), &packet);
  DecodedPicture picture = receive((packet.flags & AV_PKT_FLAG_KEY) != 0);
  if (sent < 0) picture = {statusOf(sent), nullptr};
  return picture;
}

// Takes all there is and keeps the latest, so that nothing is left to delay a later unit.
DecodedPicture LibavDecoder::receive(bool isKey) {
  av_frame_unref(frame_.get());
  int received = 0;
  while ((received = avcodec_receive_frame(context_.get(), next_.get())) == 0) {
    std::swap(next_, frame_);
  }
  if (received != AVERROR(EAGAIN) && received != AVERROR_EOF) return {statusOf(received), nullptr};
  if (frame_->buf[0] == nullptr) return {};
  // Slices were lost or guessed: such a picture is not shown.
  if (frame_->decode_error_flags != 0) return {kVTVideoDecoderBadDataErr, nullptr};
  // Not joined yet by libavcodec's rule, nor by ours: built on references that were made up. That
  // matters for a decoder that was opened in the middle of a stream, in place of one that failed.
  joined_ = joined_ || isKey || (frame_->flags & AV_FRAME_FLAG_CORRUPT) == 0;
  if (!joined_) return {};
  return frame_->format == devicePixels_ ? fetchFromDevice() : DecodedPicture{noErr, frame_.get()};
}

// A device's frame is only a handle: its samples are copied into memory, and size and colours
// beside them.
DecodedPicture LibavDecoder::fetchFromDevice() {
  av_frame_unref(fetched_.get());
  if (av_hwframe_transfer_data(fetched_.get(), frame_.get(), 0) < 0 ||
      av_frame_copy_props(fetched_.get(), frame_.get()) < 0) {
    return {kVTVideoDecoderMalfunctionErr, nullptr};
  }
  return {noErr, fetched_.get()};
}

}  // namespace quorvid
