#include "apps/quorvid/record/StreamFile.h"

#include <unistd.h>

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <cstring>

#include "apps/common/Failure.h"
#include "apps/quorvid/record/AvFormatLibrary.h"

namespace quorvid::app {

namespace {

// The muxer's name for the file's ending, null for others.
const char* formatOf(const std::string& fileName) {
  static constexpr const char* kFormats[][2] = {
      {".h264", "h264"}, {".mp4", "mp4"}, {".mkv", "matroska"}};
  for (const auto& format : kFormats) {
    if (fileName.ends_with(format[0])) return format[1];
  }
  return nullptr;
}

// What the muxers add, rounded up: to each frame, for each part in the index, and once (the header
// and the index of the last part).
constexpr std::int64_t kFrameExtra = 48;
constexpr std::int64_t kPartExtra = 64;
constexpr std::int64_t kLastExtra = 1024;

// How much a frame takes in the file at most: its start codes, of three bytes or more, become
// lengths of four.
std::int64_t mostMuxed(const std::uint8_t* frame, std::size_t length) {
  std::int64_t bytes = static_cast<std::int64_t>(length) + kFrameExtra;
  for (std::size_t i = 0; i + 2 < length; ++i) {
    bytes += frame[i] == 0 && frame[i + 1] == 0 && frame[i + 2] == 1 ? 1 : 0;
  }
  return bytes;
}

std::string textOf(int error) {
  char text[AV_ERROR_MAX_STRING_SIZE] = "";
  av_strerror(error, text, sizeof text);
  return text;
}

}  // namespace

struct StreamFile::Muxer {
  struct FreePacket {
    void operator()(AVPacket* freed) const { av_packet_free(&freed); }
  };

  AVFormatContext* context = nullptr;
  AVStream* stream = nullptr;
  std::unique_ptr<AVPacket, FreePacket> packet{av_packet_alloc()};

  Muxer() = default;
  Muxer(const Muxer&) = delete;
  Muxer& operator=(const Muxer&) = delete;
  // Where a context was made, what frees it is there.
  ~Muxer() {  // NOLINT(bugprone-exception-escape)
    if (context != nullptr) {
      avio_closep(&context->pb);
      avformat_free_context(context);
    }
  }

  int describe(const std::vector<std::uint8_t>& parameterSets, PixelSize size) {
    stream = avformat_new_stream(context, nullptr);
    if (stream == nullptr || !packet) return AVERROR(ENOMEM);
    AVCodecParameters& codec = *stream->codecpar;
    codec.codec_type = AVMEDIA_TYPE_VIDEO;
    codec.codec_id = AV_CODEC_ID_H264;
    codec.width = size.width;
    codec.height = size.height;
    codec.extradata =
        static_cast<std::uint8_t*>(av_mallocz(parameterSets.size() + AV_INPUT_BUFFER_PADDING_SIZE));
    if (codec.extradata == nullptr) return AVERROR(ENOMEM);
    std::copy(parameterSets.begin(), parameterSets.end(), codec.extradata);
    codec.extradata_size = static_cast<int>(parameterSets.size());
    stream->time_base = AVRational{1, 90000};
    return 0;
  }

  void tag(const FileTags& tags) const {
    av_dict_set(&context->metadata, "title", tags.title.c_str(), 0);
    av_dict_set(&context->metadata, "comment", tags.comment.c_str(), 0);
    av_dict_set(&context->metadata, "creation_time", tags.creationTime.c_str(), 0);
  }

  int writeHeader() {
    AVDictionary* options = nullptr;
    // A fragment for each key frame, and at least every 2 s where key frames are rare.
    av_dict_set(&options, "movflags", "frag_keyframe+empty_moov+default_base_moof", 0);
    av_dict_set(&options, "frag_duration", "2000000", 0);
    av_dict_set(&options, "cluster_time_limit", "2000", 0);
    const int result = avformat_write_header(context, &options);
    av_dict_free(&options);
    return result;
  }
};

bool StreamFile::canBegin(const std::string& fileName,
                          const std::vector<std::uint8_t>& parameterSets, PixelSize size) {
  av_log_set_level(AV_LOG_FATAL);
  Muxer trial;
  int result = avformat_alloc_output_context2(&trial.context, nullptr, formatOf(fileName), nullptr);
  result = result < 0 ? result : trial.describe(parameterSets, size);
  result = result < 0 ? result : avio_open_dyn_buf(&trial.context->pb);
  if (result >= 0) {
    result = trial.writeHeader();
    std::uint8_t* header = nullptr;
    avio_close_dyn_buf(trial.context->pb, &header);
    av_free(header);
    trial.context->pb = nullptr;
  }
  return result >= 0;
}

StreamFile::StreamFile(std::string fileName, const std::vector<std::uint8_t>& parameterSets,
                       PixelSize size, const FileTags& tags)
    : fileName_(std::move(fileName)), muxer_(std::make_unique<Muxer>()) {
  av_log_set_level(AV_LOG_FATAL);
  // The "file:" keeps a name with a colon from being taken for a protocol.
  const std::string url = "file:" + fileName_;
  int result =
      avformat_alloc_output_context2(&muxer_->context, nullptr, formatOf(fileName_), url.c_str());
  result = result < 0 ? result : muxer_->describe(parameterSets, size);
  result = result < 0 ? result : avio_open(&muxer_->context->pb, url.c_str(), AVIO_FLAG_WRITE);
  if (result >= 0) {
    muxer_->context->flags |= AVFMT_FLAG_FLUSH_PACKETS;
    muxer_->tag(tags);
    result = muxer_->writeHeader();
  }
  noteWritten(result);
}

StreamFile::~StreamFile() {
  try {
    close();
  } catch (const std::exception&) {  // nobody is left to be told
    muxer_.reset();
  }
}

void StreamFile::write(const std::uint8_t* frame, std::size_t length, double seconds, bool isKey) {
  if (!muxer_) return;
  AVPacket* const packet = muxer_->packet.get();
  int result = av_new_packet(packet, static_cast<int>(length));
  if (result >= 0) {
    std::memcpy(packet->data, frame, length);
    const AVRational base = muxer_->stream->time_base;
    const auto time = static_cast<std::int64_t>(std::llround(seconds * base.den / base.num));
    // The last frame's duration is a guess: that of the one before.
    packet->duration = lastTime_ >= 0 ? std::max<std::int64_t>(time - lastTime_, 1) : 1;
    lastTime_ = std::max(time, lastTime_ + 1);
    packet->pts = lastTime_;
    packet->dts = lastTime_;
    packet->flags |= isKey ? AV_PKT_FLAG_KEY : 0;
    result = av_write_frame(muxer_->context, packet);
    av_packet_unref(packet);
  }
  const std::int64_t wholeBefore = wholeBytes_;
  noteWritten(result);
  const bool grew = wholeBytes_ > wholeBefore;  // by what was held; this frame may be held now
  if (!fileName_.ends_with(".h264")) parts_ += (grew ? 1 : 0) + (isKey ? 1 : 0);
  pendingBytes_ = mostMuxed(frame, length) + (grew ? 0 : pendingBytes_);
}

std::int64_t StreamFile::bytesAtMostWith(const std::uint8_t* frame, std::size_t length) const {
  return wholeBytes_ + pendingBytes_ + mostMuxed(frame, length) + kPartExtra * parts_ + kLastExtra;
}

void StreamFile::close() {
  if (!muxer_) return;
  noteWritten(av_write_trailer(muxer_->context));
  muxer_.reset();
}

// Remembers how much of the file is whole, or cuts it back to that after an error.
void StreamFile::noteWritten(int result) {
  AVIOContext* const io = muxer_->context != nullptr ? muxer_->context->pb : nullptr;
  if (io != nullptr) {
    avio_flush(io);
    result = result < 0 ? result : io->error;
  }
  if (result >= 0) {
    wholeBytes_ = avio_size(io);
    return;
  }
  muxer_.reset();  // writes nothing more: what its buffer holds can't be written either
  if (wholeBytes_ > 0) {
    [[maybe_unused]] const int ignored = truncate(fileName_.c_str(), wholeBytes_);
  }
  throw Failure(fmt::format("can't write {}: {}", fileName_, textOf(result)));
}

}  // namespace quorvid::app
