// The decoder with a delegate that keeps the latest picture, and ways to compare it.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "quorvid/connection/VehicleConnection.h"
#include "quorvid/decoder/H264HwDecoderImpl.h"
#include "support/H264TestStream.h"

namespace quorvid::test {

class DecodedStream : public H264HwDecoderImplDelegate,
                      public std::enable_shared_from_this<DecodedStream> {
 public:
  // Also collects the decoder's error lines in `errors`.
  static std::shared_ptr<DecodedStream> make();
  ~DecodedStream() override;

  // One unit, start code added. True when it gave a picture.
  bool feed(const std::vector<std::uint8_t>& unit);
  void feedSets(const H264TestStream& stream);
  // A frame as a server sends it, taken apart at the fixed places of the layout. True when it gave
  // a picture.
  bool feedFrame(const std::vector<std::uint8_t>& frame);
  void displayDecodedFrame(CVPixelBufferRef pixelBuffer) override;

  CVPixelBufferRef picture() const { return picture_; }
  const H264HwDecoderImpl& decoder() const { return *decoder_; }
  std::string matrix() const;
  std::vector<std::string> errors;

 private:
  bool feedAt(char* unit, std::uint32_t size);
  std::shared_ptr<H264HwDecoderImpl> decoder_;
  std::vector<char> slot_ = std::vector<char>(QUORVID_FRAME_CAPACITY);
  CVPixelBufferRef picture_ = nullptr;
  int pictures_ = 0;
};

// Peak signal-to-noise ratios in dB of a decoded picture against a drawn one, which is scaled to
// its size sample by sample.
struct Likeness {
  double y, u, v;
};
Likeness likeness(CVPixelBufferRef decoded, const TestPicture& drawn);

}  // namespace quorvid::test
