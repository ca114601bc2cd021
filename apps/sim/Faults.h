#pragma once

#include <cstdint>
#include <optional>
#include <random>
#include <string>
#include <vector>

#include "sim/wire/Bytes.h"

namespace quorvid::sim {

enum class Service : std::uint8_t { Fleet, List, Relay, Car };

const char* nameOf(Service service);

// What can be made to go wrong. Each kind says in Faults.cpp where it applies and what its number
// means.
enum class FaultKind : std::uint8_t {
  Refuse,
  Unanswered,
  Delay,
  Answer,
  BadKind,
  WrongTag,
  WrongCommand,
  TooLarge,
  Negative,
  Length,
  Count,
  ShortHeader,
  ShortRecord,
  OneByte,
  SplitPort,
  Stall,
  Close,
  Reset,
  Random,
  Noise,
  Damage,
  Burst,
  Flood,
  Lose,
};

// The faults asked for on the command line.
class FaultPlan {
 public:
  // Adds one, written KIND[:SERVICE[:NUMBER]]; without a service it applies wherever it can.
  // @throws UsageError for an unknown kind or service, or a kind that the service doesn't know
  void add(const std::string& text);

  // The number of the fault if it was asked for: its own, or the kind's usual one.
  std::optional<std::int64_t> find(Service service, FaultKind kind) const;

  int times = 0;           // the first so many connections of a service are hit; 0: all
  int sweep = 0;           // close, reset and stall move on by a byte; positions; 0: they don't
  std::uint64_t seed = 1;  // where the random bytes start

 private:
  struct Fault {
    Service service;
    FaultKind kind;
    std::int64_t number;
  };
  std::vector<Fault> faults_;
};

// The faults of one connection, and its random bytes.
class ConnectionFaults {
 public:
  // @param number of the connection among those of its service, from 1
  ConnectionFaults(const FaultPlan& plan, Service service, unsigned number);

  std::optional<std::int64_t> find(FaultKind kind) const;
  bool has(FaultKind kind) const { return find(kind).has_value(); }
  // After how many bytes of this connection a close, reset or stall comes.
  std::optional<std::size_t> findPlace(FaultKind kind) const;
  // Whether the fault was asked for with this number.
  bool hits(FaultKind kind, std::uint32_t number) const { return find(kind) == number; }
  Bytes randomBytes(std::size_t count);

 private:
  const FaultPlan& plan_;
  const Service service_;
  const unsigned number_;
  const bool active_;
  std::mt19937_64 random_;
};

// The kinds of faults for the help text, one a line.
std::string faultHelp();

}  // namespace quorvid::sim
