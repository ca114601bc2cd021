#pragma once

#include <memory>
#include <string>
#include <variant>

#include "sim/net/ConnectionFaults.h"
#include "sim/wire/Bytes.h"

namespace quorvid::sim {

// What a well-formed stream request asks for.
struct StreamOrder {
  std::string device;
  int channel = 0;
};

// Why a request is not well-formed.
struct Refusal {
  std::string reason;
};

struct OutgoingFrame {
  Bytes payload;
  bool key = false;
  std::uint32_t number = 0;  // from 1, counted over every frame of the connection
};

// One of the two ways in which streams are asked for and framed. One object for each connection.
class StreamDialect {
 public:
  virtual ~StreamDialect() = default;

  virtual std::size_t requestBytes() const = 0;
  virtual std::variant<StreamOrder, Refusal> parse(ByteView request) const = 0;
  // What precedes the first frame; status 0 means that frames follow.
  virtual Bytes opening(std::int32_t status) const = 0;
  virtual Bytes frame(const OutgoingFrame& frame) = 0;
  // A packet of sound; empty where the dialect has none.
  virtual Bytes sound(std::size_t samples) = 0;
};

std::unique_ptr<StreamDialect> makeFleetDialect(const ConnectionFaults& faults);
std::unique_ptr<StreamDialect> makeCarDialect(const ConnectionFaults& faults);

}  // namespace quorvid::sim
