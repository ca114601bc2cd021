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

// The options that say which stream is meant.
struct StreamOptions {
  StreamTarget target;  // its channel is the first one
  std::vector<int> channels{0};
  std::string passwordFile;

  enum class Channels : std::uint8_t { One, Several };
  void addTo(CLI::App& command, Channels count = Channels::One);
  void complete();
};

// A number of seconds within bounds.
void addSeconds(CLI::App& command, const std::string& name, double& seconds, double least,
                double most, const std::string& purpose);

// Refuses the name of a file that could not be written.
CLI::Validator writableFile();

}  // namespace quorvid::app
