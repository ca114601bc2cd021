// `quorvid list`: the devices that an account may see.
#include <fmt/format.h>

#include <algorithm>
#include <atomic>
#include <nlohmann/json.hpp>

#include "apps/common/Commands.h"
#include "apps/common/Deadline.h"
#include "apps/common/Failure.h"
#include "apps/common/Output.h"
#include "apps/common/Reachability.h"
#include "apps/common/Terminal.h"
#include "apps/quorvid/query/DeviceTable.h"

namespace quorvid::app {

namespace {

constexpr double kReachTimeout = 2;
constexpr double kLookInterval = 0.05;

struct ListOptions : AccountOptions {
  bool json = false;
  bool raw = false;
  double timeout = 30;

  void addTo(CLI::App& command) {
    AccountOptions::addTo(command);
    command.add_flag("--json", json, "report as a JSON object (a table)");
    command.add_flag("--raw", raw, "show the bytes of each block, too");
    addSeconds(command, "--timeout", timeout, 0.1, 86400, "give up after so many seconds (30)");
    command.footer(helpEnd("list 192.0.2.7:6000 --account fleetop --password-file pw",
                           "0 the whole list was shown; 1 it was not; 2 wrong arguments; 141 "
                           "standard output was closed."));
  }
};

// One query under way. The worker's thread shares it, so that it may be left behind.
struct Query {
  AccountTarget target;
  std::vector<DevInfoItem> items = std::vector<DevInfoItem>(200);
  std::int32_t count = 0;
  std::int32_t done = 0;

  int run() {
    return ThreadGetListForCar(items.data(), &count, target.server.host.c_str(), target.server.port,
                               0, target.account.c_str(), target.password.c_str(), "", &done);
  }
  // Whole records so far.
  std::size_t arrived() {
    const std::int32_t now = std::atomic_ref(count).load(std::memory_order_acquire);
    return static_cast<std::size_t>(now);
  }
  std::vector<DevInfoItem> devices() {
    return {items.begin(), items.begin() + static_cast<std::ptrdiff_t>(arrived())};
  }
};

std::string whyItFailed(const ListOptions& options, std::size_t arrived) {
  if (arrived > 0) return fmt::format("the list broke off after {} devices", arrived);
  const Reachability reach = tryServer(options.target.server, kReachTimeout);
  if (!reach.connected) return reach.sentence;
  return reach.sentence +
         " but did not answer with a device list (account, password, or port? An empty list is "
         "none)";
}

std::string report(const ListOptions& options, const std::vector<DevInfoItem>& devices,
                   bool complete) {
  if (!options.json && devices.empty()) return complete ? "no devices\n" : "";
  if (!options.json) return deviceTable(devices, options.raw);
  nlohmann::ordered_json json;
  json["server"] = options.target.server.text();
  json["complete"] = complete;
  json["devices"] = deviceJson(devices, options.raw);
  return json.dump(2) + "\n";
}

// Returns once the worker has.
void wait(Abandonable<int>& worker, Query& query, double timeout) {
  const double silenceToTell = std::min(3.0, timeout / 2);
  bool isTold = false;
  const double start = steadySeconds();
  ProgressLine progress;
  while (!worker.waitFor(kLookInterval)) {
    const double waited = steadySeconds() - start;
    const std::size_t arrived = query.arrived();
    progress.show(fmt::format("waiting for the list: {:.0f} s, {} devices", waited, arrived));
    if (arrived == 0 && !isTold && waited >= silenceToTell) {
      isTold = true;
      progress.clear();
      note(whyNoAnswerYet(query.target.server, timeout - waited));
    }
    if (stopRequested()) throw Failure("interrupted");
    if (waited >= timeout) {
      throw Failure(
          fmt::format("no complete list within {:g} s ({} devices came)", timeout, arrived));
    }
  }
}

int runList(const ListOptions& options) {
  const ReportOutput output(false);
  const auto query = std::make_shared<Query>();
  query->target = options.target;
  Abandonable<int> worker([query] { return query->run(); });
  wait(worker, *query, options.timeout);
  const bool complete = worker.get() == 0;
  const std::vector<DevInfoItem> devices = query->devices();
  output.write(report(options, devices, complete));
  if (!complete) throw Failure(whyItFailed(options, devices.size()));
  return 0;
}

}  // namespace

void addListCommand(CLI::App& program, ChosenCommand& chosen) {
  addCommand(program, chosen, "list", "list the devices of an account", runList);
}

}  // namespace quorvid::app
