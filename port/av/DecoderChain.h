// DecoderChain: the first of several ways to decode that works, tried in order.
//
// A decoder that opened is not yet believed: when it gives no picture for a unit, the ones after it
// are tried with that same unit, and the first that gives a picture takes over for good. When none
// does, the unit is to blame and the decoder stays; those after it stay open and try each further
// unit, until the decoder gives a picture again or one of them does. That holds for the first unit
// as for any later one, so a device that fails in the middle of a stream is replaced at the next
// key frame at the latest, and none of them is opened for each of many units. One thread.
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "h264/ParameterSets.h"
#include "port/VideoDecompression.h"
#include "port/av/AvFrames.h"

namespace quorvid {

struct DecodedPicture {
  OSStatus status = noErr;
  // In memory; null when there is none. Belongs to the decoder and lasts until its next call.
  const AVFrame* frame = nullptr;
};

// One way to decode a stream, in hardware or software.
class PictureDecoder {
 public:
  virtual ~PictureDecoder() = default;
  // packet: units with their lengths in front, at least one slice among them; in padded,
  // reference-counted memory, so that no decoder needs a copy.
  virtual DecodedPicture decode(const AVPacket& packet) = 0;
};

// A way that may be tried. open() gives null where the machine doesn't offer it, without noise and
// without waiting.
struct DecoderCandidate {
  std::string name;
  std::function<std::unique_ptr<PictureDecoder>(const h264::ParameterSets& sets)> open;
};
using DecoderCandidates = std::vector<DecoderCandidate>;

// The ways of this machine: one candidate for each kind of device that libavcodec's H.264 decoder
// works with and whose device files are there, in libavcodec's order, then "software". No display
// and no environment variable is looked at; VDPAU, which needs a display, is left out: its devices
// work as CUDA or VAAPI, too. Opening one that fails may bring a line of the device's own library,
// or of libavutil's device contexts (which have no log level of their own), on standard error; a
// kind that failed to open is not tried again in this process. libavcodec's V4L2 memory-to-memory
// wrapper is not among them: it waits without limit for a picture that such a device may give only
// after further units. None where libavcodec can't be loaded.
DecoderCandidates decoderCandidates();

class DecoderChain {
 public:
  // Null when no candidate opens.
  static std::unique_ptr<DecoderChain> open(DecoderCandidates candidates, h264::ParameterSets sets);

  // The picture lasts until the next call.
  DecodedPicture decode(const AVPacket& packet);
  const std::string& name() const { return name_; }

 private:
  DecoderChain() = default;

  std::string name_;
  std::unique_ptr<PictureDecoder> current_;
  DecoderCandidates later_;
  h264::ParameterSets sets_;
  // Of the later candidates, while the current decoder gives no picture; null, too, when none
  // opens.
  std::unique_ptr<DecoderChain> fallback_;
  bool triedFallback_ = false;
};

}  // namespace quorvid
