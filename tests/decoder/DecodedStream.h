// The decoder with a delegate that keeps the latest picture, and ways to compare it.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "quorvid/decoder/H264HwDecoderImpl.h"
#include "support/H264TestStream.h"

namespace quorvid::test {

class DecodedStream : public H264HwDecoderImplDelegate,
                      public std::enable_shared_from_this<DecodedStream> {
 public:
  // Fed with the sets of `stream`, if any. Also collects the decoder's error lines in `errors`.
  static std::shared_ptr<DecodedStream> make(const H264TestStream& stream = {});
  ~DecodedStream() override;

  // One unit, start code added. True when it gave a picture.
  bool feed(const std::vector<std::uint8_t>& unit);
  void feedSets(const H264TestStream& stream);
  void displayDecodedFrame(CVPixelBufferRef pixelBuffer) override;

  CVPixelBufferRef picture() const { return picture_; }
  const H264HwDecoderImpl& decoder() const { return *decoder_; }
  std::string matrix() const;
  std::vector<std::string> errors;

 private:
  std::shared_ptr<H264HwDecoderImpl> decoder_;
  CVPixelBufferRef picture_ = nullptr;
  int pictures_ = 0;
};

// Peak signal-to-noise ratio in dB of a part (0 Y, 1 Cb, 2 Cr) of a decoded picture against a drawn
// one, each sample against the nearest. The picture before has 31 dB or less in Y.
double likeness(CVPixelBufferRef decoded, const TestPicture& drawn, std::size_t part = 0);

}  // namespace quorvid::test
