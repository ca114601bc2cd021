#pragma once

#include <atomic>
#include <optional>
#include <string>

#include "sim/media/PictureSource.h"

namespace quorvid::sim {

// The pictures of a media file, scaled to one size and re-timed to one rate.
class FileSource final : public PictureSource {
 public:
  // Opens the file and decodes its first picture, so that an unusable file shows at once.
  // @param rate pictures a second; nothing keeps the file's own rate
  // @param stop breaks off reading of slow media when it becomes true; outlives this object
  // @throws SimError with a sentence about the file
  FileSource(std::string path, int width, int height, std::optional<AVRational> rate,
             const std::atomic<bool>& stop);

  AVFrame* next() override;
  void rewind() override;
  AVRational rate() const override { return rate_; }

 private:
  void open();
  void openDecoder(const AVStream& stream, const AVCodec* codec);
  [[noreturn]] void fail(const std::string& what) const;
  bool decode(AVFrame& into);
  bool feedDecoder();
  void advance();
  double secondsOf(const AVFrame& frame);
  void scale(const AVFrame& from);

  const std::string path_;
  const std::atomic<bool>& stop_;
  FormatPtr format_;
  CodecPtr codec_;
  int stream_ = -1;
  PacketPtr packet_;
  AVRational fileRate_{25, 1};
  AVRational rate_{25, 1};
  // The picture on show and the one after it, with their times since the first.
  FramePtr current_, upcoming_;
  bool hasUpcoming_ = false;
  double currentTime_ = 0, upcomingTime_ = 0;
  std::optional<double> origin_;
  double lastTime_ = 0;
  bool draining_ = false;
  std::int64_t count_ = 0;
  FramePtr picture_;
  ScalerPtr scaler_;
  int scalerWidth_ = 0, scalerHeight_ = 0, scalerFormat_ = -1;
  AVColorSpace scalerMatrix_ = AVCOL_SPC_UNSPECIFIED;
  bool scalerFullRange_ = false;
};

}  // namespace quorvid::sim
