// Feeds units of any bytes to the decoder, as a hostile server could through the view.
//
// Input: first byte odd: a good session (640x480) exists before; then, again and again, a unit's
// length (2 bytes, least significant first) and that many bytes.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

#include "quorvid/base/Log.h"
#include "quorvid/decoder/H264HwDecoderImpl.h"

namespace {

class Releasing : public quorvid::H264HwDecoderImplDelegate {
 public:
  void displayDecodedFrame(quorvid::CVPixelBufferRef pixelBuffer) override {
    quorvid::CVPixelBufferRelease(pixelBuffer);
  }
};

// In memory of exactly its size (a frame has at least 5 bytes), so that a read beyond it shows.
void feed(quorvid::H264HwDecoderImpl& decoder, std::string_view bytes) {
  std::vector<char> unit(std::max<std::size_t>(4 + bytes.size(), 5));
  std::copy(bytes.begin(), bytes.end(), unit.begin() + 4);
  decoder.decodeNalu(unit.data(), static_cast<std::uint32_t>(4 + bytes.size()));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  quorvid::setLogSink([](std::string_view) {});
  const auto decoder = quorvid::H264HwDecoderImpl::init();
  const auto delegate = std::make_shared<Releasing>();
  decoder->setDelegate(delegate);
  if (size > 0 && (data[0] & 1) != 0) {
    feed(*decoder, "\x67\x42\xC0\x1E\xDA\x02\x80\xF6\x40");
    feed(*decoder, "\x68\xCE\x3C\x80");
  }
  for (std::size_t at = 1; at + 2 < size;) {
    const std::size_t stated = data[at] | static_cast<std::size_t>(data[at + 1]) << 8;
    const std::size_t unit = std::min(stated, size - at - 2);
    feed(*decoder, {reinterpret_cast<const char*>(data) + at + 2, unit});
    at += 2 + unit;
  }
  return 0;
}
