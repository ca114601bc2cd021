#include "support/H264TestStream.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <memory>

#include "h264/ParameterSets.h"
#include "h264/Units.h"

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavutil/imgutils.h>
#include <libavutil/opt.h>
}

namespace quorvid::test {
namespace {

using Bytes = std::vector<std::uint8_t>;
using h264::UnitType;
constexpr std::size_t kStartCodeSize = 4;
constexpr std::size_t kSpsSize = 9;
constexpr std::size_t kPpsSize = 4;
constexpr int kQuiet = 64;  // added to the level of every message of the encoder

[[noreturn]] void fail(const char* what) {
  std::fprintf(stderr, "test stream: %s\n", what);
  std::abort();
}

template <auto Free>
struct Freed {
  template <class Object>
  void operator()(Object* object) const {
    Free(&object);
  }
};
using Context = std::unique_ptr<AVCodecContext, Freed<avcodec_free_context>>;
using Frame = std::unique_ptr<AVFrame, Freed<av_frame_free>>;
using Packet = std::unique_ptr<AVPacket, Freed<av_packet_free>>;

Context openEncoder(const TestStreamOptions& options) {
  const AVCodec* const codec = avcodec_find_encoder_by_name("libx264");
  Context context(codec != nullptr ? avcodec_alloc_context3(codec) : nullptr);
  if (!context) fail("libx264 is missing");
  context->log_level_offset = kQuiet;
  context->width = options.width;
  context->height = options.height;
  context->pix_fmt = AV_PIX_FMT_YUV420P;
  context->color_range = AVCOL_RANGE_MPEG;
  context->time_base = {1, 25};
  context->framerate = {25, 1};
  context->gop_size = options.keyInterval;
  context->max_b_frames = 0;
  context->bit_rate = options.bitRate;
  context->thread_count = 1;
  void* const settings = context->priv_data;
  av_opt_set(settings, "profile", options.mainProfile ? "main" : "baseline", 0);
  av_opt_set(settings, "preset", "veryfast", 0);
  const std::string parameters =
      "slices=1:sliced-threads=0:no-psy=1:ref=1:weightp=0:scenecut=0:rc-lookahead=0:";
  av_opt_set(settings, "x264-params", (parameters + options.encoder).c_str(), 0);
  if (avcodec_open2(context.get(), codec, nullptr) < 0) fail("libx264 does not open");
  return context;
}

TestPicture blankPicture(int width, int height) {
  const std::size_t pixels = static_cast<std::size_t>(width) * static_cast<std::size_t>(height);
  return {width, height, Bytes(pixels), Bytes(pixels / 4), Bytes(pixels / 4)};
}

void sendPicture(AVCodecContext* encoder, const TestStreamOptions& options, int index) {
  const Frame frame(av_frame_alloc());
  frame->format = encoder->pix_fmt;
  frame->width = encoder->width;
  frame->height = encoder->height;
  frame->pts = index;
  if (av_frame_get_buffer(frame.get(), 0) < 0) fail("no memory");
  const TestPicture picture = drawnPicture(options, index);
  const std::uint8_t* const planes[] = {picture.y.data(), picture.u.data(), picture.v.data(),
                                        nullptr};
  const int rows[] = {picture.width, picture.width / 2, picture.width / 2, 0};
  av_image_copy(frame->data, frame->linesize, const_cast<const std::uint8_t**>(planes), rows,
                AV_PIX_FMT_YUV420P, picture.width, picture.height);
  if (avcodec_send_frame(encoder, frame.get()) < 0) fail("the encoder refuses a picture");
}

// The SPS of a baseline or main profile stream in the 9 bytes that recorders send: without its VUI,
// zeros fill the place.
Bytes recordersSps(h264::ByteView unit) {
  const auto sps = h264::parseSps(unit);
  if (!sps) fail("an SPS that can't be read");
  Bytes rewritten = h264::withoutVui(*sps, unit);
  rewritten.resize(std::max(rewritten.size(), kSpsSize));
  return rewritten;
}

void takePacket(const AVPacket& packet, const TestStreamOptions& options, H264TestStream& stream) {
  H264TestStream::Frame frame;
  const h264::ByteView bytes(packet.data, static_cast<std::size_t>(packet.size));
  for (const h264::Unit& found : h264::unitsOf(bytes)) {
    const h264::ByteView unit = h264::withoutPadding(found.in(bytes));
    if (found.type == UnitType::Sps) {
      stream.sps = options.keepVui ? Bytes(unit.begin(), unit.end()) : recordersSps(unit);
    } else if (found.type == UnitType::Pps) {
      stream.pps.assign(unit.begin(), unit.end());
    } else if (found.type == UnitType::Slice || found.type == UnitType::KeySlice) {
      frame.isKey = found.type == UnitType::KeySlice;
      if (!frame.slice.empty()) frame.slice.insert(frame.slice.end(), {0, 0, 0, 1});
      frame.slice.insert(frame.slice.end(), unit.begin(), unit.end());
    } else if (found.type != UnitType::Sei) {
      fail("an unexpected unit");
    }
  }
  stream.frames.push_back(frame);
}

void takePackets(AVCodecContext* encoder, const TestStreamOptions& options,
                 H264TestStream& stream) {
  const Packet packet(av_packet_alloc());
  while (avcodec_receive_packet(encoder, packet.get()) == 0) {
    takePacket(*packet, options, stream);
    av_packet_unref(packet.get());
  }
}

void append(Bytes& to, const Bytes& unit) {
  const Bytes marked = withStartCode(unit);
  to.insert(to.end(), marked.begin(), marked.end());
}

}  // namespace

Bytes withStartCode(const Bytes& unit) {
  Bytes bytes(kStartCodeSize + unit.size());
  bytes[kStartCodeSize - 1] = 1;
  std::copy(unit.begin(), unit.end(), bytes.begin() + kStartCodeSize);
  return bytes;
}

Bytes H264TestStream::frameBytes(std::size_t index, bool withSei) const {
  Bytes bytes;
  const Frame& frame = frames.at(index);
  if (frame.isKey) {
    append(bytes, sps);
    append(bytes, pps);
    if (withSei) {
      append(bytes, {0x06, 0x06, 0x01, 0x84, 0x80});  // a recovery point at this very picture
    }
  }
  append(bytes, frame.slice);
  return bytes;
}

H264TestStream encodeTestStream(const TestStreamOptions& options) {
  const Context encoder = openEncoder(options);
  H264TestStream stream;
  for (int index = 0; index < options.frames; ++index) {
    sendPicture(encoder.get(), options, index);
    takePackets(encoder.get(), options, stream);
  }
  avcodec_send_frame(encoder.get(), nullptr);
  takePackets(encoder.get(), options, stream);
  if (stream.frames.size() != static_cast<std::size_t>(options.frames) ||
      (!options.keepVui && (stream.sps.size() != kSpsSize || stream.pps.size() != kPpsSize))) {
    fail("the encoder gave another layout");
  }
  return stream;
}

void drawTestScene(TestPicture& picture, int index) {
  std::size_t at = 0;
  for (int row = 0; row < picture.height; ++row) {
    for (int column = 0; column < picture.width; ++column) {
      const bool square = (column - 8 * index - 32) / 64 == 0 && (row - 64) / 64 == 0;
      picture.y[at++] = static_cast<std::uint8_t>(square ? 225 : 30 + 150 * column / picture.width);
    }
  }
  at = 0;
  for (int row = 0; row < picture.height / 2; ++row) {
    for (int column = 0; column < picture.width / 2; ++column) {
      picture.u[at] = static_cast<std::uint8_t>(60 + 130 * 2 * row / picture.height);
      picture.v[at++] = static_cast<std::uint8_t>(190 - 130 * 2 * column / picture.width);
    }
  }
}

void fillTestPicture(TestPicture& picture, std::uint8_t y, std::uint8_t u, std::uint8_t v) {
  std::fill(picture.y.begin(), picture.y.end(), y);
  std::fill(picture.u.begin(), picture.u.end(), u);
  std::fill(picture.v.begin(), picture.v.end(), v);
}

TestPicture drawnPicture(const TestStreamOptions& options, int index) {
  TestPicture picture = blankPicture(options.width, options.height);
  if (options.draw) {
    options.draw(picture, index);
  } else {
    drawTestScene(picture, index);
  }
  return picture;
}

}  // namespace quorvid::test
