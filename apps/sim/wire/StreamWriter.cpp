#include "sim/wire/StreamWriter.h"

namespace quorvid::sim {
namespace {

constexpr std::size_t kAnswerBytes = 18;
constexpr std::uint8_t kSilence = 0xd5;  // A-law
constexpr std::uint8_t kKeyType = 1;
constexpr std::uint8_t kDependentType = 3;  // needs the frame before it
constexpr std::uint32_t kFrameOfLength = 10;

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
  Bytes filled;
  const ByteView payload = resized(frame.payload, filled);
  Bytes out;
  appendText(out, faults_.hits(FaultKind::WrongTag, sent_) ? "3GTSV199" : "3GTSV100", 8);
  appendInt32(out, frame.number);
  appendInt32(out, 0);
  appendInt32(out, statedLength(payload.size()));
  appendZeros(out, 13);  // of the frame's information
  out.push_back(frame.key ? kKeyType : kDependentType);
  appendZeros(out, 2);
  appendBytes(out, payload);
  return out;
}

Bytes StreamWriter::sound(std::size_t samples) {
  return fleet_ ? packet('A', Bytes(samples, kSilence)) : Bytes();
}

Bytes StreamWriter::packet(char kind, ByteView whole) {
  ++sent_;
  Bytes filled;
  const ByteView payload = resized(whole, filled);
  if (faults_.hits(FaultKind::BadKind, sent_)) kind = 'X';
  Bytes out;
  out.push_back(static_cast<std::uint8_t>(kind));
  appendInt32(out, statedLength(payload.size()));
  appendInt32(out, sent_);  // read by nobody but people
  appendZeros(out, 10);
  appendBytes(out, payload);
  return out;
}

ByteView StreamWriter::resized(ByteView payload, Bytes& filled) const {
  const auto said = faults_.find(FaultKind::Length);
  if (!said || sent_ != kFrameOfLength || *said < 0) return payload;
  const auto length = static_cast<std::size_t>(*said);
  if (length > kMaxFrameBytes) return payload;
  filled.assign(payload.begin(), payload.end());
  filled.resize(length);
  return filled;
}

std::int64_t StreamWriter::statedLength(std::size_t length) const {
  const auto said = faults_.find(FaultKind::Length);
  if (said && sent_ == kFrameOfLength) return *said;
  if (faults_.hits(FaultKind::Negative, sent_)) return -1;
  if (faults_.hits(FaultKind::TooLarge, sent_)) return kMaxFrameBytes + 1;
  return static_cast<std::int64_t>(length);
}

}  // namespace quorvid::sim
