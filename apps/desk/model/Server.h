// Server: what the user is a customer of, the devices that it names and their cameras. Plain
// values.
#pragma once

#include <string>
#include <utility>

#include "quorvid/connection/VehicleConnection.h"
#include "quorvid/live/LiveStatus.h"

namespace quorvid::desk {

struct Server {
  std::string id;    // among those remembered; never shown
  std::string name;  // for the user; the host where it is empty
  std::string host;
  int listPort = 0;  // of the device list and the positions; 0: there is none
  int videoPort = 0;
  LivePath path = LivePath::Fleet;
  std::string account;
  int cameras = 4;           // of a device, 1 to 8: no record says how many there are
  bool isSimulator = false;  // the bundled one; its ports are new at each start

  const std::string& title() const { return name.empty() ? host : name; }
};

struct Device {
  std::string id;        // by which its streams are asked for
  std::string name;      // for the user; may be the same
  bool isTyped = false;  // by hand; without a record
  DevInfoItem record{};
};

// One tile's content.
struct Camera {
  std::string device;
  int channel = 0;

  friend bool operator==(const Camera&, const Camera&) = default;
};

}  // namespace quorvid::desk
