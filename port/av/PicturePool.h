// PicturePool: pixel buffers that are used again once everybody else let them go.
//
// A fresh buffer of this size costs more page faults than the whole conversion. The pool holds one
// reference to each buffer: a buffer with no other reference is free. One thread takes; any thread
// may release what was taken. Buffers that are still held outlive the pool.
#pragma once

#include <cstddef>
#include <vector>

#include "quorvid/base/PixelBuffer.h"

namespace quorvid {

class PicturePool {
 public:
  PicturePool(std::size_t width, std::size_t height) : width_(width), height_(height) {}
  ~PicturePool();
  PicturePool(const PicturePool&) = delete;
  PicturePool& operator=(const PicturePool&) = delete;

  // A "420v" buffer with one reference for the caller; its bytes are those of an earlier picture.
  // Null when memory is short.
  CVPixelBufferRef take();

 private:
  std::size_t width_, height_;
  std::vector<CVPixelBufferRef> buffers_;
};

}  // namespace quorvid
