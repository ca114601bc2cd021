#include "sim/media/FileSource.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>

#include "sim/Error.h"

extern "C" {
#include <libavfilter/buffersink.h>
#include <libavfilter/buffersrc.h>
}

namespace quorvid::sim {
namespace {

int stopAsked(void* stop) {
  return static_cast<const std::atomic<bool>*>(stop)->load() ? 1 : 0;
}

std::int64_t stampOf(double seconds) {
  return std::llround(seconds * AV_TIME_BASE);
}

}  // namespace

FileSource::FileSource(std::string path, int width, int height, std::optional<AVRational> rate,
                       const std::atomic<bool>& stop)
    : path_(std::move(path)),
      width_(width),
      height_(height),
      wantedRate_(rate),
      stop_(stop),
      packet_(owned(av_packet_alloc())),
      decoded_(owned(av_frame_alloc())),
      picture_(owned(av_frame_alloc())) {
  rewind();
}

void FileSource::fail(const std::string& what) const {
  throw SimError(fmt::format("the input {} can't be used: {}", path_, what));
}

void FileSource::rewind() {
  codec_.reset();
  format_.reset();
  draining_ = false;
  origin_.reset();
  lastTime_ = 0;
  open();
  if (!decode()) fail("no picture in it can be decoded");
  openGraph();
  pushDecoded();
}

void FileSource::open() {
  AVFormatContext* raw = owned(avformat_alloc_context()).release();
  raw->interrupt_callback = {stopAsked, const_cast<std::atomic<bool>*>(&stop_)};
  int result = avformat_open_input(&raw, path_.c_str(), nullptr, nullptr);
  if (result < 0) fail(errorText(result));
  format_.reset(raw);
  result = avformat_find_stream_info(raw, nullptr);
  if (result < 0) fail(errorText(result));
  const AVCodec* codec = nullptr;
  stream_ = av_find_best_stream(raw, AVMEDIA_TYPE_VIDEO, -1, -1, &codec, 0);
  // The cover picture of a sound file is no video.
  if (stream_ < 0 || (raw->streams[stream_]->disposition & AV_DISPOSITION_ATTACHED_PIC) != 0) {
    fail("there is no video in it");
  }
  AVStream& stream = *raw->streams[stream_];
  openDecoder(stream, codec);
  const AVRational guess = av_guess_frame_rate(raw, &stream, nullptr);
  const double perSecond = guess.den > 0 ? av_q2d(guess) : 0;
  fileRate_ = perSecond >= 1 && perSecond <= 120 ? guess : AVRational{25, 1};
}

void FileSource::openDecoder(const AVStream& stream, const AVCodec* codec) {
  codec_ = owned(avcodec_alloc_context3(codec));
  int result = avcodec_parameters_to_context(codec_.get(), stream.codecpar);
  codec_->pkt_timebase = stream.time_base;
  if (result >= 0) result = avcodec_open2(codec_.get(), codec, nullptr);
  if (result < 0) fail(errorText(result));
}

// Pictures come in with their time less the tolerance, and `round=up` shows each from the first
// moment that is not before that: the picture on show is the nearest one, however the stamps of a
// steady file are rounded.
void FileSource::openGraph() {
  graph_ = owned(avfilter_graph_alloc());
  graph_->nb_threads = 1;  // a loop is made on one thread
  const std::string filters = fmt::format(
      "buffer@in=width={}:height={}:pix_fmt={}:time_base=1/{},fps={}/{}:round=up,"
      "scale={}:{}:flags=bicubic+accurate_rnd:out_color_matrix={}:out_range=tv,"
      "format=yuv420p,sidedata=delete,buffersink@out",
      decoded_->width, decoded_->height, decoded_->format, AV_TIME_BASE, rate().num, rate().den,
      width_, height_, matrixForLines(height_) == AVCOL_SPC_BT709 ? "bt709" : "smpte170m");
  AVFilterInOut* openIn = nullptr;
  AVFilterInOut* openOut = nullptr;
  int result = avfilter_graph_parse2(graph_.get(), filters.c_str(), &openIn, &openOut);
  if (result >= 0) result = avfilter_graph_config(graph_.get(), nullptr);
  if (result < 0) fail("its pictures can't be scaled");
  into_ = avfilter_graph_get_filter(graph_.get(), "buffer@in");
  outOf_ = avfilter_graph_get_filter(graph_.get(), "buffersink@out");
  tolerance_ = std::min(av_q2d(av_inv_q(rate())), av_q2d(av_inv_q(fileRate_))) / 2;
}

// Gives the decoder the next packet of the stream, or tells it that there are no more.
bool FileSource::feedDecoder() {
  if (draining_) return false;
  while (!stop_ && av_read_frame(format_.get(), packet_.get()) >= 0) {
    const bool ours = packet_->stream_index == stream_;
    // A damaged packet costs its pictures, not the file.
    if (ours) avcodec_send_packet(codec_.get(), packet_.get());
    av_packet_unref(packet_.get());
    if (ours) return true;
  }
  draining_ = true;
  avcodec_send_packet(codec_.get(), nullptr);
  return true;
}

bool FileSource::decode() {
  while (true) {
    const int result = avcodec_receive_frame(codec_.get(), decoded_.get());
    if (result >= 0) return true;
    if (result == AVERROR_EOF || !feedDecoder()) return false;
  }
}

// Time of the decoded picture since the first; one without a stamp follows the one before it.
double FileSource::secondsOfDecoded() {
  const std::int64_t stamp = decoded_->best_effort_timestamp;
  if (stamp == AV_NOPTS_VALUE) {
    if (origin_) return lastTime_ + av_q2d(av_inv_q(fileRate_));
    origin_ = 0;
    return 0;
  }
  const double seconds = static_cast<double>(stamp) * av_q2d(format_->streams[stream_]->time_base);
  if (!origin_) origin_ = seconds;
  return seconds - *origin_;
}

void FileSource::pushDecoded() {
  lastTime_ = secondsOfDecoded();
  decoded_->pts = stampOf(lastTime_ - tolerance_);
  if (decoded_->colorspace == AVCOL_SPC_UNSPECIFIED) {
    decoded_->colorspace = matrixForLines(decoded_->height);
  }
  if (av_buffersrc_add_frame(into_, decoded_.get()) < 0) fail("its pictures can't be scaled");
}

AVFrame* FileSource::next() {
  av_frame_unref(picture_.get());
  while (true) {
    const int result = av_buffersink_get_frame(outOf_, picture_.get());
    if (result >= 0) return picture_.get();
    if (result == AVERROR_EOF) return nullptr;
    if (result != AVERROR(EAGAIN)) fail("its pictures can't be scaled");
    if (decode()) {
      pushDecoded();
    } else {
      const double end = lastTime_ + av_q2d(av_inv_q(fileRate_));
      av_buffersrc_close(into_, stampOf(end - tolerance_), 0);
    }
  }
}

}  // namespace quorvid::sim
