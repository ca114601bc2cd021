#include <string>

#include "sim/wire/StreamDialect.h"

namespace quorvid::sim {
namespace {

// The layouts are drawn in docs/protocol.md. Frames are numbered from 1.
constexpr std::size_t kRequestBytes = 500;
constexpr std::size_t kInfoBytes = 16;
constexpr std::size_t kTypeInInfo = 13;
constexpr std::uint8_t kKeyType = 1;
constexpr std::uint8_t kDependentType = 3;

class CarDialect final : public StreamDialect {
 public:
  explicit CarDialect(const ConnectionFaults& faults) : faults_(faults) {}

  std::size_t requestBytes() const override { return kRequestBytes; }

  std::variant<StreamOrder, Refusal> parse(ByteView request) const override {
    if (!startsWith(request, "3GTXV100")) return Refusal{"it does not begin with 3GTXV100"};
    if (readInt32(request, 8) != 2 || readInt32(request, 12) != 164) {
      return Refusal{"the words after the tag are not 2 and 164"};
    }
    for (const std::size_t at : {16u, 48u, 80u}) {
      if (!readText(request.subspan(at, 32))) {
        return Refusal{"the text at byte " + std::to_string(at) +
                       " is not a text with zeros after it"};
      }
    }
    const auto device = readText(request.subspan(112, 64));
    if (!device) return Refusal{"the device field is not a text with zeros after it"};
    if (request[176] != 2 || request[177] != 1 || request[179] != 0) {
      return Refusal{"the bytes around the channel are not 2, 1 and 0"};
    }
    if (!allZero(request.subspan(180))) return Refusal{"the bytes after the fields are not zero"};
    return StreamOrder{*device, (request[178] + 255) % 256};
  }

  Bytes opening(std::int32_t) const override { return {}; }

  Bytes frame(const OutgoingFrame& frame) override {
    ++sent_;
    std::int64_t length = static_cast<std::int64_t>(frame.payload.size());
    if (faults_.hits(FaultKind::tooLarge, sent_)) length = kMaxFrameBytes + 1;
    if (faults_.hits(FaultKind::negative, sent_)) length = -1;
    Bytes out;
    appendText(out, faults_.hits(FaultKind::wrongTag, sent_) ? "3GTSV199" : "3GTSV100", 8);
    appendInt32(out, frame.number);
    appendInt32(out, 0);
    appendInt32(out, length);
    const std::size_t info = out.size();
    appendZeros(out, kInfoBytes);
    out[info + kTypeInInfo] = frame.key ? kKeyType : kDependentType;
    out.insert(out.end(), frame.payload.begin(), frame.payload.end());
    return out;
  }

  Bytes sound(std::size_t) override { return {}; }

 private:
  const ConnectionFaults& faults_;
  std::uint32_t sent_ = 0;
};

}  // namespace

std::unique_ptr<StreamDialect> makeCarDialect(const ConnectionFaults& faults) {
  return std::make_unique<CarDialect>(faults);
}

}  // namespace quorvid::sim
