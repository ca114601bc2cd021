// Feeds any bytes to the readers of H.264 syntax, and checks what they promise of what they take.
//
// Input (Records.h): the first record is an SPS, the second one a PPS, each further one a frame;
// its kind: sixteenths of a second since the one before.
#include <algorithm>
#include <span>

#include "fuzz/Records.h"
#include "h264/Continuity.h"
#include "h264/ParameterSets.h"
#include "h264/Slice.h"
#include "h264/Units.h"

namespace {

using quorvid::fuzz::require;
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

// The sample as a decoder gets it: lengths that fit, and nothing between them.
void checkPacked(const quorvid::h264::Sample& sample) {
  Bytes packet(sample.packedSize());
  sample.packInto(packet);
  std::size_t at = 0;
  while (at + 4 <= packet.size()) {
    std::size_t size = 0;
    for (int i = 0; i < 4; ++i) size = size << 8 | packet[at++];
    require(size > 0 && size <= packet.size() - at);
    at += size;
  }
  require(at == packet.size() && at > 0);
}

// The same bytes as a sample: with their length in front, as a caller that counts right has it.
void takeSample(const Bytes& unit, const ParameterSets& sets, quorvid::h264::Continuity& continuity,
                double now) {
  using quorvid::h264::SampleKind;
  Bytes bytes;
  for (int shift = 24; shift >= 0; shift -= 8) {
    bytes.push_back(static_cast<std::uint8_t>(unit.size() >> shift));
  }
  bytes.insert(bytes.end(), unit.begin(), unit.end());
  const auto sample = quorvid::h264::readSample(bytes, sets, quorvid::h264::kWorkOfHonestUnits);
  if (sample.kind == SampleKind::Nothing) {
    return continuity.announce(sample.picture.recoveryFrameCnt);
  }
  if (sample.kind == SampleKind::Damaged) return continuity.lose();
  checkPacked(sample);
  const bool mayShow = continuity.take(sample.picture, now);
  require(mayShow || !sample.picture.isIdr);
  const bool isWhole = (unit.back() & 2) != 0;  // as a decoder might say
  continuity.decoded(isWhole);
  require(!continuity.isHeld() || !isWhole || !mayShow);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const auto records = quorvid::fuzz::Input(data, size).records;
  if (records.size() < 2) return 0;
  const ParameterSets sets = readSets(records[0].bytes, records[1].bytes);
  quorvid::h264::Continuity continuity(sets.stream);
  double now = 1;
  for (const auto& [kind, frame] : std::span(records).subspan(2)) {
    now += kind / 16.0;
    readFrame(frame, sets.stream);
    if (!frame.empty()) takeSample(frame, sets, continuity, now);
  }
  return 0;
}
