#include "h264/SliceHeader.h"

#include <algorithm>

#include "h264/BitReader.h"

namespace quorvid {
namespace {

// Enough for the fields below, the unit's header and the bytes that keep start codes out.
constexpr std::size_t kLongestHeader = 24;

}  // namespace

std::optional<H264SliceHeader> parseH264SliceHeader(const H264Sps& sps,
                                                    std::span<const std::uint8_t> unit) {
  const auto payload = h264Payload(unit.first(std::min(unit.size(), kLongestHeader)));
  if (!payload) {
    return std::nullopt;
  }
  H264BitReader reader(*payload);
  H264SliceHeader header;
  header.firstMacroblock = reader.golomb(kLargestPictureInMacroblocks - 1);
  header.type = static_cast<H264SliceType>(reader.golomb(9) % 5);
  header.pictureSetId = reader.golomb(255);
  header.frameNumber = reader.bits(sps.frameNumberBits);
  if (!sps.framesOnly && reader.flag()) {
    header.picture = reader.flag() ? H264Picture::BottomField : H264Picture::TopField;
  }
  return reader.failed() ? std::nullopt : std::optional(header);
}

}  // namespace quorvid
