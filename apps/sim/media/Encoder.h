#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "sim/media/Av.h"
#include "sim/wire/Bytes.h"

namespace quorvid::sim {

struct EncoderSettings {
  int width = 640;
  int height = 480;
  AVRational rate{25, 1};
  int gop = 25;              // pictures from one key frame to the next
  std::int64_t bitrate = 0;  // bits a second; 0 takes one that suits size and rate
  bool sei = false;
  AVRational sampleShape{1, 1};  // width : height of a pixel where the picture is shown
};

// One frame as it goes over the wire, in the layout of AccessUnit.h.
struct EncodedFrame {
  Bytes bytes;
  bool key = false;
  std::size_t number = 0;  // in its loop
};

// H.264, main profile, one slice a picture, no reordering: one picture in, one frame out.
class Encoder {
 public:
  // @throws SimError when there is no encoder, or none for this size
  explicit Encoder(const EncoderSettings& settings);

  // @param picture planar 4:2:0 of the encoder's size; its time stamp is set
  // @throws SimError when encoding fails or the result does not fit the layout
  EncodedFrame encode(AVFrame& picture);
  // The picture as the encoder wrote it, before it is put into the layout; borrowed until the next
  // call.
  ByteView encodePlain(AVFrame& picture);

 private:
  EncoderSettings settings_;
  CodecPtr codec_;
  PacketPtr packet_;
  std::int64_t count_ = 0;
};

// The bit rate that `settings` ask for, or one that suits them.
std::int64_t effectiveBitrate(const EncoderSettings& settings);
// All settings, on one line.
std::string textOf(const EncoderSettings& settings);

}  // namespace quorvid::sim
