#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "sim/Faults.h"
#include "sim/media/Encoder.h"

namespace quorvid::sim {

enum class CloseStyle : std::uint8_t {
  Order,  // what was sent arrives, then the end of the stream
  Reset,  // the connection is torn down
};

// What the command line asks for, checked.
struct Options {
  std::string bind = "127.0.0.1";
  int fleetPort = 0;
  int listPort = 0;
  int relayPort = 0;
  int carPort = 0;
  bool json = false;
  std::string sendLog;  // file; empty: none

  std::string input;  // empty: the drawn scene
  EncoderSettings encoder;
  EncoderSettings later;              // size of the loop's second half; width 0: the same
  std::optional<AVRational> rate;     // otherwise a file keeps its own
  std::optional<double> loopSeconds;  // at most
  std::string cache;                  // folder of encoded loops; empty: none

  std::vector<std::string> devices;  // announced by the list reply
  bool onlyTheseDevices = false;     // others are refused
  int channels = 8;                  // 0 to channels-1 are served
  bool audio = false;
  bool live = false;  // play by the computer's clock
  int gap = 0;        // car stream: every gap-th frame is left out; 0: none

  std::string replyTag = "3GAPV104";
  int garbage = 0;           // random bytes before the reply's tag
  std::optional<int> items;  // records in the list reply; nothing: one for each device
  int itemLength = 280;
  int relayExtra = 0;  // bytes between the relay reply's header and its address

  CloseStyle close = CloseStyle::Order;
  std::optional<double> dropAfter;
  std::optional<double> stallAfter;
  FaultPlan faults;
};

// What the device with this index is called that was not given a name.
std::string simulatedDevice(std::size_t index);

// @return nothing when the text to print (help, version) is all that was asked for; it is on
// standard output
// @throws UsageError with a sentence about what is wrong
std::optional<Options> parseOptions(int argc, const char* const* argv);

}  // namespace quorvid::sim
