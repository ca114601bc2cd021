#include "decoder/DecodedStream.h"

#include <algorithm>
#include <cmath>

#include "quorvid/base/Log.h"

namespace quorvid::test {
std::shared_ptr<DecodedStream> DecodedStream::make(const H264TestStream& sets) {
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
  if (!sets.sps.empty()) stream->feedSets(sets);
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

bool DecodedStream::feed(const std::vector<std::uint8_t>& unit) {
  const int before = pictures_;
  std::vector<std::uint8_t> frame = withStartCode(unit);
  decoder_->decodeNalu(reinterpret_cast<char*>(frame.data()),
                       static_cast<std::uint32_t>(frame.size()));
  return pictures_ == before + 1;
}

void DecodedStream::feedSets(const H264TestStream& stream) {
  feed(stream.sps);
  feed(stream.pps);
}

std::string DecodedStream::matrix() const {
  return CVBufferGetAttachment(picture_, kCVImageBufferYCbCrMatrixKey).description();
}

double likeness(CVPixelBufferRef decoded, const TestPicture& drawn, std::size_t part) {
  const std::size_t plane = std::min<std::size_t>(part, 1), step = plane + 1;
  const std::uint8_t* const samples =
      CVPixelBufferGetBaseAddressOfPlane(decoded, plane) + (part == 2 ? 1 : 0);
  const std::vector<std::uint8_t>& wanted = part == 0 ? drawn.y : part == 1 ? drawn.u : drawn.v;
  const std::size_t width = CVPixelBufferGetWidthOfPlane(decoded, plane);
  const std::size_t height = CVPixelBufferGetHeightOfPlane(decoded, plane);
  const std::size_t stride = CVPixelBufferGetBytesPerRowOfPlane(decoded, plane);
  const std::size_t drawnWidth = static_cast<std::size_t>(drawn.width) / step;
  const std::size_t drawnHeight = static_cast<std::size_t>(drawn.height) / step;
  double squares = 1;
  for (std::size_t at = 0; at < width * height; ++at) {
    const std::size_t row = at / width, column = at % width;
    squares +=
        std::pow(samples[row * stride + column * step] -
                     wanted[row * drawnHeight / height * drawnWidth + column * drawnWidth / width],
                 2);
  }
  return 10 * std::log10(255.0 * 255.0 * static_cast<double>(width * height) / squares);
}

}  // namespace quorvid::test
