#include "sim/media/FileSource.h"

#include <algorithm>

#include "sim/Error.h"

namespace quorvid::sim {
namespace {

int stopAsked(void* stop) {
  return static_cast<const std::atomic<bool>*>(stop)->load() ? 1 : 0;
}

// The full-range formats that carry their range in their name, and whether the picture is full
// range.
AVPixelFormat plainFormat(const AVFrame& frame, bool& fullRange) {
  fullRange = frame.color_range == AVCOL_RANGE_JPEG;
  switch (frame.format) {
    case AV_PIX_FMT_YUVJ420P:
      fullRange = true;
      return AV_PIX_FMT_YUV420P;
    case AV_PIX_FMT_YUVJ422P:
      fullRange = true;
      return AV_PIX_FMT_YUV422P;
    case AV_PIX_FMT_YUVJ444P:
      fullRange = true;
      return AV_PIX_FMT_YUV444P;
    case AV_PIX_FMT_YUVJ440P:
      fullRange = true;
      return AV_PIX_FMT_YUV440P;
    default:
      return static_cast<AVPixelFormat>(frame.format);
  }
}

}  // namespace

FileSource::FileSource(std::string path, int width, int height, std::optional<AVRational> rate,
                       const std::atomic<bool>& stop)
    : path_(std::move(path)),
      stop_(stop),
      packet_(newPacket()),
      current_(newFrame()),
      upcoming_(newFrame()),
      picture_(newPicture(width, height)) {
  open();
  rate_ = rate.value_or(fileRate_);
  if (!decode(*upcoming_)) fail("no picture in it can be decoded");
  upcomingTime_ = secondsOf(*upcoming_);
  hasUpcoming_ = true;
}

void FileSource::fail(const std::string& what) const {
  throw SimError("the input " + path_ + " can't be used: " + what);
}

void FileSource::open() {
  AVFormatContext* raw = avformat_alloc_context();
  if (raw == nullptr) throw std::bad_alloc();
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
  codec_.reset(avcodec_alloc_context3(codec));
  if (!codec_) throw std::bad_alloc();
  int result = avcodec_parameters_to_context(codec_.get(), stream.codecpar);
  codec_->pkt_timebase = stream.time_base;
  if (result >= 0) result = avcodec_open2(codec_.get(), codec, nullptr);
  if (result < 0) fail(errorText(result));
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

bool FileSource::decode(AVFrame& into) {
  while (true) {
    const int result = avcodec_receive_frame(codec_.get(), &into);
    if (result >= 0) return true;
    if (result == AVERROR_EOF || !feedDecoder()) return false;
  }
}

double FileSource::secondsOf(const AVFrame& frame) {
  double seconds = lastTime_ + av_q2d(av_inv_q(fileRate_));
  if (frame.best_effort_timestamp != AV_NOPTS_VALUE) {
    const double stamp = static_cast<double>(frame.best_effort_timestamp) *
                         av_q2d(format_->streams[stream_]->time_base);
    if (!origin_) origin_ = stamp;
    seconds = stamp - *origin_;
  } else if (!origin_) {
    origin_ = seconds = 0;
  }
  lastTime_ = seconds;
  return seconds;
}

void FileSource::advance() {
  av_frame_unref(current_.get());
  std::swap(current_, upcoming_);
  currentTime_ = upcomingTime_;
  hasUpcoming_ = decode(*upcoming_);
  if (hasUpcoming_) upcomingTime_ = secondsOf(*upcoming_);
}

AVFrame* FileSource::next() {
  const double period = av_q2d(av_inv_q(rate_));
  const double filePeriod = av_q2d(av_inv_q(fileRate_));
  const double now = static_cast<double>(count_) * period;
  // The stamps of a steady file are rounded.
  const double tolerance = std::min(period, filePeriod) / 2;
  if (count_ == 0) advance();
  while (hasUpcoming_ && upcomingTime_ <= now + tolerance) advance();
  if (!hasUpcoming_ && now >= currentTime_ + filePeriod - tolerance) return nullptr;
  ++count_;
  scale(*current_);
  return picture_.get();
}

void FileSource::rewind() {
  // Opening anew works for everything that can be opened once, seekable or not.
  scaler_.reset();
  scalerFormat_ = -1;
  codec_.reset();
  format_.reset();
  open();
  origin_.reset();
  lastTime_ = 0;
  draining_ = false;
  count_ = 0;
  av_frame_unref(upcoming_.get());
  hasUpcoming_ = decode(*upcoming_);
  if (!hasUpcoming_) fail("no picture in it can be decoded");
  upcomingTime_ = secondsOf(*upcoming_);
}

void FileSource::scale(const AVFrame& from) {
  bool fullRange = false;
  const AVPixelFormat format = plainFormat(from, fullRange);
  const AVColorSpace matrix =
      from.colorspace == AVCOL_SPC_UNSPECIFIED ? matrixForLines(from.height) : from.colorspace;
  if (!scaler_ || scalerWidth_ != from.width || scalerHeight_ != from.height ||
      scalerFormat_ != format || scalerMatrix_ != matrix || scalerFullRange_ != fullRange) {
    scaler_.reset(sws_getContext(from.width, from.height, format, picture_->width, picture_->height,
                                 AV_PIX_FMT_YUV420P, SWS_BICUBIC | SWS_ACCURATE_RND, nullptr,
                                 nullptr, nullptr));
    if (!scaler_) fail("its pictures can't be scaled");
    setColours(scaler_.get(), matrix, fullRange, picture_->height);
    scalerWidth_ = from.width;
    scalerHeight_ = from.height;
    scalerFormat_ = format;
    scalerMatrix_ = matrix;
    scalerFullRange_ = fullRange;
  }
  if (av_frame_make_writable(picture_.get()) < 0) throw std::bad_alloc();
  sws_scale(scaler_.get(), from.data, from.linesize, 0, from.height, picture_->data,
            picture_->linesize);
}

}  // namespace quorvid::sim
