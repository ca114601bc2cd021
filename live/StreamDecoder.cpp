#include "live/StreamDecoder.h"

#include <algorithm>
#include <utility>

#include "base/Clock.h"

namespace quorvid {
namespace {

constexpr double kSecondsBetweenDecoders = 1;

using h264::UnitType;

// The frame's last unit of that type, without the zeros that fill its place; empty: it has none.
h264::ByteView lastOf(const Frame& frame, UnitType type) {
  h264::ByteView found;
  for (const h264::Unit& unit : frame.units) {
    if (unit.type == type) found = h264::withoutPadding(unit.in(frame.bytes));
  }
  return found;
}

// A picture that is no larger than the one size is scaled once, where it is drawn. Chroma of an odd
// size would be drawn without its last column.
PictureForm formFor(const std::optional<h264::Sps>& stream, PictureForm wanted) {
  constexpr std::int64_t kMostWidth = 1280, kMostHeight = 960;
  if (wanted != PictureForm::OwnSize) return wanted;
  const std::int64_t width = stream ? stream->displayedWidth() : 0;
  const std::int64_t height = stream ? stream->displayedHeight() : 0;
  const bool fits = width > 0 && width <= kMostWidth && height > 0 && height <= kMostHeight;
  return fits && width % 2 == 0 && height % 2 == 0 ? wanted : PictureForm::OneSize;
}

bool same(const h264::Bytes& one, h264::ByteView other) {
  return std::equal(one.begin(), one.end(), other.begin(), other.end());
}

}  // namespace

StreamDecoder::Outcome StreamDecoder::decode(Frame& frame) {
  const bool setsFit = takeSets(frame);
  isForeign_ = frame.isKey ? !setsFit : isForeign_ || !setsFit;
  if (isForeign_) return Outcome::SetsTooOften;
  if (decoder_ == nullptr) return Outcome::NoSets;
  // Everything from the first unit of the picture on is one: a picture in several slices must reach
  // the decoder whole, with the messages in front of it.
  const auto first = std::find_if(frame.units.begin(), frame.units.end(), [](const auto& unit) {
    return unit.type == UnitType::Slice || unit.type == UnitType::KeySlice ||
           unit.type == UnitType::Sei;
  });
  if (first == frame.units.end()) return Outcome::NoPicture;
  const std::uint64_t heldBefore = decoder_->heldUnits();
  feed(frame, *first, frame.bytes.size());
  if (decoder_->hasPicture()) return Outcome::Picture;
  return decoder_->heldUnits() != heldBefore ? Outcome::Held : Outcome::Damaged;
}

PicturePtr StreamDecoder::picture() const {
  return PicturePtr(decoder_ != nullptr ? decoder_->copyPicture() : nullptr);
}

std::shared_ptr<VTKeptPicture> StreamDecoder::keptPicture() const {
  return decoder_ != nullptr ? decoder_->keepPicture() : nullptr;
}

// False: the sets are new ones, too early.
bool StreamDecoder::takeSets(const Frame& frame) {
  const h264::ByteView sps = lastOf(frame, UnitType::Sps), pps = lastOf(frame, UnitType::Pps);
  const bool changed = (!sps.empty() && !same(sps_, sps)) || (!pps.empty() && !same(pps_, pps));
  if (!changed || (decoder_ == nullptr && sps.empty())) return true;
  const double now = steadySeconds();
  if (made_ >= 0 && now - made_ < kSecondsBetweenDecoders) return false;
  made_ = now;
  if (!sps.empty()) sps_.assign(sps.begin(), sps.end());
  if (!pps.empty()) pps_.assign(pps.begin(), pps.end());
  // The whole set, for the shape; of one that isn't understood to its end, the size at least.
  stream_ = h264::parseSps(sps_);
  if (!stream_) stream_ = h264::peekSps(sps_);
  decoder_ = H264HwDecoderImpl::init();
  decoder_->setPictureForm(formFor(stream_, form_));
  decoder_->setPicturesOnRequest();
  for (const h264::Bytes* set : {&sps_, &pps_}) {
    if (set->empty()) continue;
    std::vector<char> unit(4);
    unit.insert(unit.end(), set->begin(), set->end());
    decoder_->decodeNalu(unit.data(), static_cast<std::uint32_t>(unit.size()));
  }
  return true;
}

// The decoder writes over the 4 bytes before the unit's header.
void StreamDecoder::feed(Frame& frame, const h264::Unit& unit, std::size_t end) {
  char* const start = reinterpret_cast<char*>(frame.bytes.data()) + unit.header - 4;
  decoder_->decodeNalu(start, static_cast<std::uint32_t>(end - (unit.header - 4)));
}

}  // namespace quorvid
