// The ways to decode H.264 on this machine: devices first, software last.
#pragma once

#include "port/av/PictureDecoder.h"

namespace quorvid {

// One candidate for each kind of device that libavcodec's H.264 decoder works with and whose device
// files are there, in libavcodec's order, then "software". No display and no environment variable
// is looked at; VDPAU, which needs a display, is left out: its devices work as CUDA or VAAPI, too.
// Opening one that fails may bring a line of the device's own library, or of libavutil's device
// contexts (which have no log level of their own), on standard error; a kind that failed to open is
// not tried again in this process. libavcodec's V4L2 memory-to-memory wrapper is not among them: it
// waits without limit for a picture that such a device may give only after further units.
DecoderCandidates decoderCandidates();

}  // namespace quorvid
