// Feeds units of any bytes to the decoder, as a hostile server could through the view.
//
// Input (Records.h): head: bit 0: a good session (640x480) exists before; 1: pictures as they are
// decoded, else 1280x960; 2: pictures on request; a record's bytes: a unit, without start code.
#include <algorithm>
#include <memory>
#include <string_view>

#include "fuzz/Records.h"
#include "quorvid/base/Log.h"
#include "quorvid/decoder/H264HwDecoderImpl.h"

namespace {

using namespace quorvid;
using fuzz::require;

// Touches the last byte of each row that a picture says it has.
void readPicture(CVPixelBufferRef picture, PictureForm form) {
  unsigned sum = 0;
  for (std::size_t plane = 0; plane < CVPixelBufferGetPlaneCount(picture); ++plane) {
    const std::uint8_t* const bytes = CVPixelBufferGetBaseAddressOfPlane(picture, plane);
    const std::size_t stride = CVPixelBufferGetBytesPerRowOfPlane(picture, plane);
    const std::size_t width = CVPixelBufferGetWidthOfPlane(picture, plane);
    const std::size_t height = CVPixelBufferGetHeightOfPlane(picture, plane);
    require(width > 0 && height > 0 && width <= stride);
    for (std::size_t row = 0; row < height; ++row) sum += bytes[row * stride + width - 1];
  }
  require(sum < 0xFFFFFFFF && CVImageBufferGetDisplaySize(picture).width > 0);
  require(form != PictureForm::OneSize || CVPixelBufferGetWidth(picture) == 1280);
}

class Releasing : public H264HwDecoderImplDelegate {
 public:
  explicit Releasing(PictureForm form) : form_(form) {}
  void displayDecodedFrame(CVPixelBufferRef pixelBuffer) override {
    if (pixelBuffer != nullptr) readPicture(pixelBuffer, form_);
    CVPixelBufferRelease(pixelBuffer);
  }

 private:
  const PictureForm form_;
};

// In memory of exactly its size (a frame has at least 5 bytes), so that a read beyond it shows.
void feed(H264HwDecoderImpl& decoder, std::string_view bytes, PictureForm form) {
  std::vector<char> unit(std::max<std::size_t>(4 + bytes.size(), 5));
  std::copy(bytes.begin(), bytes.end(), unit.begin() + 4);
  decoder.decodeNalu(unit.data(), static_cast<std::uint32_t>(4 + bytes.size()));
  if (CVPixelBufferRef picture = decoder.copyPicture()) {
    readPicture(picture, form);
    CVPixelBufferRelease(picture);
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const fuzz::Input input(data, size);
  setLogSink([](std::string_view) {});
  const auto decoder = H264HwDecoderImpl::init();
  const PictureForm form = (input.head & 2) != 0   ? PictureForm::AsDecoded
                           : (input.head & 8) != 0 ? PictureForm::OwnSize
                                                   : PictureForm::OneSize;
  const auto delegate = std::make_shared<Releasing>(form);
  decoder->setDelegate(delegate);
  decoder->setPictureForm(form);
  if ((input.head & 4) != 0) decoder->setPicturesOnRequest();
  if ((input.head & 1) != 0) {
    feed(*decoder, "\x67\x42\xC0\x1E\xDA\x02\x80\xF6\x40", form);
    feed(*decoder, "\x68\xCE\x3C\x80", form);
  }
  for (const auto& [kind, bytes] : input.records) {
    feed(*decoder, {reinterpret_cast<const char*>(bytes.data()), bytes.size()}, form);
  }
  return 0;
}
