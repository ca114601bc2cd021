#include <string>

#include "sim/wire/StreamDialect.h"

namespace quorvid::sim {
namespace {

// The layouts are drawn in docs/protocol.md. What a client skips first in a packet is its number.
constexpr std::size_t kRequestBytes = 81;
constexpr std::size_t kAnswerBytes = 18;
constexpr std::uint8_t kSilence = 0xd5;  // A-law

bool isDigit(std::uint8_t byte) {
  return byte >= '0' && byte <= '9';
}

class FleetDialect final : public StreamDialect {
 public:
  explicit FleetDialect(const ConnectionFaults& faults) : faults_(faults) {}

  std::size_t requestBytes() const override { return kRequestBytes; }

  std::variant<StreamOrder, Refusal> parse(ByteView request) const override {
    if (!startsWith(request, "001")) return Refusal{"it does not begin with 001"};
    const auto device = readText(request.subspan(3, 32));
    if (!device) return Refusal{"the device field is not a text with zeros after it"};
    if (device->empty()) return Refusal{"it names no device"};
    if (!isDigit(request[35]) || !isDigit(request[36])) {
      return Refusal{"the channel is not two digits"};
    }
    if (request[37] != 'L') return Refusal{"there is no L after the channel"};
    if (!allZero(request.subspan(38))) return Refusal{"the reserved bytes are not zero"};
    return StreamOrder{*device, (request[35] - '0') * 10 + (request[36] - '0')};
  }

  Bytes opening(std::int32_t status) const override {
    Bytes answer;
    appendInt32(answer, status);
    answer.resize(kAnswerBytes);
    return answer;
  }

  Bytes frame(const OutgoingFrame& frame) override { return packet('V', frame.payload); }

  Bytes sound(std::size_t samples) override { return packet('A', Bytes(samples, kSilence)); }

 private:
  Bytes packet(char kind, const Bytes& payload) {
    ++number_;
    std::int64_t length = static_cast<std::int64_t>(payload.size());
    if (faults_.hits(FaultKind::tooLarge, number_)) length = kMaxFrameBytes + 1;
    if (faults_.hits(FaultKind::negative, number_)) length = -1;
    if (faults_.hits(FaultKind::badKind, number_)) kind = 'X';
    Bytes out{static_cast<std::uint8_t>(kind)};
    appendInt32(out, length);
    appendInt32(out, number_);
    appendZeros(out, 10);
    out.insert(out.end(), payload.begin(), payload.end());
    return out;
  }

  const ConnectionFaults& faults_;
  std::uint32_t number_ = 0;
};

}  // namespace

std::unique_ptr<StreamDialect> makeFleetDialect(const ConnectionFaults& faults) {
  return std::make_unique<FleetDialect>(faults);
}

}  // namespace quorvid::sim
