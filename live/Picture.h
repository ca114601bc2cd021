// Picture: a decoded picture with what the view has to know of it, or a frame that was not decoded.
#pragma once

#include <cstdint>
#include <memory>

#include "base/PicturePtr.h"

namespace quorvid {

// The stream's own size and shape, as its parameter set states them.
struct StreamShape {
  int width = 0, height = 0;
  double ratio = 0;  // width / height where it is shown

  friend bool operator==(const StreamShape&, const StreamShape&) = default;
};

struct Frame;
class VTKeptPicture;

struct Picture {
  PicturePtr buffer;         // null: see kept and frame
  double arrival = 0;        // of its frame; seconds, steady clock
  std::uint64_t number = 0;  // of its frame, counted from 1 since play()
  StreamShape shape;
  std::shared_ptr<const Frame> frame = {};   // undecoded
  std::shared_ptr<VTKeptPicture> kept = {};  // decoded, and not converted yet
};

}  // namespace quorvid
