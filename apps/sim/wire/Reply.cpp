#include "sim/wire/Reply.h"

#include <fmt/format.h>

#include <cmath>
#include <numbers>

namespace quorvid::sim {
namespace {

constexpr std::int32_t kReplyCommand = 0x8001;
constexpr std::int64_t kTooLarge = 1'000'000;
constexpr std::uint8_t kFiller = 0xee;
constexpr std::uint32_t kRecordOfLength = 2;

struct Trip {
  double longitude, latitude;  // millionths of a degree
  int speed;                   // kilometres an hour
  const char* heading;
};

// Every vehicle drives round in a circle of its own, somewhat further with each poll.
Trip tripOf(std::size_t index, unsigned poll) {
  constexpr std::array<const char*, 8> kHeadings{"north", "north-west", "west", "south-west",
                                                 "south", "south-east", "east", "north-east"};
  const auto i = static_cast<double>(index);
  const double angle = 0.7 * i + 0.05 * poll;
  const double radius = 9000 + 700 * std::fmod(i, 11);
  const double turns = angle / (2 * std::numbers::pi);
  const auto eighth =
      static_cast<std::size_t>(std::lround((turns - std::floor(turns)) * 8)) % kHeadings.size();
  return {10'000'000 + 30'000 * std::fmod(i, 16) + radius * std::cos(angle),
          50'000'000 + 20'000 * std::floor(i / 16) + radius * std::sin(angle),
          30 + static_cast<int>((index * 7 + poll * 3) % 50), kHeadings[eighth]};
}

std::string timeOfDay(unsigned poll) {
  const unsigned seconds = (8 * 3600 + poll * 5) % 86400;
  return fmt::format("{:02}:{:02}:{:02}", seconds / 3600, seconds / 60 % 60, seconds % 60);
}

// The library leaves the meaning of a record's fields to the server; here they are:
//
//   blk64   device                      byteA   1: on line
//   blkA32  vehicle                     byteB   number of channels
//   blkB32  depot                       byteC   kilometres an hour
//   numA    longitude, millionths of    blk9    time of day
//           a degree; numB latitude     blk128  what the vehicle is doing
void appendRecord(Bytes& out, const Options& options, std::size_t index, unsigned poll) {
  const Trip trip = tripOf(index, poll);
  const std::size_t start = out.size();
  const bool named = index < options.devices.size();
  appendInt32(out, options.itemLength);
  appendText(out, named ? options.devices[index] : simulatedDevice(index), 64);
  appendText(out, fmt::format("Truck {}", index + 1), 32);
  appendText(out, fmt::format("Depot {}", index / 10 + 1), 32);
  appendInt32(out, std::lround(trip.longitude));
  appendInt32(out, std::lround(trip.latitude));
  out.push_back(1);
  out.push_back(static_cast<std::uint8_t>(options.channels));
  out.push_back(static_cast<std::uint8_t>(trip.speed));
  appendText(out, timeOfDay(poll), 9);
  appendText(out, fmt::format("driving {} at {} km/h", trip.heading, trip.speed), 128);
  out.resize(start + static_cast<std::size_t>(options.itemLength), kFiller);
}

Bytes header(const Options& options, std::int64_t length, std::size_t records,
             ConnectionFaults& faults) {
  Bytes out = faults.randomBytes(static_cast<std::size_t>(options.garbage));
  appendText(out, faults.has(FaultKind::WrongTag) ? "3GAPV199" : options.replyTag, 8);
  appendInt32(out, 1);
  appendInt32(out, faults.find(FaultKind::WrongCommand).value_or(kReplyCommand));
  appendInt32(out, length);
  appendZeros(out, 100);
  appendInt32(out, faults.find(FaultKind::Count).value_or(static_cast<std::int64_t>(records)));
  return out;
}

}  // namespace

Reply listReply(const Options& options, unsigned poll, ConnectionFaults& faults) {
  const std::size_t count =
      options.items ? static_cast<std::size_t>(*options.items) : options.devices.size();
  const auto length = static_cast<std::size_t>(options.itemLength);
  Reply reply{header(options, static_cast<std::int64_t>(104 + count * length), count, faults)};
  const std::size_t records = reply.bytes.size();
  for (std::size_t i = 0; i < count; ++i) {
    const std::size_t start = reply.bytes.size();
    appendRecord(reply.bytes, options, i, poll);
    const auto number = static_cast<std::uint32_t>(i + 1);
    if (faults.hits(FaultKind::TooLarge, number)) putInt32(reply.bytes, start, kTooLarge);
    if (faults.hits(FaultKind::Negative, number)) putInt32(reply.bytes, start, -1);
    const auto said = faults.find(FaultKind::Length);
    if (said && number == kRecordOfLength) putInt32(reply.bytes, start, *said);
  }
  reply.end = reply.bytes.size();
  if (const auto some = faults.find(FaultKind::ShortRecord)) {
    const std::size_t second = records + (count > 1 ? length : 0);
    reply.end = std::min(reply.end, second + static_cast<std::size_t>(*some));
  }
  return reply;
}

Reply relayReply(const Options& options, const std::array<std::uint8_t, 4>& address, int port,
                 ConnectionFaults& faults) {
  std::int64_t length = 8 + options.relayExtra;
  if (faults.has(FaultKind::TooLarge)) length = kTooLarge;
  if (faults.has(FaultKind::Negative)) length = -1;
  length = faults.find(FaultKind::Length).value_or(length);
  Reply reply{header(options, length, 0, faults)};
  reply.bytes.resize(reply.bytes.size() + static_cast<std::size_t>(options.relayExtra), kFiller);
  appendBytes(reply.bytes, address);
  const std::size_t portAt = reply.bytes.size();
  appendInt32(reply.bytes, port);
  if (faults.has(FaultKind::SplitPort)) reply.split = portAt + 2;
  reply.end = reply.bytes.size();
  if (const auto some = faults.find(FaultKind::ShortRecord)) {
    reply.end = portAt - 4 + static_cast<std::size_t>(std::min<std::int64_t>(*some, 4));
  }
  return reply;
}

}  // namespace quorvid::sim
