#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace quorvid::sim {

enum class Service : std::uint8_t { fleet, list, relay, car };

const char* nameOf(Service service);

// What can be made to go wrong. Each kind says in Faults.cpp where it applies and what its number
// means.
enum class FaultKind : std::uint8_t {
  refuse,
  delay,
  answer,
  badKind,
  wrongTag,
  wrongCommand,
  tooLarge,
  negative,
  shortHeader,
  shortRecord,
  oneByte,
  splitPort,
  stall,
  close,
  reset,
  random,
  noise,
  burst,
};

// The faults asked for on the command line.
class FaultPlan {
 public:
  // Adds one, written KIND[:SERVICE[:NUMBER]]; without a service it applies wherever it can.
  // @throws UsageError for an unknown kind or service, or a kind that the service doesn't know
  void add(const std::string& text);

  // The number of the fault if it was asked for: its own, or the kind's usual one.
  std::optional<std::int64_t> find(Service service, FaultKind kind) const;
  bool has(Service service, FaultKind kind) const { return find(service, kind).has_value(); }

 private:
  struct Fault {
    Service service;
    FaultKind kind;
    std::int64_t number;
  };
  std::vector<Fault> faults_;
};

// The kinds of faults for the help text, one a line.
std::string faultHelp();

}  // namespace quorvid::sim
