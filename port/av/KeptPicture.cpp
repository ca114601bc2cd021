#include "port/av/KeptPicture.h"

#include <new>

namespace quorvid {

OSStatus convertFrame(PictureConverter& converter, const AVFrame& frame, const StreamShapes& shapes,
                      CVPixelBufferRef& picture) {
  picture = converter.convert(frame);
  if (picture == nullptr) return kVTVideoDecoderMalfunctionErr;
  CVImageBufferSetStreamShape(picture, shapes.encoded, shapes.display);
  return noErr;
}

bool VTKeptPicture::keep(const AVFrame& frame, const StreamShapes& shapes) {
  letGo();
  const std::lock_guard lock(mutex_);
  shapes_ = shapes;
  return frame_ != nullptr && av_frame_ref(frame_.get(), &frame) == 0;
}

void VTKeptPicture::letGo() {
  const std::lock_guard lock(mutex_);
  picture_.reset();
  status_ = noErr;
  if (frame_ != nullptr) av_frame_unref(frame_.get());
}

bool VTKeptPicture::convert() {
  const std::lock_guard lock(mutex_);
  return convertLocked();
}

OSStatus VTKeptPicture::copyPicture(CVPixelBufferRef& picture) {
  const std::lock_guard lock(mutex_);
  convertLocked();
  picture = picture_.release();
  return status_;
}

bool VTKeptPicture::convertLocked() {
  if (frame_ == nullptr || frame_->buf[0] == nullptr) return false;
  CVPixelBufferRef made = nullptr;
  try {
    status_ = convertFrame(*converter_, *frame_, shapes_, made);
  } catch (const std::bad_alloc&) {
    status_ = kVTAllocationFailedErr;
  }
  picture_.reset(made);
  av_frame_unref(frame_.get());
  return picture_ != nullptr;
}

}  // namespace quorvid
