// Feeds any bytes to the readers of H.264 syntax, and checks what they promise of what they take.
//
// Input: the length of an SPS (1 byte), of a PPS (1 byte), both units, then the bytes of a frame.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <span>

#include "h264/ParameterSets.h"
#include "h264/Slice.h"
#include "h264/Units.h"

namespace {

using quorvid::h264::Bytes;
using quorvid::h264::ByteView;
using quorvid::h264::ParameterSets;
using quorvid::h264::Sps;

const ParameterSets kAnySets = [] {
  ParameterSets sets;
  sets.stream.picWidthInMbs = 40;
  sets.stream.frameHeightInMbs = 30;
  sets.stream.frameMbsOnly = false;
  return sets;
}();

void require(bool holds) {
  if (!holds) __builtin_trap();
}

// In memory of its own, so that a read beyond it shows.
Bytes take(ByteView& input, std::size_t size) {
  const ByteView front = input.first(std::min(size, input.size()));
  input = input.subspan(front.size());
  return {front.begin(), front.end()};
}

ParameterSets readSets(const Bytes& sps, const Bytes& pps) {
  if (const auto peeked = quorvid::h264::peekSps(sps)) quorvid::h264::withoutVui(*peeked, sps);
  const auto sets = ParameterSets::make(sps, pps);
  if (!sets) return kAnySets;
  // What was taken, and given a reorder limit, is taken again.
  const auto again = ParameterSets::make(sets->sps, sets->pps);
  require(again && again->avcRecord() == sets->avcRecord());
  require(sets->stream.frameSizeInMbs() <= quorvid::h264::kMaxFrameSizeInMbs);
  return *sets;
}

void readFrame(const Bytes& frame, const Sps& stream) {
  std::size_t end = 0;
  for (const auto& unit : quorvid::h264::unitsOf(frame)) {
    require(end <= unit.startCode && unit.startCode < unit.header && unit.header < unit.end);
    end = unit.end;
    const Bytes bytes(frame.begin() + static_cast<std::ptrdiff_t>(unit.header),
                      frame.begin() + static_cast<std::ptrdiff_t>(unit.end));
    quorvid::h264::parseSliceHeader(stream, bytes);
  }
  require(end <= frame.size());
}

// The same bytes as a sample: with their length in front, as a caller that counts right has it.
void repack(const Bytes& unit, const ParameterSets& sets) {
  Bytes sample;
  for (int shift = 24; shift >= 0; shift -= 8) {
    sample.push_back(static_cast<std::uint8_t>(unit.size() >> shift));
  }
  sample.insert(sample.end(), unit.begin(), unit.end());
  const auto read = quorvid::h264::readSample(sample, sets, quorvid::h264::kWorkOfHonestUnits);
  if (read.kind != quorvid::h264::SampleKind::Picture) return;
  Bytes packet(read.packedSize());
  read.packInto(packet);
  std::size_t at = 0;
  while (at + 4 <= packet.size()) {
    std::size_t size = 0;
    for (int i = 0; i < 4; ++i) size = size << 8 | packet[at++];
    require(size > 0 && size <= packet.size() - at);
    at += size;
  }
  require(at == packet.size() && at > 0);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size < 2) return 0;
  ByteView input(data + 2, size - 2);
  const Bytes sps = take(input, data[0]);
  const Bytes pps = take(input, data[1]);
  const Bytes frame = take(input, input.size());
  const ParameterSets sets = readSets(sps, pps);
  readFrame(frame, sets.stream);
  repack(frame, sets);
  return 0;
}
