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

// How a command that runs on reports its figures.
struct ReportOptions {
  bool json = false;
  bool stats = false;
  bool inWords() const { return !json && !stats; }
};
void addReport(CLI::App& command, ReportOptions& report);

// What the help of a command ends with. example: a command line without the program's name.
std::string helpEnd(const std::string& example, const std::string& statuses);

}  // namespace quorvid::app
