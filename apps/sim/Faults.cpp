#include "sim/Faults.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <sstream>

#include "sim/Error.h"

namespace quorvid::sim {
namespace {

constexpr std::array<Service, 4> kServices{Service::fleet, Service::list, Service::relay,
                                           Service::car};

constexpr unsigned bit(Service service) {
  return 1u << static_cast<unsigned>(service);
}

constexpr unsigned kFleet = bit(Service::fleet);
constexpr unsigned kList = bit(Service::list);
constexpr unsigned kRelay = bit(Service::relay);
constexpr unsigned kCar = bit(Service::car);
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

constexpr std::array<Kind, 18> kKinds{{
    {FaultKind::refuse, "refuse", kAll, 3600, 3600,
     "connections are refused for the first N seconds (3600)"},
    {FaultKind::delay, "delay", kAll, 2000, 2000, "N ms pass before the first byte (2000)"},
    {FaultKind::answer, "answer", kFleet, 1, 1, "the stream's answer says status N (1)"},
    {FaultKind::badKind, "bad-kind", kFleet, 10, 10, "packet N is of an unknown kind (10)"},
    {FaultKind::wrongTag, "wrong-tag", kCar | kReplies, 10, 1,
     "another tag: of frame N (10), of the reply"},
    {FaultKind::wrongCommand, "wrong-command", kReplies, 1, 0x8002,
     "the reply carries command word N (32770)"},
    {FaultKind::tooLarge, "too-large", kAll, 10, 2,
     "a length above every bound: of frame N (10), of record N (2), of the relay's reply"},
    {FaultKind::negative, "negative", kAll, 10, 2, "a length of -1, in the same places"},
    {FaultKind::shortHeader, "short-header", kAll, 9, 60,
     "only N bytes of the first header (9, 60), then the end"},
    {FaultKind::shortRecord, "short-record", kReplies, 0, 100,
     "only N bytes of the second record (100), or of the relay's address (at most 4), then the "
     "end"},
    {FaultKind::oneByte, "one-byte", kAll, 0, 1000,
     "every byte on its own, N microseconds apart (0, 1000)"},
    {FaultKind::splitPort, "split-port", kRelay, 0, 200,
     "the port in two segments, N ms apart (200)"},
    {FaultKind::stall, "stall", kAll, 50000, 100, "silence after N bytes (50000, 100)"},
    {FaultKind::close, "close", kAll, 50000, 100,
     "the connection is closed in order after N bytes (50000, 100)"},
    {FaultKind::reset, "reset", kAll, 50000, 100,
     "the connection is reset after N bytes (50000, 100)"},
    {FaultKind::random, "random", kAll, 2000, 2000,
     "N random bytes instead of the reply or stream (2000), then the end"},
    {FaultKind::noise, "noise", kStreams, 5, 5, "every Nth frame's payload is random bytes (5)"},
    {FaultKind::burst, "burst", kStreams, 10, 10, "frames come N at a time (10)"},
}};

const Kind& kindCalled(const std::string& name) {
  const auto found = std::find_if(kKinds.begin(), kKinds.end(),
                                  [&](const Kind& kind) { return name == kind.name; });
  if (found == kKinds.end()) throw UsageError("--fault: there is no fault called '" + name + "'");
  return *found;
}

unsigned servicesCalled(const std::string& name) {
  if (name.empty() || name == "all") return kAll;
  for (const Service service : kServices) {
    if (name == nameOf(service)) return bit(service);
  }
  throw UsageError("--fault: there is no service called '" + name + "'");
}

std::int64_t numberFrom(const std::string& text) {
  std::int64_t value = 0;
  const char* end = text.data() + text.size();
  const auto result = std::from_chars(text.data(), end, value);
  if (result.ec != std::errc() || result.ptr != end || value < 0 || value > 1'000'000'000) {
    throw UsageError("--fault: '" + text + "' is not a number from 0 to 1000000000");
  }
  return value;
}

}  // namespace

const char* nameOf(Service service) {
  constexpr std::array<const char*, 4> names{"fleet", "list", "relay", "car"};
  return names.at(static_cast<std::size_t>(service));
}

void FaultPlan::add(const std::string& text) {
  std::istringstream parts(text);
  std::string name, service, number;
  std::getline(parts, name, ':');
  std::getline(parts, service, ':');
  std::getline(parts, number);
  const Kind& kind = kindCalled(name);
  const unsigned wanted = servicesCalled(service) & kind.services;
  if (wanted == 0) throw UsageError("--fault: '" + name + "' does not apply to '" + service + "'");
  for (const Service each : kServices) {
    if ((wanted & bit(each)) == 0) continue;
    const std::int64_t usual = (bit(each) & kStreams) != 0 ? kind.stream : kind.reply;
    faults_.push_back({each, kind.kind, number.empty() ? usual : numberFrom(number)});
  }
}

std::optional<std::int64_t> FaultPlan::find(Service service, FaultKind kind) const {
  for (const Fault& fault : faults_) {
    if (fault.service == service && fault.kind == kind) return fault.number;
  }
  return std::nullopt;
}

std::string faultHelp() {
  std::string text =
      "Faults, written KIND[:SERVICE[:N]] with SERVICE fleet, list, relay, car or all:\n";
  for (const Kind& kind : kKinds) {
    std::string name = std::string("  ") + kind.name;
    name.resize(17, ' ');
    text += name + kind.text + "\n";
  }
  return text;
}

}  // namespace quorvid::sim
