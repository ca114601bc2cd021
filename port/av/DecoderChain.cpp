#include "port/av/DecoderChain.h"

#include <unistd.h>

#include <atomic>
#include <filesystem>
#include <system_error>
#include <utility>

#include "port/av/LibavDecoder.h"

namespace quorvid {
namespace {

bool canOpen(const char* path) {
  return access(path, R_OK | W_OK) == 0;
}

bool hasRenderNode() {
  std::error_code error;
  for (std::filesystem::directory_iterator entry("/dev/dri", error), end; !error && entry != end;
       entry.increment(error)) {
    const std::filesystem::path& path = entry->path();
    if (path.filename().string().starts_with("render") && canOpen(path.c_str())) return true;
  }
  return false;
}

// Whether it makes sense to ask for this kind of device at all.
bool isPlausible(AVHWDeviceType type) {
  switch (type) {
    case AV_HWDEVICE_TYPE_CUDA:
      return canOpen("/dev/nvidiactl");
    case AV_HWDEVICE_TYPE_VDPAU:
      return false;  // wants a display; the same devices are there as CUDA or VAAPI
    default:
      return hasRenderNode();
  }
}

AvBufferPtr openDevice(AVHWDeviceType type) {
  // A device that can't be opened is slow to say so, and each session would ask again.
  static std::atomic<std::uint32_t> failed{0};  // one bit for each kind
  const std::uint32_t bit = 1U << (static_cast<unsigned>(type) % 32);
  AVDictionary* options = nullptr;
  av_dict_set(&options, "connection_type", "drm", 0);  // no display; other kinds don't look at it
  AVBufferRef* device = nullptr;
  if ((failed.load(std::memory_order_relaxed) & bit) == 0 &&
      av_hwdevice_ctx_create(&device, type, nullptr, options, 0) < 0) {
    failed.fetch_or(bit, std::memory_order_relaxed);
  }
  av_dict_free(&options);
  return AvBufferPtr(device);
}

DecoderCandidate deviceCandidate(const AVCodec* codec, const AVCodecHWConfig& config) {
  const AVHWDeviceType type = config.device_type;
  const AVPixelFormat pixels = config.pix_fmt;
  return {av_hwdevice_get_type_name(type), [codec, type, pixels](const h264::ParameterSets& sets) {
            const AvBufferPtr device = openDevice(type);
            return device ? LibavDecoder::open({codec, device.get(), pixels}, sets) : nullptr;
          }};
}

}  // namespace

DecoderCandidates decoderCandidates() {
  DecoderCandidates candidates;
  if (!avCodecLibrary.load().empty()) return candidates;
  // By name: the plain decoder carries the devices, and another build's first choice may not.
  const AVCodec* codec = avcodec_find_decoder_by_name("h264");
  if (codec == nullptr) codec = avcodec_find_decoder(AV_CODEC_ID_H264);
  for (int i = 0; codec != nullptr; ++i) {
    const AVCodecHWConfig* const config = avcodec_get_hw_config(codec, i);
    if (config == nullptr) break;
    if ((config->methods & AV_CODEC_HW_CONFIG_METHOD_HW_DEVICE_CTX) != 0 &&
        isPlausible(config->device_type)) {
      candidates.push_back(deviceCandidate(codec, *config));
    }
  }
  candidates.push_back({"software", [codec](const h264::ParameterSets& sets) {
                          return LibavDecoder::open({codec, nullptr, AV_PIX_FMT_NONE}, sets);
                        }});
  return candidates;
}

std::unique_ptr<DecoderChain> DecoderChain::open(DecoderCandidates candidates,
                                                 h264::ParameterSets sets) {
  for (auto candidate = candidates.begin(); candidate != candidates.end(); ++candidate) {
    if (auto decoder = candidate->open(sets)) {
      std::unique_ptr<DecoderChain> chain(new DecoderChain);
      chain->name_ = candidate->name;
      chain->current_ = std::move(decoder);
      chain->later_.assign(candidate + 1, candidates.end());
      chain->sets_ = std::move(sets);
      return chain;
    }
  }
  return nullptr;
}

DecodedPicture DecoderChain::decode(const AVPacket& packet) {
  const DecodedPicture picture = current_->decode(packet);
  if (picture.frame != nullptr) {
    fallback_.reset();
    triedFallback_ = false;
    return picture;
  }
  // The next ones are opened once for a run of units without a picture: a stream joined between
  // key frames has hundreds of those.
  if (!triedFallback_) {
    fallback_ = open(later_, sets_);
    triedFallback_ = true;
  }
  const DecodedPicture retried = fallback_ ? fallback_->decode(packet) : DecodedPicture{};
  if (retried.frame == nullptr) return picture;
  const std::unique_ptr<DecoderChain> successor = std::move(fallback_);
  *this = std::move(*successor);
  return retried;
}

}  // namespace quorvid
