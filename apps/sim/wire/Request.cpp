#include "sim/wire/Request.h"

#include <fmt/format.h>

namespace quorvid::sim {
namespace {

constexpr std::size_t kTextBytes = 32;  // account, password and token
constexpr std::size_t kRelayBlock = 120;

void require(bool holds, const std::string& reason) {
  if (!holds) throw Refusal(reason);
}

void requireTag(ByteView request, std::string_view tag) {
  require(std::equal(tag.begin(), tag.end(), request.begin()),
          fmt::format("it does not begin with {}", tag));
}

bool allZero(ByteView bytes) {
  return std::all_of(bytes.begin(), bytes.end(), [](std::uint8_t b) { return b == 0; });
}

std::int32_t int32At(ByteView bytes, std::size_t at) {
  std::uint32_t bits = 0;
  for (std::size_t i = 4; i-- > 0;) bits = bits << 8 | bytes[at + i];
  return static_cast<std::int32_t>(bits);
}

// The text of a fixed-width field: printable characters, one NUL, and zeros up to the field's end.
std::string textOf(ByteView field, const std::string& name) {
  const auto end = std::find(field.begin(), field.end(), 0);
  const bool printable =
      std::all_of(field.begin(), end, [](std::uint8_t c) { return c >= 0x20 && c != 0x7f; });
  require(end != field.end() && allZero({end, field.end()}) && printable,
          fmt::format("the {} is not a text with zeros after it", name));
  return {field.begin(), end};
}

std::string textAt(ByteView request, std::size_t at) {
  return textOf(request.subspan(at, kTextBytes), fmt::format("text at byte {}", at));
}

Order parseFleet(ByteView request) {
  const auto isDigit = [](std::uint8_t byte) { return byte >= '0' && byte <= '9'; };
  requireTag(request, "001");
  const std::string device = textOf(request.subspan(3, 32), "device field");
  require(!device.empty(), "it names no device");
  require(isDigit(request[35]) && isDigit(request[36]), "the channel is not two digits");
  require(request[37] == 'L', "there is no L after the channel");
  require(allZero(request.subspan(38)), "the reserved bytes are not zero");
  return {device, (request[35] - '0') * 10 + (request[36] - '0'), {}};
}

Order parseCar(ByteView request) {
  requireTag(request, "3GTXV100");
  require(int32At(request, 8) == 2 && int32At(request, 12) == 164,
          "the words after the tag are not 2 and 164");
  for (const std::size_t at : {16u, 48u, 80u}) textAt(request, at);
  const std::string device = textOf(request.subspan(112, 64), "device field");
  require(request[176] == 2 && request[177] == 1 && request[179] == 0,
          "the bytes around the channel are not 2, 1 and 0");
  require(allZero(request.subspan(180)), "the bytes after the fields are not zero");
  return {device, (request[178] + 255) % 256, {}};
}

void requireWord(ByteView request, std::size_t at, std::int32_t value) {
  const std::int32_t found = int32At(request, at);
  require(found == value, fmt::format("the word at byte {} is {} instead of {}", at, found, value));
}

// What both queries have around their own words. @return the account
std::string parseTexts(ByteView request) {
  std::string account = textAt(request, 20);
  for (const std::size_t at : {52u, 84u}) textAt(request, at);
  require(allZero(request.subspan(204)), "the bytes after the fields are not zero");
  return account;
}

Order parseList(ByteView request) {
  requireTag(request, "3GAPV104");
  requireWord(request, 8, 1);
  requireWord(request, 12, 130);
  requireWord(request, 16, 284);
  requireWord(request, 116, 0);
  return {{}, 0, parseTexts(request)};
}

Order parseRelay(ByteView request) {
  requireTag(request, "3GAPV104");
  requireWord(request, 8, 1);
  requireWord(request, 12, 134);
  requireWord(request, 116, 1);
  requireWord(request, kRelayBlock + 4, 1);
  parseTexts(request);
  const std::int32_t size = int32At(request, 16);
  require((size == 84 || size == 104) && int32At(request, kRelayBlock) == size,
          "the relay block's size is neither 84 nor 104, or not the same twice");
  const std::string device = textOf(request.subspan(kRelayBlock + 8, 64), "device field");
  require(allZero(request.subspan(kRelayBlock + 76, 8)),
          "the last words of the relay block are not zero");
  return {device, int32At(request, kRelayBlock + 72) - 1, {}};
}

}  // namespace

std::size_t requestBytes(Service service) {
  return service == Service::Fleet ? 81 : 500;
}

Order parseRequest(Service service, ByteView request) {
  switch (service) {
    case Service::Fleet:
      return parseFleet(request);
    case Service::Car:
      return parseCar(request);
    case Service::List:
      return parseList(request);
    case Service::Relay:
      return parseRelay(request);
  }
  throw Refusal("there is no such service");
}

}  // namespace quorvid::sim
