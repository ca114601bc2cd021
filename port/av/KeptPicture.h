// VTKeptPicture: a decoded frame that is converted when somebody wants to see it, or never.
//
// Any thread. It holds a reference to the decoder's memory until it is converted, and to its
// picture until that is handed out; keeping another frame ends both.
#pragma once

#include <memory>
#include <mutex>
#include <utility>

#include "base/PicturePtr.h"
#include "port/VideoDecompression.h"
#include "port/av/PictureConverter.h"

namespace quorvid {

// See CVImageBufferSetStreamShape().
struct StreamShapes {
  CGSize encoded, display;
};

// kVTVideoDecoderMalfunctionErr, and no picture, where it can't be made.
OSStatus convertFrame(PictureConverter& converter, const AVFrame& frame, const StreamShapes& shapes,
                      CVPixelBufferRef& picture);

class VTKeptPicture {
 public:
  explicit VTKeptPicture(std::shared_ptr<PictureConverter> converter)
      : converter_(std::move(converter)) {}

  // False when memory is short.
  bool keep(const AVFrame& frame, const StreamShapes& shapes);
  void letGo();
  // See VTKeptPictureConvert() and VTKeptPictureCopyPicture().
  bool convert();
  OSStatus copyPicture(CVPixelBufferRef& picture);

 private:
  bool convertLocked();

  const std::shared_ptr<PictureConverter> converter_;
  std::mutex mutex_;  // guards what follows
  AvFramePtr frame_{av_frame_alloc()};
  StreamShapes shapes_;
  PicturePtr picture_;       // once it is converted
  OSStatus status_ = noErr;  // of that
};

}  // namespace quorvid
