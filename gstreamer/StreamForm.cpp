#include "gstreamer/StreamForm.h"

#include <gst/pbutils/codec-utils.h>

#include <algorithm>

#include "h264/Sps.h"

namespace quorvid::gst {
namespace {

using h264::UnitType;

constexpr std::uint32_t kLargestPpsId = 255;
constexpr std::size_t kMostPps = 31;         // so many the record has room for by habit of readers
constexpr std::size_t kLargestSet = 0xFFFF;  // its length has 2 bytes
constexpr auto kDelimiter = UnitType{9}, kFiller = UnitType{12};

bool isSlice(UnitType type) {
  return type >= UnitType::Slice && type <= UnitType::KeySlice;
}

// Units that say nothing inside of a record that has their sets and counts their bytes.
bool isNeeded(UnitType type) {
  return type != UnitType::Sps && type != UnitType::Pps && type != kDelimiter && type != kFiller;
}

Buffer bufferOf(const h264::Bytes& bytes) {
  return Buffer(gst_buffer_new_memdup(bytes.data(), bytes.size()));
}

// Stream formats of 8 bits in 4:2:0 go without these fields in codec_data.
bool isHigh(std::uint32_t profile) {
  return profile == 100 || profile == 110 || profile == 122 || profile == 144;
}

bool isIntra(h264::ByteView slice) {
  const h264::Bytes payload = h264::payloadOf(slice.first(std::min<std::size_t>(slice.size(), 32)));
  h264::BitReader reader(payload);
  reader.ue();
  const std::uint32_t type = reader.ue(9) % 5;
  return !reader.failed() && (type == 2 || type == 4);
}

}  // namespace

void StreamForm::setAvc(bool isAvc) {
  hasNewCaps_ = hasNewCaps_ || isAvc != isAvc_;
  isAvc_ = isAvc;
}

Buffer StreamForm::take(h264::ByteView frame) {
  const std::vector<h264::Unit> units = h264::unitsOf(frame);
  const bool bringsSets = keepSets(frame, units);
  const auto slice = std::find_if(units.begin(), units.end(),
                                  [](const h264::Unit& unit) { return isSlice(unit.type); });
  if (slice == units.end()) {
    owesSets_ = owesSets_ || bringsSets;
    return nullptr;
  }
  if (sps_.empty() || (isAvc_ && pps_.empty())) return nullptr;
  isKey_ =
      slice->type == UnitType::KeySlice || ((bringsSets || owesSets_) && isIntra(slice->in(frame)));
  h264::Bytes bytes;
  bytes.reserve(frame.size() + 4 * units.size());
  if (owesSets_ && !bringsSets && !isAvc_) {
    append(bytes, sps_);
    for (const auto& [id, unit] : pps_) append(bytes, unit);
  }
  owesSets_ = false;
  if (!isAvc_) {
    const h264::ByteView whole = frame.subspan(units.front().startCode);
    bytes.insert(bytes.end(), whole.begin(), whole.end());
    return bufferOf(bytes);
  }
  for (const h264::Unit& unit : units) {
    if (isNeeded(unit.type)) append(bytes, h264::withoutPadding(unit.in(frame)));
  }
  return bufferOf(bytes);
}

// True when the frame brings an SPS. What a picture parameter set says holds with its SPS alone.
bool StreamForm::keepSets(h264::ByteView frame, const std::vector<h264::Unit>& units) {
  bool bringsSps = false;
  for (const h264::Unit& unit : units) {
    const h264::ByteView bytes = h264::withoutPadding(unit.in(frame));
    if (bytes.size() < 4 || bytes.size() > kLargestSet) continue;
    if (unit.type == UnitType::Sps && h264::peekSps(bytes)) {
      bringsSps = true;
      if (keep(sps_, bytes)) pps_.clear();
    } else if (unit.type == UnitType::Pps) {
      const h264::Bytes payload = h264::payloadOf(bytes);
      h264::BitReader reader(payload);
      const std::uint32_t id = reader.ue(kLargestPpsId);
      const bool hasRoom = pps_.count(id) != 0 || pps_.size() < kMostPps;
      if (!reader.failed() && hasRoom) keep(pps_[id], bytes);
    }
  }
  return bringsSps;
}

// True when that is new.
bool StreamForm::keep(h264::Bytes& kept, h264::ByteView unit) {
  if (std::equal(kept.begin(), kept.end(), unit.begin(), unit.end())) return false;
  kept.assign(unit.begin(), unit.end());
  hasNewCaps_ = true;
  return true;
}

// Behind a start code, or its length.
void StreamForm::append(h264::Bytes& out, h264::ByteView unit) const {
  const auto size = isAvc_ ? static_cast<std::uint32_t>(unit.size()) : 1U;
  for (const int shift : {24, 16, 8, 0}) out.push_back(static_cast<std::uint8_t>(size >> shift));
  out.insert(out.end(), unit.begin(), unit.end());
}

// As ParameterSets::avcRecord() draws it, with all sets, and in High profiles chroma and depths.
Buffer StreamForm::codecData() const {
  h264::Bytes record{1, sps_[1], sps_[2], sps_[3], 0xFF, 0xE1};
  const auto add = [&record](const h264::Bytes& unit) {
    record.push_back(static_cast<std::uint8_t>(unit.size() >> 8));
    record.push_back(static_cast<std::uint8_t>(unit.size()));
    record.insert(record.end(), unit.begin(), unit.end());
  };
  add(sps_);
  record.push_back(static_cast<std::uint8_t>(pps_.size()));
  for (const auto& [id, unit] : pps_) add(unit);
  const auto stream = h264::peekSps(sps_);
  if (stream && isHigh(stream->profileIdc)) {
    record.push_back(static_cast<std::uint8_t>(0xFC | stream->chromaFormatIdc));
    record.push_back(static_cast<std::uint8_t>(0xF8 | (stream->bitDepth - 8)));
    record.push_back(static_cast<std::uint8_t>(0xF8 | (stream->bitDepthChroma - 8)));
    record.push_back(0);
  }
  return bufferOf(record);
}

Caps StreamForm::caps() {
  hasNewCaps_ = false;
  Caps caps(gst_caps_new_simple("video/x-h264", "stream-format", G_TYPE_STRING,
                                isAvc_ ? "avc" : "byte-stream", "alignment", G_TYPE_STRING, "au",
                                nullptr));
  gst_codec_utils_h264_caps_set_level_and_profile(caps.get(), sps_.data() + 1,
                                                  static_cast<guint>(sps_.size() - 1));
  // The whole set, for the shape of a sample; of one that isn't understood to its end, the size.
  auto stream = h264::parseSps(sps_);
  if (!stream) stream = h264::peekSps(sps_);
  if (stream && stream->displayedWidth() > 0 && stream->displayedHeight() > 0) {
    const h264::SampleAspect shape = stream->sampleAspect;
    gst_caps_set_simple(caps.get(), "width", G_TYPE_INT,
                        static_cast<gint>(stream->displayedWidth()), "height", G_TYPE_INT,
                        static_cast<gint>(stream->displayedHeight()), "pixel-aspect-ratio",
                        GST_TYPE_FRACTION, static_cast<gint>(shape.width),
                        static_cast<gint>(shape.height), nullptr);
  }
  if (isAvc_) {
    gst_caps_set_simple(caps.get(), "codec_data", GST_TYPE_BUFFER, codecData().get(), nullptr);
  }
  return caps;
}

}  // namespace quorvid::gst
