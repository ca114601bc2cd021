#include "sim/wire/StreamWriter.h"

namespace quorvid::sim {
namespace {

constexpr std::size_t kAnswerBytes = 18;
constexpr std::uint8_t kSilence = 0xd5;  // A-law
constexpr std::uint8_t kKeyType = 1;
constexpr std::uint8_t kDependentType = 3;  // needs the frame before it

}  // namespace

Bytes StreamWriter::opening(std::int32_t status) const {
  if (!fleet_) return {};
  Bytes answer(kAnswerBytes);
  putInt32(answer, 0, status);
  return answer;
}

Bytes StreamWriter::frame(const OutgoingFrame& frame) {
  if (fleet_) return packet('V', frame.payload);
  ++sent_;
  Bytes out;
  appendText(out, faults_.hits(FaultKind::WrongTag, sent_) ? "3GTSV199" : "3GTSV100", 8);
  appendInt32(out, frame.number);
  appendInt32(out, 0);
  appendInt32(out, statedLength(frame.payload.size()));
  appendZeros(out, 13);  // of the frame's information
  out.push_back(frame.key ? kKeyType : kDependentType);
  appendZeros(out, 2);
  appendBytes(out, frame.payload);
  return out;
}

Bytes StreamWriter::sound(std::size_t samples) {
  return fleet_ ? packet('A', Bytes(samples, kSilence)) : Bytes();
}

Bytes StreamWriter::packet(char kind, ByteView payload) {
  ++sent_;
  if (faults_.hits(FaultKind::BadKind, sent_)) kind = 'X';
  Bytes out;
  out.push_back(static_cast<std::uint8_t>(kind));
  appendInt32(out, statedLength(payload.size()));
  appendInt32(out, sent_);  // read by nobody but people
  appendZeros(out, 10);
  appendBytes(out, payload);
  return out;
}

std::int64_t StreamWriter::statedLength(std::size_t length) const {
  if (faults_.hits(FaultKind::Negative, sent_)) return -1;
  if (faults_.hits(FaultKind::TooLarge, sent_)) return kMaxFrameBytes + 1;
  return static_cast<std::int64_t>(length);
}

}  // namespace quorvid::sim
