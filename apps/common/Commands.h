// The commands of `quorvid`. Each adds itself and its options to the program; the one that the user
// names puts what is to be done into `chosen`.
#pragma once

#include <CLI/CLI.hpp>
#include <functional>
#include <memory>
#include <string>

#include "apps/common/Arguments.h"

namespace quorvid::app {

// Yields the exit status: 0 done, 1 failed (the reason is on standard error). Throws UsageError,
// which becomes 2, before anything else has happened.
using ChosenCommand = std::function<int()>;

// The options that say which stream is meant, as text.
struct TargetOptions {
  std::string server;
  std::string device;
  std::string channels = "0";
  std::string account;
  std::string passwordFile;
  std::string path = "fleet";

  void addTo(CLI::App& command);
  // Checked; the channel is the first one named.
  StreamTarget target() const;
};

// Refuses more than one channel.
void requireOneChannel(const TargetOptions& options);

// The options of a query: server and account.
struct AccountOptions {
  std::string server;
  std::string account;
  std::string passwordFile;

  void addTo(CLI::App& command);
  AccountTarget target() const;  // checked
};

void addViewCommand(CLI::App& program, ChosenCommand& chosen);
void addListCommand(CLI::App& program, ChosenCommand& chosen);
void addGpsCommand(CLI::App& program, ChosenCommand& chosen);
void addRecordCommand(CLI::App& program, ChosenCommand& chosen);
void addProbeCommand(CLI::App& program, ChosenCommand& chosen);

// Prints "quorvid: <sentence>" on standard error, with nothing in it that steers a terminal.
void note(const std::string& sentence);
// The same, and returns 1.
int failed(const std::string& sentence);

}  // namespace quorvid::app
