#pragma once

#include <atomic>
#include <optional>
#include <string>

#include "sim/media/PictureSource.h"

namespace quorvid::sim {

// The pictures of a media file, scaled to one size and re-timed to one rate by a filter graph.
class FileSource final : public PictureSource {
 public:
  // Opens the file and decodes its first picture, so that an unusable file shows at once.
  // @param rate pictures a second; nothing keeps the file's own rate
  // @param stop breaks off reading of slow media when it becomes true; outlives this object
  // @throws SimError with a sentence about the file
  FileSource(std::string path, int width, int height, std::optional<AVRational> rate,
             const std::atomic<bool>& stop);

  AVFrame* next() override;
  // Opens the file anew, which works for everything that can be opened once, seekable or not.
  void rewind() override;
  AVRational rate() const override { return wantedRate_.value_or(fileRate_); }

 private:
  [[noreturn]] void fail(const std::string& what) const;
  void open();
  void openDecoder(const AVStream& stream, const AVCodec* codec);
  void openGraph();
  bool feedDecoder();
  bool decode();
  double secondsOfDecoded();
  void pushDecoded();

  const std::string path_;
  const int width_, height_;
  const std::optional<AVRational> wantedRate_;
  const std::atomic<bool>& stop_;
  FormatPtr format_;
  CodecPtr codec_;
  GraphPtr graph_;
  AVFilterContext* into_ = nullptr;  // the graph's two ends
  AVFilterContext* outOf_ = nullptr;
  int stream_ = -1;
  bool draining_ = false;
  AVRational fileRate_{25, 1};
  double tolerance_ = 0;          // half the shorter period
  std::optional<double> origin_;  // time stamp of the first picture
  double lastTime_ = 0;           // of the last decoded picture, since the first
  PacketPtr packet_;
  FramePtr decoded_;
  FramePtr picture_;
};

}  // namespace quorvid::sim
