// StreamDecoder: makes pictures of one stream's frames. One thread; it blocks for as long as
// decoding takes.
//
// A frame's parameter sets tell whether the stream is still the one that the decoder was made for:
// another size or camera gets a new decoder, at most one a second, because a server may alternate
// its sets and each decoder costs memory and time.
#pragma once

#include <memory>
#include <optional>

#include "h264/Sps.h"
#include "live/FrameQueue.h"
#include "live/Picture.h"
#include "quorvid/decoder/H264HwDecoderImpl.h"

namespace quorvid {

class StreamDecoder {
 public:
  enum class Outcome : std::uint8_t {
    Picture,
    Held,          // built on frames that are lost, or none to begin with
    Damaged,       // nothing can be made of it
    NoSets,        // no parameter sets came yet
    SetsTooOften,  // new parameter sets within a second of the last new ones
    NoPicture,     // holds no slice
  };

  // OwnSize: where that is even and at most 1280 by 960; OneSize for other streams.
  explicit StreamDecoder(PictureForm form = PictureForm::OwnSize) : form_(form) {}
  Outcome decode(Frame& frame);
  // Of the frame decoded last, where the outcome was Picture. Scaled it costs about as much as
  // decoding did; in its own size, little; as decoded, next to nothing. Null when memory is short.
  PicturePtr picture() const;
  // The same picture, to be converted by whoever takes it: H264HwDecoderImpl::copyPicture().
  std::shared_ptr<VTKeptPicture> keptPicture() const;
  // What the stream's parameter set states; nothing before the first.
  const std::optional<h264::Sps>& stream() const { return stream_; }

 private:
  bool takeSets(const Frame& frame);
  void feed(Frame& frame, const h264::Unit& unit, std::size_t end);

  const PictureForm form_;
  std::shared_ptr<H264HwDecoderImpl> decoder_;
  h264::Bytes sps_, pps_;  // of the decoder
  std::optional<h264::Sps> stream_;
  double made_ = -1;        // when the decoder was
  bool isForeign_ = false;  // frames since belong to sets that were not taken
};

}  // namespace quorvid
