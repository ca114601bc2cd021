// The companion programs: what they print as rows, how they end, and what a command line shows.
#include "apps/desk/diagnosis/Probe.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>

#include "apps/desk/simulator/Simulator.h"

namespace quorvid::desk {
namespace {

namespace fs = std::filesystem;

TEST(ProbeReport, HasARowForEachStepAndFigure) {
  const auto report = parseProbeReport(R"({"verdict": "PROBLEM", "problems": ["bad\u001b[2J"],
      "time": "2026-01-31T23:59:59Z", "version": "1.0.0",
      "figures": {"frames": 23, "bits_per_second": 1033964.0, "stray_bytes": 0,
                  "key_frame_interval_seconds": null, "stream_size": {"width": 640, "height": 480}},
      "steps": [{"seconds": 0.25, "step": "answer", "text": "accepted"},
                {"seconds": 1, "step": "failed", "text": "reset"}]})");
  ASSERT_TRUE(report);
  EXPECT_EQ(report->verdict, ProbeReport::Verdict::Problem);
  ASSERT_EQ(report->steps.size(), 2U);
  EXPECT_TRUE(report->steps[0].isGood);
  EXPECT_FALSE(report->steps[1].isGood);
  EXPECT_EQ(report->figures.size(), 3U);
  LiveTarget target{LivePath::Relay, "198.51.100.7", 5000, "me", "secret", "BUS-7", 1};
  const std::string ticket = ticketOf(target, *report);
  for (const char* const part :
       {"2026-01-31T23:59:59Z", "198.51.100.7:5000", "relay", "BUS-7", "1 (camera 2)", "Problem",
        "bad [2J", "accepted", "reset", "640", "1.03 Mbit/s"}) {
    EXPECT_NE(ticket.find(part), ticket.npos) << part << " in\n" << ticket;
  }
  EXPECT_EQ(ticket.find("secret"), ticket.npos);
}

TEST(ProbeReport, TakesWhateverIsPrinted) {
  for (const char* const text : {"", "{", "[]", "7", "{}", R"({"verdict": 7})"}) {
    EXPECT_FALSE(parseProbeReport(text)) << text;
  }
  const auto report = parseProbeReport(R"({"verdict": "OK", "problems": [7, {}, null], "time": [],
      "figures": {"frames": "many", "stream_size": {"width": []}}, "steps": [7, {"seconds": "x"}]})");
  ASSERT_TRUE(report);
  EXPECT_TRUE(report->problems.empty());
  EXPECT_EQ(report->steps.size(), 1U);
  EXPECT_TRUE(parseProbeReport(R"({"verdict": "OK", "steps": 7, "figures": 7, "problems": 7})"));
}

// Programs of the same name that do what a case needs, found in the search path.
class Companion : public testing::Test {
 protected:
  Companion() {
    fs::create_directories(folder_);
    setenv("PATH", (folder_ + ":/usr/bin:/bin").c_str(), 1);
  }
  ~Companion() override { fs::remove_all(folder_); }

  void write(const char* name, const std::string& script) const {
    std::ofstream(folder_ + "/" + name) << "#!/bin/sh\n" << script << "\n";
    fs::permissions(folder_ + "/" + name, fs::perms::owner_all);
  }
  static void turnUntil(const std::function<bool()>& holds) {
    while (!holds()) g_main_context_iteration(nullptr, TRUE);
  }
  Probe::Outcome examine() {
    std::optional<Probe::Outcome> outcome;
    const LiveTarget target{LivePath::Fleet, "127.0.0.1", 1, "me", "a b'$\"", "-d", 1};
    EXPECT_TRUE(probe_.start(target, [&](const Probe::Outcome& told) { outcome = told; }));
    const bool isOne = !probe_.isRunning() || !probe_.start(target, {});
    EXPECT_TRUE(isOne);
    if (cancels_) probe_.cancel();
    turnUntil([&] { return outcome.has_value(); });
    EXPECT_FALSE(probe_.isRunning());
    return *outcome;
  }

  const std::string folder_ = testing::TempDir() + "companion-" + std::to_string(getpid());
  Probe probe_;
  bool cancels_ = false;
};

TEST_F(Companion, GetsThePasswordThroughAPipe) {
  write("quorvid",
        R"(for w in "$@"; do case $w in --password-file=*) read -r p < "${w#*=}";; esac; done
[ "$p" = "a b'\$\"" ] && seen=right || seen=wrong
tr '\0' ' ' < /proc/$$/cmdline > ')" +
            folder_ + R"(/line'
echo "{\"verdict\": \"OK\", \"problems\": [\"$seen\"]}")");
  const Probe::Outcome outcome = examine();
  ASSERT_TRUE(outcome.report) << outcome.trouble;
  EXPECT_EQ(outcome.report->problems, std::vector<std::string>{"right"});
  std::string line;
  std::getline(std::ifstream(folder_ + "/line"), line);
  EXPECT_NE(line.find("--device=-d"), line.npos) << line;
  EXPECT_EQ(line.find("a b'"), line.npos) << line;
}

TEST_F(Companion, HasASentenceForEachWayToEndWithoutAReport) {
  fs::remove(folder_ + "/quorvid");
  EXPECT_NE(examine().trouble.find("can't be started"), std::string::npos);
  write("quorvid", "echo 'no such option' >&2; exit 2");
  EXPECT_NE(examine().trouble.find("no such option"), std::string::npos);
  write("quorvid", "kill -SEGV $$");
  EXPECT_NE(examine().trouble.find("signal 11"), std::string::npos);
  write("quorvid", "true");
  EXPECT_NE(examine().trouble.find("without a word"), std::string::npos);
  write("quorvid", "exec sleep 100");
  cancels_ = true;
  EXPECT_NE(examine().trouble.find("was stopped"), std::string::npos);
}

TEST_F(Companion, ASimulatorThatEndedIsStartedAgain) {
  Simulator simulator;
  std::vector<std::pair<int, std::string>> told;
  const auto started = [&](const Simulator::Ports& ports, const std::string& trouble) {
    told.emplace_back(ports.fleet, trouble);
  };
  for (const char* const line : {"", "[]", R"({"list": "7", "fleet": null})", "{}"}) {
    write("quorvid-sim", "echo '" + std::string(line) + "'; exec sleep 100");
    told.clear();
    simulator.start(started);
    simulator.start(started);
    turnUntil([&] { return told.size() == 2; });
    EXPECT_NE(told[0].second, "") << line;
  }
  write("quorvid-sim", R"(echo '{"list": 7, "fleet": 8}'; read line < ')" + folder_ + "/fifo'");
  ASSERT_EQ(system(("mkfifo '" + folder_ + "/fifo'").c_str()), 0);
  told.clear();
  simulator.start(started);
  simulator.start(started);
  turnUntil([&] { return told.size() == 2; });
  EXPECT_EQ(told[1].first, 8);
  std::ofstream(folder_ + "/fifo") << "end\n";
  write("quorvid-sim", R"(echo '{"list": 7, "fleet": 9}'; exec sleep 100)");
  turnUntil([&] {
    simulator.start(started);
    return told.back().first == 9;
  });
}

}  // namespace
}  // namespace quorvid::desk
