// ProbeDialect: the two kinds of stream as a probe reads them: strictly, telling what is wrong,
// where the library's workers reconnect without a word.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "apps/common/Target.h"
#include "apps/quorvid/probe/ProbeSocket.h"

namespace quorvid::app {

struct ProbeFrame {
  std::vector<std::uint8_t> bytes;
  bool isAudio = false;     // fleet: a packet that carries no video
  bool isLeftOut = false;   // car: out of sequence, the library waits for a frame of another type
  std::size_t garbage = 0;  // car: bytes before the tag that belong to nothing
};

class ProbeDialect {
 public:
  virtual ~ProbeDialect() = default;
  // The request record, and what it is called.
  virtual std::vector<std::uint8_t> request() const = 0;
  virtual const char* requestName() const = 0;
  // Reads what the server answers before the first frame; says so.
  virtual std::string readAnswer(ProbeSocket& socket) = 0;
  virtual ProbeFrame nextFrame(ProbeSocket& socket) = 0;
};

std::unique_ptr<ProbeDialect> fleetDialect(const StreamTarget& target);
// token: account, hyphen, digits of the time.
std::unique_ptr<ProbeDialect> carDialect(const StreamTarget& target, const std::string& token);

// The request of a relay lookup, and its answer.
std::vector<std::uint8_t> relayRequest(const StreamTarget& target, const std::string& token);
struct RelayAnswer {
  std::string address;
  std::int32_t port = 0;
};
RelayAnswer readRelayAnswer(ProbeSocket& socket);

}  // namespace quorvid::app
