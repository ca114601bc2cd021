// Settings: what the element's properties say, and the target that they make. Plain values.
#pragma once

#include <string>

#include "quorvid/quorvid.h"

namespace quorvid::gst {

struct Settings {
  std::string server;  // HOST:PORT
  int path = QUORVID_FLEET;
  std::string device;
  int channel = 0;
  std::string account;
  std::string passwordFile;
  double stallAfter = 5;
};

// A target with its texts.
struct Target {
  std::string host, device, account, password;
  int port = 0, path = QUORVID_FLEET, channel = 0;

  // Lasts as long as this does.
  quorvid_target view() const;
};

// Throws app::Failure with a sentence for what can't be taken. Reads the password file, which may
// last 30 s where that is a pipe.
Target targetOf(const Settings& settings);

}  // namespace quorvid::gst
