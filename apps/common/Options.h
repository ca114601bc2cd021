// Options: what the commands take from the command line, declared once for all of them and checked
// before the library sees it. A refused value is a Failure with its sentence.
#pragma once

#include <CLI/CLI.hpp>
#include <cstdint>
#include <string>
#include <vector>

#include "apps/common/Target.h"

namespace quorvid::app {

// The options of a query: server and account.
struct AccountOptions {
  AccountTarget target;
  std::string passwordFile;

  void addTo(CLI::App& command);
  // Checks what only the options together tell, and reads the password.
  void complete();
};

// The options that say which stream is meant, or which ones: each device with each channel.
struct StreamOptions {
  StreamTarget target;  // the first device and the first channel
  std::vector<std::string> devices;
  std::vector<int> channels{0};
  std::string passwordFile;

  enum class Streams : std::uint8_t { One, Several };
  void addTo(CLI::App& command, Streams count = Streams::One);
  void complete();
  // Device by device; after complete().
  std::vector<StreamTarget> targets() const;
};

// A number of seconds within bounds.
void addSeconds(CLI::App& command, const std::string& name, double& seconds, double least,
                double most, const std::string& purpose);

// Refuses the name of a file that could not be written.
CLI::Validator writableFile();

}  // namespace quorvid::app
