#include "h264/ParameterSets.h"

#include "h264/BitReader.h"
#include "h264/Pps.h"
#include "h264/ReorderLimit.h"

namespace quorvid {
namespace {

using Bytes = std::vector<std::uint8_t>;

// No set needs more, padding included; the lengths below have 16 bits.
constexpr std::size_t kLargestSet = 4096;

void appendWithLength(Bytes& record, const Bytes& set) {
  record.push_back(static_cast<std::uint8_t>(set.size() >> 8));
  record.push_back(static_cast<std::uint8_t>(set.size() & 0xFF));
  record.insert(record.end(), set.begin(), set.end());
}

}  // namespace

std::optional<H264ParameterSets> H264ParameterSets::make(std::span<const std::uint8_t> sps,
                                                         std::span<const std::uint8_t> pps) {
  if (sps.size() > kLargestSet || pps.size() > kLargestSet) {
    return std::nullopt;
  }
  sps = h264WithoutPadding(sps);
  pps = h264WithoutPadding(pps);
  const auto parsed = parseH264Sps(sps);
  if (!parsed || !isH264PpsFor(*parsed, pps)) {
    return std::nullopt;
  }
  return H264ParameterSets{withReorderLimit(*parsed, sps), Bytes(pps.begin(), pps.end()), *parsed};
}

std::vector<std::uint8_t> H264ParameterSets::avcRecord() const {
  Bytes record{1, sps[1], sps[2], sps[3], 0xFF, 0xE1};
  appendWithLength(record, sps);
  record.push_back(1);
  appendWithLength(record, pps);
  return record;
}

}  // namespace quorvid
