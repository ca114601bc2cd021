#pragma once

#include <optional>
#include <stdexcept>
#include <string>

#include "sim/Faults.h"
#include "sim/wire/Bytes.h"

namespace quorvid::sim {

// What a well-formed request asks for: a stream or its relay, or the device list of an account.
struct Order {
  std::string device;
  int channel = 0;
  std::string account;
};

// Why a request is not well-formed.
class Refusal : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// The length of the service's requests, which is fixed.
std::size_t requestBytes(Service service);

// Reads a request of requestBytes(), laid out as docs/protocol.md draws it. @throws Refusal
Order parseRequest(Service service, ByteView request);

}  // namespace quorvid::sim
