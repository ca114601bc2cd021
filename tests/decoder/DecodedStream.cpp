#include "decoder/DecodedStream.h"

#include <algorithm>
#include <cmath>

#include "quorvid/base/Log.h"

namespace quorvid::test {
namespace {

// One plane of samples at fractional places; `step` bytes lie between neighbours.
struct Samples {
  const std::uint8_t* base;
  int width, height, stride, step;

  double at(int column, int row) const {
    column = std::clamp(column, 0, width - 1);
    row = std::clamp(row, 0, height - 1);
    return base[static_cast<std::ptrdiff_t>(row) * stride + column * step];
  }
  double between(double x, double y) const {
    const int column = static_cast<int>(std::floor(x));
    const int row = static_cast<int>(std::floor(y));
    const double right = x - column;
    const double down = y - row;
    return (at(column, row) * (1 - right) + at(column + 1, row) * right) * (1 - down) +
           (at(column, row + 1) * (1 - right) + at(column + 1, row + 1) * right) * down;
  }
};

double noiseRatio(const Samples& decoded, const Samples& drawn) {
  const double scaleX = static_cast<double>(drawn.width) / decoded.width;
  const double scaleY = static_cast<double>(drawn.height) / decoded.height;
  double squares = 0;
  for (int row = 0; row < decoded.height; ++row) {
    for (int column = 0; column < decoded.width; ++column) {
      const double wanted =
          drawn.between((column + 0.5) * scaleX - 0.5, (row + 0.5) * scaleY - 0.5);
      squares += std::pow(decoded.at(column, row) - wanted, 2);
    }
  }
  return 10 * std::log10(255.0 * 255.0 * decoded.width * decoded.height / (squares + 1));
}

Samples chromaOf(CVPixelBufferRef picture, int which) {
  return {CVPixelBufferGetBaseAddressOfPlane(picture, 1) + which,
          static_cast<int>(CVPixelBufferGetWidthOfPlane(picture, 1)),
          static_cast<int>(CVPixelBufferGetHeightOfPlane(picture, 1)),
          static_cast<int>(CVPixelBufferGetBytesPerRowOfPlane(picture, 1)), 2};
}

}  // namespace

std::shared_ptr<DecodedStream> DecodedStream::make() {
  auto stream = std::make_shared<DecodedStream>();
  stream->decoder_ = H264HwDecoderImpl::init();
  stream->decoder_->setDelegate(stream);
  setLogSink([weak = std::weak_ptr(stream)](std::string_view line) {
    const auto present = weak.lock();
    if (present &&
        (line.starts_with("IOS8VT") || line.starts_with("unit of") || line.starts_with("H.264"))) {
      present->errors.emplace_back(line);
    }
  });
  return stream;
}

DecodedStream::~DecodedStream() {
  CVPixelBufferRelease(picture_);
}

void DecodedStream::displayDecodedFrame(CVPixelBufferRef pixelBuffer) {
  if (pixelBuffer != nullptr) {
    CVPixelBufferRelease(picture_);
    picture_ = pixelBuffer;
    ++pictures_;
  }
}

bool DecodedStream::feedAt(char* unit, std::uint32_t size) {
  const int before = pictures_;
  decoder_->decodeNalu(unit, size);
  return pictures_ == before + 1;
}

bool DecodedStream::feed(const std::vector<std::uint8_t>& unit) {
  std::vector<std::uint8_t> frame = withStartCode(unit);
  return feedAt(reinterpret_cast<char*>(frame.data()), static_cast<std::uint32_t>(frame.size()));
}

void DecodedStream::feedSets(const H264TestStream& stream) {
  feed(stream.sps);
  feed(stream.pps);
}

bool DecodedStream::feedFrame(const std::vector<std::uint8_t>& frame) {
  const auto size = static_cast<std::uint32_t>(frame.size());
  std::copy(frame.begin(), frame.end(), slot_.begin());
  char* const bytes = slot_.data();
  if ((bytes[4] & 0x1F) != 7) return feedAt(bytes, size);
  feedAt(bytes, 13);
  feedAt(bytes + 13, 8);
  const std::uint32_t slice = (bytes[25] & 0x1F) == 6 ? 30 : 21;
  return feedAt(bytes + slice, size - slice);
}

std::string DecodedStream::matrix() const {
  return CVBufferGetAttachment(picture_, kCVImageBufferYCbCrMatrixKey).description();
}

Likeness likeness(CVPixelBufferRef decoded, const TestPicture& drawn) {
  const Samples luma{CVPixelBufferGetBaseAddressOfPlane(decoded, 0),
                     static_cast<int>(CVPixelBufferGetWidthOfPlane(decoded, 0)),
                     static_cast<int>(CVPixelBufferGetHeightOfPlane(decoded, 0)),
                     static_cast<int>(CVPixelBufferGetBytesPerRowOfPlane(decoded, 0)), 1};
  const int width = drawn.width / 2;
  const int height = drawn.height / 2;
  return {noiseRatio(luma, {drawn.y.data(), drawn.width, drawn.height, drawn.width, 1}),
          noiseRatio(chromaOf(decoded, 0), {drawn.u.data(), width, height, width, 1}),
          noiseRatio(chromaOf(decoded, 1), {drawn.v.data(), width, height, width, 1})};
}

}  // namespace quorvid::test
