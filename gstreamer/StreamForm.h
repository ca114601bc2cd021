// StreamForm: a stream's access units in the form that downstream takes, and the caps that describe
// it. The streaming thread's.
//
//   byte-stream   the bytes as they came, from the first start code on
//   avc           a length of 4 bytes before each unit; parameter sets in codec_data alone
#pragma once

#include <gst/gst.h>

#include <map>
#include <memory>

#include "h264/Units.h"

namespace quorvid::gst {

struct Unref {
  void operator()(GstCaps* caps) const { gst_caps_unref(caps); }
  void operator()(GstBuffer* buffer) const { gst_buffer_unref(buffer); }
};
using Caps = std::unique_ptr<GstCaps, Unref>;
using Buffer = std::unique_ptr<GstBuffer, Unref>;

class StreamForm {
 public:
  // From the next frame on; byte-stream at first.
  void setAvc(bool isAvc);
  // frame: an access unit. Null where it gives none to push: it has no slice (its parameter sets
  // are kept), or came before the sets that are needed.
  Buffer take(h264::ByteView frame);
  // The last one needs no other: an IDR picture, or an intra picture with its parameter sets.
  bool isKey() const { return isKey_; }
  // The stream is no longer what the caps of the last call said, or there was none.
  bool hasNewCaps() const { return hasNewCaps_; }
  Caps caps();

 private:
  bool keepSets(h264::ByteView frame, const std::vector<h264::Unit>& units);
  bool keep(h264::Bytes& kept, h264::ByteView unit);
  void append(h264::Bytes& out, h264::ByteView unit) const;
  Buffer codecData() const;

  bool isAvc_ = false, isKey_ = false, hasNewCaps_ = false;
  bool owesSets_ = false;  // sets came without a picture
  h264::Bytes sps_;
  std::map<std::uint32_t, h264::Bytes> pps_;  // by id, of the SPS
};

}  // namespace quorvid::gst
