#include "sim/Faults.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <limits>
#include <sstream>

#include "apps/common/CommandLine.h"
#include "apps/common/Words.h"
#include "sim/Error.h"

namespace quorvid::sim {
namespace {

constexpr std::array<Service, 4> kServices{Service::Fleet, Service::List, Service::Relay,
                                           Service::Car};

constexpr unsigned bit(Service service) {
  return 1u << static_cast<unsigned>(service);
}

constexpr unsigned kFleet = bit(Service::Fleet);
constexpr unsigned kList = bit(Service::List);
constexpr unsigned kRelay = bit(Service::Relay);
constexpr unsigned kCar = bit(Service::Car);
constexpr unsigned kStreams = kFleet | kCar;
constexpr unsigned kReplies = kList | kRelay;
constexpr unsigned kAll = kStreams | kReplies;

struct Kind {
  FaultKind kind;
  const char* name;
  unsigned services;
  std::int64_t stream;  // usual number for the streams
  std::int64_t reply;   // and for the replies
  const char* text;
};

constexpr std::array<Kind, 24> kKinds{{
    {FaultKind::Refuse, "refuse", kAll, 3600, 3600,
     "connections are refused for the first N seconds (3600)"},
    {FaultKind::Unanswered, "unanswered", kAll, 1, 1, "attempts to connect are not answered"},
    {FaultKind::Delay, "delay", kAll, 2000, 2000, "N ms pass before the first byte (2000)"},
    {FaultKind::Answer, "answer", kFleet, 1, 1, "the stream's answer says status N (1)"},
    {FaultKind::BadKind, "bad-kind", kFleet, 10, 10, "packet N is of an unknown kind (10)"},
    {FaultKind::WrongTag, "wrong-tag", kCar | kReplies, 10, 1,
     "another tag: of frame N (10), of the reply"},
    {FaultKind::WrongCommand, "wrong-command", kReplies, 1, 0x8002,
     "the reply carries command word N (32770)"},
    {FaultKind::TooLarge, "too-large", kAll, 10, 2,
     "a length above every bound: of frame N (10), of record N (2), of the relay's reply"},
    {FaultKind::Negative, "negative", kAll, 10, 2, "a length of -1, in the same places"},
    {FaultKind::Length, "length", kAll, 0, 0,
     "frame 10, record 2 or the relay's reply says that its length is N (0); a frame has it where "
     "frames can"},
    {FaultKind::Count, "count", kList, 0, 0, "the list says that it has N records (0)"},
    {FaultKind::ShortHeader, "short-header", kAll, 9, 60,
     "only N bytes of the first header (9, 60), then the end"},
    {FaultKind::ShortRecord, "short-record", kReplies, 0, 100,
     "only N bytes of the second record (100), or of the relay's address (at most 4), then the "
     "end"},
    {FaultKind::OneByte, "one-byte", kAll, 0, 1000,
     "every byte on its own, N microseconds apart (0, 1000)"},
    {FaultKind::SplitPort, "split-port", kRelay, 0, 200,
     "the port in two segments, N ms apart (200)"},
    {FaultKind::Stall, "stall", kAll, 50000, 100, "silence after N bytes (50000, 100)"},
    {FaultKind::Close, "close", kAll, 50000, 100,
     "the connection is closed in order after N bytes (50000, 100)"},
    {FaultKind::Reset, "reset", kAll, 50000, 100,
     "the connection is reset after N bytes (50000, 100)"},
    {FaultKind::Random, "random", kAll, 2000, 2000,
     "N random bytes instead of the reply or stream (2000), then the end"},
    {FaultKind::Noise, "noise", kStreams, 5, 5, "every Nth frame's payload is random bytes (5)"},
    {FaultKind::Damage, "damage", kStreams, 2, 2, "every Nth frame has some bytes changed (2)"},
    {FaultKind::Burst, "burst", kStreams, 10, 10, "frames come N at a time (10)"},
    {FaultKind::Flood, "flood", kStreams, 10000, 10000,
     "the first N frames come as fast as they are taken (10000)"},
    {FaultKind::Lose, "lose", kStreams, 7, 7, "every Nth frame is not sent, key frames too (7)"},
}};

const Kind& kindCalled(const std::string& name) {
  const auto found = std::find_if(kKinds.begin(), kKinds.end(),
                                  [&](const Kind& kind) { return name == kind.name; });
  if (found != kKinds.end()) return *found;
  std::vector<std::string> names;
  names.reserve(kKinds.size());
  for (const Kind& kind : kKinds) names.emplace_back(kind.name);
  throw UsageError("--fault: " + app::unknownWord("fault", name, names));
}

unsigned servicesCalled(const std::string& name) {
  if (name.empty() || name == "all") return kAll;
  std::vector<std::string> names{"all"};
  for (const Service service : kServices) {
    if (name == nameOf(service)) return bit(service);
    names.emplace_back(nameOf(service));
  }
  throw UsageError("--fault: " + app::unknownWord("service", name, names));
}

// A length or count may be any number that has 32 bits, with or without a sign.
std::int64_t numberFrom(const std::string& text, bool isField) {
  const std::int64_t least = isField ? std::numeric_limits<std::int32_t>::min() : 0;
  const std::int64_t most = isField ? std::numeric_limits<std::uint32_t>::max() : 1'000'000'000;
  std::int64_t value = 0;
  const char* end = text.data() + text.size();
  const auto result = std::from_chars(text.data(), end, value);
  if (result.ec != std::errc() || result.ptr != end || value < least || value > most) {
    throw UsageError(fmt::format("--fault: '{}' is not a number from {} to {}", text, least, most));
  }
  return value;
}

}  // namespace

const char* nameOf(Service service) {
  constexpr std::array<const char*, 4> kNames{"fleet", "list", "relay", "car"};
  return kNames.at(static_cast<std::size_t>(service));
}

void FaultPlan::add(const std::string& text) {
  std::istringstream parts(text);
  std::string name, service, number;
  std::getline(parts, name, ':');
  std::getline(parts, service, ':');
  std::getline(parts, number);
  const Kind& kind = kindCalled(name);
  const bool isField = kind.kind == FaultKind::Length || kind.kind == FaultKind::Count;
  const unsigned wanted = servicesCalled(service) & kind.services;
  if (wanted == 0) {
    throw UsageError(fmt::format("--fault: '{}' does not apply to '{}'", name, service));
  }
  for (const Service each : kServices) {
    if ((wanted & bit(each)) == 0) continue;
    const std::int64_t usual = (bit(each) & kStreams) != 0 ? kind.stream : kind.reply;
    faults_.push_back({each, kind.kind, number.empty() ? usual : numberFrom(number, isField)});
  }
}

std::optional<std::int64_t> FaultPlan::find(Service service, FaultKind kind) const {
  for (const Fault& fault : faults_) {
    if (fault.service == service && fault.kind == kind) return fault.number;
  }
  return std::nullopt;
}

// Every connection has its own random bytes; they do not depend on what other connections do.
ConnectionFaults::ConnectionFaults(const FaultPlan& plan, Service service, unsigned number)
    : plan_(plan),
      service_(service),
      number_(number),
      active_(plan.times == 0 || number <= static_cast<unsigned>(plan.times)),
      random_(plan.seed * 1'000'003 + static_cast<unsigned>(service) * 100'000 + number) {}

std::optional<std::int64_t> ConnectionFaults::find(FaultKind kind) const {
  return active_ ? plan_.find(service_, kind) : std::nullopt;
}

std::optional<std::size_t> ConnectionFaults::findPlace(FaultKind kind) const {
  const auto first = find(kind);
  if (!first) return std::nullopt;
  const unsigned sweep = static_cast<unsigned>(std::max(1, plan_.sweep));
  return static_cast<std::size_t>(*first) + (number_ - 1) % sweep;
}

Bytes ConnectionFaults::randomBytes(std::size_t count) {
  Bytes bytes(count);
  for (std::uint8_t& byte : bytes) byte = static_cast<std::uint8_t>(random_() >> 24);
  return bytes;
}

std::string faultHelp() {
  std::string text =
      "Faults, written KIND[:SERVICE[:N]] with SERVICE fleet, list, relay, car or all:\n";
  for (const Kind& kind : kKinds) {
    text += fmt::format("  {:15}{}\n", kind.name, app::narrow(kind.text, 63, 17));
  }
  return text;
}

}  // namespace quorvid::sim
