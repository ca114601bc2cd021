#include "apps/common/Options.h"

#include <algorithm>

#include "apps/common/CommandLine.h"
#include "apps/common/Failure.h"
#include "apps/common/PasswordFile.h"
#include "apps/common/Values.h"

namespace quorvid::app {

namespace {

// Width of the text fields in the requests, less the closing NUL.
constexpr std::size_t kLongestText = 31;
constexpr std::size_t kLongestCarDevice = 63;
// The car path sends "account-12345678" in a text field of its own.
constexpr std::size_t kLongestCarAccount = kLongestText - 9;

void addServer(CLI::App& command, Endpoint& server) {
  const auto take = [&server](const std::string& text) { server = parseEndpoint(text); };
  command.add_option_function<std::string>("server", take, "the server as HOST:PORT")
      ->required()
      ->type_name("HOST:PORT");
}

CLI::Option* addAccount(CLI::App& command, std::string& account, std::string& passwordFile,
                        const char* purpose) {
  CLI::Option* const option = command.add_option("--account", account, purpose)->type_name("NAME");
  command
      .add_option("--password-file", passwordFile,
                  "file whose first line is the password (none), open to its owner alone (chmod "
                  "600), or a pipe: <(pass show truck)")
      ->type_name("FILE");
  return option;
}

void addPath(CLI::App& command, StreamPath& path) {
  std::map<std::string, StreamPath> paths;
  for (const StreamPath one : {StreamPath::Fleet, StreamPath::Car, StreamPath::Relay}) {
    paths[nameOf(one)] = one;
  }
  // The later one comes first: only a name becomes a path, not a number.
  command.add_option("--path", path, "fleet, car, or relay (a lookup server) (fleet)")
      ->transform(CLI::Transformer(paths).description(""))
      ->transform(oneOf("path", {"fleet", "car", "relay"}))
      ->type_name("PATH");
}

void addDevices(CLI::App& command, std::vector<std::string>& devices, bool one) {
  std::string purpose = "device identifier, at most 31 bytes (car paths: 63)";
  if (!one) purpose += "; several: --device A --device B";
  CLI::Option* const option = command.add_option("--device", devices, purpose);
  option->required()->type_name("ID")->allow_extra_args(false);
  if (one) option->expected(1);
}

void requireDevices(const std::vector<std::string>& devices, std::size_t most) {
  for (auto device = devices.begin(); device != devices.end(); ++device) {
    if (device->empty()) throw Failure("the device identifier is empty");
    requireFits("the device identifier", *device, most);
    if (std::find(devices.begin(), device, *device) != device) {
      throw Failure("device " + *device + " is given twice");
    }
  }
  if (devices.empty()) throw Failure("the device identifier is empty");
}

}  // namespace

void AccountOptions::addTo(CLI::App& command) {
  addServer(command, target.server);
  addAccount(command, target.account, passwordFile, "account, at most 31 bytes")->required();
}

void AccountOptions::complete() {
  requireFits("the account", target.account, kLongestText);
  target.password = readPassword(passwordFile);
}

void StreamOptions::addTo(CLI::App& command, Streams count) {
  const bool one = count == Streams::One;
  addServer(command, target.server);
  addDevices(command, devices, one);
  addAccount(command, target.account, passwordFile,
             "account, at most 31 bytes, car paths 22 (none)");
  addPath(command, target.path);
  const auto take = [this, one](const std::string& text) {
    channels = parseChannels(text);
    if (one && channels.size() > 1) {
      throw Failure("this command takes one channel, not " + text);
    }
  };
  command
      .add_option_function<std::string>(
          "--channel", take, one ? "camera, 0 to 7 (0)" : "cameras, 0 to 7: N[,N...] (0)")
      ->type_name(one ? "N" : "LIST");
}

void StreamOptions::complete() {
  const bool fleet = target.path == StreamPath::Fleet;
  requireDevices(devices, fleet ? kLongestText : kLongestCarDevice);
  target.device = devices.front();
  target.channel = channels.front();
  requireFits(fleet ? "the account" : "the account for this path", target.account,
              fleet ? kLongestText : kLongestCarAccount);
  target.password = readPassword(passwordFile);
}

std::vector<StreamTarget> StreamOptions::targets() const {
  std::vector<StreamTarget> targets;
  for (const std::string& device : devices) {
    for (const int channel : channels) {
      targets.push_back(target);
      targets.back().device = device;
      targets.back().channel = channel;
    }
  }
  return targets;
}

void addSeconds(CLI::App& command, const std::string& name, double& seconds, double least,
                double most, const std::string& purpose) {
  command.add_option(name, seconds, purpose)->check(within(least, most))->type_name("S");
}

void addReport(CLI::App& command, ReportOptions& report) {
  command.add_flag("--json", report.json, "report at the end as a JSON object (in words)");
  command.add_flag("--stats", report.stats,
                   "each second the figures as a line of JSON; no report in words. With --json the "
                   "report is the last line");
}

std::string helpEnd(const std::string& example, const std::string& statuses) {
  return "In brackets: what holds without the option.\nExample: quorvid " + example +
         "\nExit status: " + narrow(statuses, 66, 13);
}

}  // namespace quorvid::app
