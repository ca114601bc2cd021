#include "sim/wire/QueryWire.h"

#include <algorithm>
#include <initializer_list>

#include "sim/wire/DeviceRecord.h"

namespace quorvid::sim {
namespace {

// The layouts are drawn in docs/protocol.md. A lookup states the size of a block in the memory of
// the client, 84 or 104; on the wire the block has 84 bytes.
constexpr std::int32_t kListCommand = 130;
constexpr std::int32_t kRelayCommand = 134;
constexpr std::int32_t kReplyCommand = 0x8001;
constexpr std::size_t kRelayBlock = 120;
constexpr std::int64_t kTooLarge = 1'000'000;

struct Word {
  std::size_t at;
  std::int32_t value;
};

std::string wrongHeader(ByteView request, std::initializer_list<Word> words) {
  if (!startsWith(request, "3GAPV104")) return "it does not begin with 3GAPV104";
  for (const Word& word : words) {
    const std::int32_t found = readInt32(request, word.at);
    if (found != word.value) {
      return "the word at byte " + std::to_string(word.at) + " is " + std::to_string(found) +
             " instead of " + std::to_string(word.value);
    }
  }
  for (const std::size_t at : {20u, 52u, 84u}) {
    if (!readText(request.subspan(at, 32))) {
      return "the text at byte " + std::to_string(at) + " is not a text with zeros after it";
    }
  }
  return allZero(request.subspan(204)) ? "" : "the bytes after the fields are not zero";
}

Bytes header(const Options& options, std::int64_t length, ConnectionFaults& faults) {
  Bytes out = faults.randomBytes(static_cast<std::size_t>(options.garbage));
  appendText(out, faults.find(FaultKind::wrongTag) ? "3GAPV199" : options.replyTag, 8);
  appendInt32(out, 1);
  appendInt32(out, faults.find(FaultKind::wrongCommand).value_or(kReplyCommand));
  appendInt32(out, length);
  appendZeros(out, 104);
  return out;
}

}  // namespace

std::variant<ListOrder, Refusal> parseListRequest(ByteView request) {
  std::string wrong = wrongHeader(request, {{8, 1}, {12, kListCommand}, {16, 284}, {116, 0}});
  if (!wrong.empty()) return Refusal{std::move(wrong)};
  return ListOrder{*readText(request.subspan(20, 32))};
}

std::variant<StreamOrder, Refusal> parseRelayRequest(ByteView request) {
  std::string wrong =
      wrongHeader(request, {{8, 1}, {12, kRelayCommand}, {116, 1}, {kRelayBlock + 4, 1}});
  const std::int32_t size = readInt32(request, 16);
  const auto device = readText(request.subspan(kRelayBlock + 8, 64));
  if (wrong.empty() && ((size != 84 && size != 104) || readInt32(request, kRelayBlock) != size)) {
    wrong = "the relay block's size is neither 84 nor 104, or not the same twice";
  }
  if (wrong.empty() && !device) wrong = "the device field is not a text with zeros after it";
  if (wrong.empty() && !allZero(request.subspan(kRelayBlock + 76, 8))) {
    wrong = "the last words of the relay block are not zero";
  }
  if (!wrong.empty()) return Refusal{std::move(wrong)};
  return StreamOrder{*device, readInt32(request, kRelayBlock + 72) - 1};
}

Reply listReply(const Options& options, unsigned poll, ConnectionFaults& faults) {
  const std::size_t count =
      options.items ? static_cast<std::size_t>(*options.items) : options.devices.size();
  const std::size_t length = static_cast<std::size_t>(options.itemLength);
  Reply reply{header(options, static_cast<std::int64_t>(104 + count * length), faults)};
  const std::size_t records = reply.bytes.size();
  putInt32(reply.bytes, records - 4, static_cast<std::int64_t>(count));
  for (std::size_t i = 0; i < count; ++i) {
    const std::size_t start = reply.bytes.size();
    appendDeviceRecord(reply.bytes, options, i, poll);
    reply.bytes.resize(start + length, 0xee);
    const auto number = static_cast<std::uint32_t>(i + 1);
    if (faults.hits(FaultKind::tooLarge, number)) putInt32(reply.bytes, start, kTooLarge);
    if (faults.hits(FaultKind::negative, number)) putInt32(reply.bytes, start, -1);
  }
  reply.end = reply.bytes.size();
  if (const auto some = faults.find(FaultKind::shortRecord)) {
    const std::size_t second = records + (count > 1 ? length : 0);
    reply.end = std::min(reply.end, second + static_cast<std::size_t>(*some));
  }
  return reply;
}

Reply relayReply(const Options& options, const std::array<std::uint8_t, 4>& address, int port,
                 ConnectionFaults& faults) {
  std::int64_t length = 8 + options.relayExtra;
  if (faults.find(FaultKind::tooLarge)) length = kTooLarge;
  if (faults.find(FaultKind::negative)) length = -1;
  Reply reply{header(options, length, faults)};
  reply.bytes.resize(reply.bytes.size() + static_cast<std::size_t>(options.relayExtra), 0xee);
  reply.bytes.insert(reply.bytes.end(), address.begin(), address.end());
  const std::size_t portAt = reply.bytes.size();
  appendInt32(reply.bytes, port);
  if (faults.find(FaultKind::splitPort)) reply.split = portAt + 2;
  reply.end = reply.bytes.size();
  if (const auto some = faults.find(FaultKind::shortRecord)) {
    reply.end = portAt - 4 + static_cast<std::size_t>(std::min<std::int64_t>(*some, 4));
  }
  return reply;
}

}  // namespace quorvid::sim
