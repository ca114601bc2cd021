// H264HwDecoderImpl: turns H.264 units, one a call, into decoded pictures for a delegate.
#ifndef QUORVID_DECODER_H264_HW_DECODER_IMPL_H
#define QUORVID_DECODER_H264_HW_DECODER_IMPL_H

#include <cstdint>
#include <memory>

#include "quorvid/platform/Export.h"
#include "quorvid/platform/PixelBuffer.h"

namespace quorvid {

// Receives decoded pictures, on the thread that called the decoder.
class QUORVID_API H264HwDecoderImplDelegate {
 public:
  virtual ~H264HwDecoderImplDelegate();
  // pixelBuffer carries one reference that the delegate releases exactly once.
  virtual void displayDecodedFrame(CVPixelBufferRef pixelBuffer) = 0;
};

class QUORVID_API H264HwDecoderImpl {
 public:
  static std::shared_ptr<H264HwDecoderImpl> init();
  ~H264HwDecoderImpl();

  std::shared_ptr<H264HwDecoderImplDelegate> delegate() const { return _delegate.lock(); }
  void setDelegate(const std::shared_ptr<H264HwDecoderImplDelegate>& delegate);

  void decodeNalu(char* frame, std::uint32_t frameSize);
  bool initH264Decoder();
  CVPixelBufferRef decode(char* buffer, std::uint32_t size);

 private:
  H264HwDecoderImpl() = default;
  std::weak_ptr<H264HwDecoderImplDelegate> _delegate;
};

}  // namespace quorvid

#endif
