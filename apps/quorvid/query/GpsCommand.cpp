// `quorvid gps`: the device records of an account, polled until interrupted.
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <ctime>
#include <nlohmann/json.hpp>

#include "apps/common/Commands.h"
#include "apps/common/Reachability.h"
#include "apps/common/ReportOutput.h"
#include "apps/common/Steady.h"
#include "apps/common/StopSignal.h"
#include "apps/common/TerminalText.h"
#include "apps/quorvid/query/DeviceTable.h"
#include "apps/quorvid/query/GpsFeed.h"

namespace quorvid::app {

namespace {

constexpr double kLookInterval = 0.05;
constexpr double kReachTimeout = 2;
constexpr double kLongestPause = 30;

struct GpsOptions {
  AccountOptions account;
  AccountTarget target;
  bool json = false;
  double timeout = 30;
  unsigned polls = 0;  // 0: until interrupted
};

class GpsCommand {
 public:
  explicit GpsCommand(const GpsOptions& options) : options_(options) {}

  int run() {
    while (!stopRequested() && !isDone()) {
      GpsFeed feed(options_.target);
      if (!follow(feed)) leaveThreadsBehind(status());
      if (!isDone()) pauseBeforeNextTry();
    }
    return status();
  }

 private:
  bool isDone() const { return broken_ || (options_.polls > 0 && polls_ >= options_.polls); }
  int status() const { return polls_ > 0 && !broken_ ? 0 : 1; }

  // Prints polls until there is nothing more to wait for. True when the poller has returned by
  // itself, false when its thread is left behind.
  bool follow(GpsFeed& feed) {
    double waitedSince = steadySeconds();
    while (!feed.hasEnded(kLookInterval)) {
      if (const auto devices = feed.newPoll()) {
        print(*devices);
        waitedSince = steadySeconds();
        pause_ = 1;
      }
      if (stopRequested() || isDone()) return false;
      if (steadySeconds() - waitedSince >= options_.timeout) {
        char text[80];
        std::snprintf(text, sizeof text, "no complete reply within %g s", options_.timeout);
        failed(text);
        broken_ = true;
        return false;
      }
    }
    return true;
  }

  void print(const std::vector<DevInfoItem>& devices) {
    ++polls_;
    if (options_.json) {
      nlohmann::ordered_json json;
      json["poll"] = polls_;
      json["time"] = std::time(nullptr);
      json["count"] = devices.size();
      json["devices"] = deviceJson(devices, false);
      broken_ = !output_.write(json.dump() + "\n");
      return;
    }
    char heading[120];
    const std::time_t now = std::time(nullptr);
    std::tm local{};
    localtime_r(&now, &local);
    char clock[20];
    std::strftime(clock, sizeof clock, "%H:%M:%S", &local);
    std::snprintf(heading, sizeof heading, "poll %u at %s, %zu devices\n", polls_, clock,
                  devices.size());
    const std::string text = heading + deviceTable(devices, false);
    broken_ = !output_.write(output_.isTerminal() ? redrawn(text) : text + "\n");
  }

  void pauseBeforeNextTry() {
    const Reachability reach = tryServer(options_.target.server, kReachTimeout);
    char again[40];
    std::snprintf(again, sizeof again, "); again in %.0f s", pause_);
    note("the poller has ended (" + reach.sentence + again);
    const double end = steadySeconds() + pause_;
    while (!stopRequested() && steadySeconds() < end) {
      usleep(50'000);
    }
    pause_ = std::min(2 * pause_, kLongestPause);
  }

  const GpsOptions& options_;
  ReportOutput output_{false};
  unsigned polls_ = 0;
  double pause_ = 1;
  bool broken_ = false;
};

int runGps(const GpsOptions& options) {
  catchStopSignals();
  return GpsCommand(options).run();
}

}  // namespace

void addGpsCommand(CLI::App& program, ChosenCommand& chosen) {
  CLI::App* command = program.add_subcommand("gps", "follow the devices of an account");
  const auto options = std::make_shared<GpsOptions>();
  options->account.addTo(*command);
  command->add_flag("--json", options->json, "one JSON object for each poll, one a line");
  command->add_option("--timeout", options->timeout, "give up when a poll takes longer (30)")
      ->type_name("S");
  command->add_option("--polls", options->polls, "end after so many polls")->type_name("N");
  command->callback([options, &chosen] {
    options->target = options->account.target();
    requireWithin("--timeout", options->timeout, 5, 86400);
    chosen = [options] { return runGps(*options); };
  });
}

}  // namespace quorvid::app
