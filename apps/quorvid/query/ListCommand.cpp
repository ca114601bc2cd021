// `quorvid list`: the devices that an account may see.
#include <atomic>
#include <cstdio>
#include <nlohmann/json.hpp>

#include "apps/common/Commands.h"
#include "apps/common/Deadline.h"
#include "apps/common/ProgressLine.h"
#include "apps/common/Reachability.h"
#include "apps/common/ReportOutput.h"
#include "apps/common/Steady.h"
#include "apps/common/StopSignal.h"
#include "apps/quorvid/query/DeviceTable.h"

namespace quorvid::app {

namespace {

constexpr double kReachTimeout = 2;
constexpr double kLookInterval = 0.05;

struct ListOptions {
  AccountOptions account;
  AccountTarget target;
  bool json = false;
  bool raw = false;
  double timeout = 30;
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
  if (arrived > 0) return "the list broke off after " + std::to_string(arrived) + " devices";
  const Reachability reach = tryServer(options.target.server, kReachTimeout);
  if (reach.state != Reachability::State::Connected) return reach.sentence;
  return reach.sentence + " but did not answer with a device list (account, password, or port?)";
}

bool print(ReportOutput& output, const ListOptions& options,
           const std::vector<DevInfoItem>& devices, bool complete) {
  if (!options.json && devices.empty()) return !complete || output.write("no devices\n");
  if (!options.json) return output.write(deviceTable(devices, options.raw));
  nlohmann::ordered_json json;
  json["server"] = options.target.server.text();
  json["complete"] = complete;
  json["devices"] = deviceJson(devices, options.raw);
  return output.write(json.dump(2) + "\n");
}

// True when the worker has returned; the reason stands on standard error otherwise.
bool wait(Abandonable<int>& worker, Query& query, const ListOptions& options) {
  const double start = steadySeconds();
  ProgressLine progress;
  while (!worker.waitFor(kLookInterval)) {
    const double waited = steadySeconds() - start;
    char text[80];
    std::snprintf(text, sizeof text, "waiting for the list: %.0f s, %zu devices", waited,
                  query.arrived());
    progress.show(text);
    if (stopRequested()) {
      progress.clear();
      failed("interrupted");
      return false;
    }
    if (waited >= options.timeout) {
      std::snprintf(text, sizeof text, "no complete list within %g s (%zu devices came)",
                    options.timeout, query.arrived());
      progress.clear();
      failed(text);
      return false;
    }
  }
  return true;
}

int runList(const ListOptions& options) {
  catchStopSignals();
  ReportOutput output(false);
  const auto query = std::make_shared<Query>();
  query->target = options.target;
  Abandonable<int> worker([query] { return query->run(); });
  if (!wait(worker, *query, options)) leaveThreadsBehind(1);
  const bool complete = worker.get() == 0;
  const std::vector<DevInfoItem> devices = query->devices();
  const bool printed = print(output, options, devices, complete);
  if (!complete) return failed(whyItFailed(options, devices.size()));
  return printed ? 0 : 1;
}

}  // namespace

void addListCommand(CLI::App& program, ChosenCommand& chosen) {
  CLI::App* command = program.add_subcommand("list", "list the devices of an account");
  const auto options = std::make_shared<ListOptions>();
  options->account.addTo(*command);
  command->add_flag("--json", options->json, "report as JSON");
  command->add_flag("--raw", options->raw, "show the bytes of each block");
  command->add_option("--timeout", options->timeout, "give up after so many seconds (30)")
      ->type_name("S");
  command->callback([options, &chosen] {
    options->target = options->account.target();
    requireWithin("--timeout", options->timeout, 0.1, 86400);
    chosen = [options] { return runList(*options); };
  });
}

}  // namespace quorvid::app
