// `quorvid gps`: the device records of an account, polled until interrupted.
#include <fmt/chrono.h>

#include <algorithm>
#include <atomic>
#include <ctime>
#include <limits>
#include <nlohmann/json.hpp>
#include <thread>

#include "apps/common/CommandLine.h"
#include "apps/common/Commands.h"
#include "apps/common/Deadline.h"
#include "apps/common/Failure.h"
#include "apps/common/Output.h"
#include "apps/common/Reachability.h"
#include "apps/common/Terminal.h"
#include "apps/quorvid/query/DeviceTable.h"

namespace quorvid::app {

namespace {

constexpr double kLookInterval = 0.05;
constexpr double kReachTimeout = 2;
constexpr double kLongestPause = 30;
constexpr double kPollPause = 4;  // of the poller
constexpr double kSilenceToTell = 3;

struct GpsOptions : AccountOptions {
  bool json = false;
  double timeout = 30;
  unsigned polls = 0;  // 0: until interrupted

  void addTo(CLI::App& command) {
    AccountOptions::addTo(command);
    command.add_flag("--json", json, "one JSON object for each poll, one a line (a table)");
    addSeconds(command, "--timeout", timeout, 5, 86400, "give up when a poll takes longer (30)");
    command.add_option("--polls", polls, "end after so many polls (on a signal)")
        ->check(wholeWithin(1, 1'000'000'000))
        ->type_name("N");
    command.footer(helpEnd("gps 192.0.2.7:6000 --account fleetop --json --polls 10",
                           "0 there was a poll; 1 there was none; 2 wrong arguments; 141 standard "
                           "output was closed."));
  }
};

// One run of the library's GPS poller on a thread of its own, and the tables it delivers.
//
// The poller fills the exported table and says so through two numbers: done becomes 1 after each
// poll, count follows. It then pauses for 4 s, in which the table may be copied; done is 0 again
// before the next record is written.
//
//   poller   records | done 1 | count N | 4 s .................. | done 0 | records
//   feed                                  count >= 0, copy, done still 1? count -1
//
// Nothing but the end of a poll writes count, so the feed puts -1 there and waits for a number. It
// stores the run flag anew after copying: the poller looks at that flag before it touches the table
// again, which orders its writes after the copy.
//
// One feed at a time, as there is one table. A feed that is let go asks its poller to end but does
// not wait for it.
class GpsFeed {
 public:
  explicit GpsFeed(const AccountTarget& target) : shared_(std::make_shared<Shared>()) {
    shared_->target = target;
    worker_ = std::make_unique<Abandonable<int>>([shared = shared_] {
      const AccountTarget& from = shared->target;
      return ThreadGetCarGPS(myDevInfoItemsForGPS, &shared->count, from.server.host.c_str(),
                             from.server.port, 0, from.account.c_str(), from.password.c_str(), "",
                             &shared->done, &shared->run);
    });
  }
  ~GpsFeed() { StopCarGPS(&shared_->run); }
  GpsFeed(const GpsFeed&) = delete;
  GpsFeed& operator=(const GpsFeed&) = delete;

  // The records of a poll that has ended since the last call.
  std::optional<std::vector<DevInfoItem>> newPoll() {
    const std::atomic_ref done(shared_->done);
    const std::atomic_ref count(shared_->count);
    const std::int32_t records = count.load(std::memory_order_acquire);
    if (records == kNoPollYet || done.load(std::memory_order_acquire) != 1) return std::nullopt;
    const DevInfoItem* const table = myDevInfoItemsForGPS;
    std::vector<DevInfoItem> devices(table, table + std::clamp(records, 0, 200));
    const bool whole = done.fetch_add(0, std::memory_order_acq_rel) == 1;  // after the copy
    count.store(kNoPollYet, std::memory_order_relaxed);
    std::atomic_ref(shared_->run).store(1, std::memory_order_release);
    return whole ? std::optional(std::move(devices)) : std::nullopt;
  }
  // Waits that long at most; true when the poller has returned (it could not connect).
  bool hasEnded(double seconds) { return worker_->waitFor(seconds); }

 private:
  static constexpr std::int32_t kNoPollYet = -1;
  struct Shared {
    AccountTarget target;
    std::int32_t count = kNoPollYet;
    std::int32_t done = 0;
    std::uint8_t run = 1;
  };
  std::shared_ptr<Shared> shared_;
  std::unique_ptr<Abandonable<int>> worker_;
};

class GpsCommand {
 public:
  explicit GpsCommand(const GpsOptions& options) : options_(options) {}

  int run() {
    while (!isDone()) {
      follow();
      if (!isDone()) pauseBeforeNextTry();
    }
    return polls_ > 0 ? 0 : 1;
  }

 private:
  bool isDone() const {
    return stopRequested() || (options_.polls > 0 && polls_ >= options_.polls);
  }

  // Prints polls until there is nothing more to wait for, or the poller has returned by itself.
  void follow() {
    GpsFeed feed(options_.target);
    double waitedSince = steadySeconds();
    double tellAt = waitedSince + kSilenceToTell;
    while (!feed.hasEnded(kLookInterval)) {
      if (const auto devices = feed.newPoll()) {
        print(*devices);
        waitedSince = steadySeconds();
        tellAt = waitedSince + kPollPause + kSilenceToTell;
        pause_ = 1;
      }
      if (isDone()) return;
      if (steadySeconds() >= tellAt) {
        note(whyNoAnswerYet(options_.target.server,
                            options_.timeout - (steadySeconds() - waitedSince)));
        tellAt = std::numeric_limits<double>::max();
      }
      if (steadySeconds() - waitedSince >= options_.timeout) {
        throw Failure(fmt::format("no complete reply within {:g} s", options_.timeout));
      }
    }
  }

  void print(const std::vector<DevInfoItem>& devices) {
    const std::time_t now = std::time(nullptr);
    ++polls_;
    if (options_.json) {
      nlohmann::ordered_json json;
      json["poll"] = polls_;
      json["time"] = now;
      json["count"] = devices.size();
      json["devices"] = deviceJson(devices, false);
      output_.write(json.dump() + "\n");
      return;
    }
    const std::string text =
        fmt::format("poll {} at {:%H:%M:%S}, {} devices\n{}", polls_, fmt::localtime(now),
                    devices.size(), deviceTable(devices, false));
    output_.write(output_.isTerminal() ? redrawn(text) : text + "\n");
  }

  void pauseBeforeNextTry() {
    const Reachability reach = tryServer(options_.target.server, kReachTimeout);
    note(fmt::format("the poller has ended ({}); again in {:.0f} s", reach.sentence, pause_));
    const double end = steadySeconds() + pause_;
    while (!stopRequested() && steadySeconds() < end) {
      std::this_thread::sleep_for(std::chrono::milliseconds(50));
    }
    pause_ = std::min(2 * pause_, kLongestPause);
  }

  const GpsOptions& options_;
  const ReportOutput output_{false};
  unsigned polls_ = 0;
  double pause_ = 1;
};

int runGps(const GpsOptions& options) {
  return GpsCommand(options).run();
}

}  // namespace

void addGpsCommand(CLI::App& program, ChosenCommand& chosen) {
  addCommand(program, chosen, "gps", "follow the devices of an account", runGps);
}

}  // namespace quorvid::app
