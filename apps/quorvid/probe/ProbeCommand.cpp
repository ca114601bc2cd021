// `quorvid probe`: connects to a stream and says step by step what happens.
#include <fmt/chrono.h>

#include <algorithm>
#include <ctime>

#include "apps/common/Commands.h"
#include "apps/common/Deadline.h"
#include "apps/common/Json.h"
#include "apps/common/Output.h"
#include "apps/common/Reachability.h"
#include "apps/common/Terminal.h"
#include "apps/quorvid/probe/ProbeDialect.h"
#include "apps/quorvid/probe/StreamFigures.h"

namespace quorvid::app {

namespace {

struct ProbeOptions : StreamOptions {
  double seconds = 10;
  double timeout = 10;
  ReportOptions report;

  void addTo(CLI::App& command) {
    StreamOptions::addTo(command);
    addSeconds(command, "--seconds", seconds, 0.5, 86400, "how long to measure (10)");
    addSeconds(command, "--timeout", timeout, 0.1, 3600, "longest wait in each step (10)");
    addReport(command, report);
    command.footer(helpEnd("probe 192.0.2.7:5000 --device TRUCK-7 --seconds 30",
                           "0 the verdict is OK; 1 it is not; 2 wrong arguments; 141 standard "
                           "output was closed."));
  }
};

class ProbeCommand {
 public:
  explicit ProbeCommand(const ProbeOptions& options) : options_(options) {}

  int run() {
    std::string end;
    try {
      std::string address = resolve(options_.target.server.host);
      int port = options_.target.server.port;
      if (options_.target.path == StreamPath::Relay) {
        const RelayAnswer relay = lookUp(address, port);
        address = relay.address;
        port = relay.port;
      }
      examine(address, port);
    } catch (const ProbeInterrupted& interruption) {
      end = figures_.frames() > 0 ? "" : interruption.what();
    } catch (const ProbeFailure& failure) {
      end = failure.what();
      say("failed", end);
    }
    tellFigures();
    return verdict(end);
  }

 private:
  // One line: how long it took since the start, what step, what happened.
  void say(const char* step, const std::string& text) {
    const double seconds = steadySeconds() - start_;
    const std::string visible = visibleText(text);
    steps_.push_back({{"seconds", rounded(seconds)}, {"step", step}, {"text", visible}});
    if (!options_.report.inWords()) return;
    output_.write(fmt::format("{:7.3f} s  {:<10} {}\n", seconds, step, visible));
  }

  std::string resolve(const std::string& host) {
    const Reachability server = resolveServer(options_.target.server, options_.timeout);
    if (server.address.empty()) throw ProbeFailure(server.sentence);
    say("resolved", host + " is " + server.address);
    return server.address;
  }

  RelayAnswer lookUp(const std::string& address, int port) {
    ProbeSocket socket(address, port, options_.timeout);
    say("connected", fmt::format("to the lookup server {}:{}", address, port));
    const std::vector<std::uint8_t> record = relayRequest(options_.target, token_);
    socket.beginStep();
    socket.send(record);
    say("request", fmt::format("relay lookup, {} bytes, sent", record.size()));
    socket.beginStep();
    RelayAnswer relay = readRelayAnswer(socket);
    say("answer", fmt::format("the relay is {}:{}", relay.address, relay.port));
    if (relay.port < 1 || relay.port > 65535) {
      throw ProbeFailure("the relay's port is out of range");
    }
    return relay;
  }

  void examine(const std::string& address, int port) {
    const std::unique_ptr<ProbeDialect> dialect = options_.target.path == StreamPath::Fleet
                                                      ? fleetDialect(options_.target)
                                                      : carDialect(options_.target, token_);
    ProbeSocket socket(address, port, options_.timeout);
    say("connected", fmt::format("to {}:{}", address, port));
    const std::vector<std::uint8_t> record = dialect->request();
    socket.beginStep();
    socket.send(record);
    say("request",
        fmt::format("{}, {} bytes, for device {}, channel {}, sent", dialect->requestName(),
                    record.size(), options_.target.device, options_.target.channel));
    socket.beginStep();
    say("answer", dialect->readAnswer(socket));
    measure(*dialect, socket);
  }

  void measure(ProbeDialect& dialect, ProbeSocket& socket) {
    const double begin = steadySeconds();
    if (options_.report.stats) {
      socket.setWaiting([this, due = begin + 1]() mutable {
        if (steadySeconds() < due) return;
        due = std::max(due + 1, steadySeconds());
        tellStats();
      });
    }
    while (steadySeconds() - begin < options_.seconds && !stopRequested()) {
      socket.beginStep();
      const ProbeFrame frame = dialect.nextFrame(socket);
      const double now = steadySeconds();
      figures_.addGarbage(frame.garbage);
      if (frame.isAudio) {
        figures_.addAudio();
      } else if (frame.isLeftOut) {
        figures_.addLeftOut(now);
      } else {
        take(frame.bytes, now);
      }
    }
  }

  void take(const std::vector<std::uint8_t>& frame, double now) {
    const bool hadFrames = figures_.frames() > 0;
    const bool hadKey = figures_.keyFrames() > 0;
    figures_.add(frame, now);
    if (!hadFrames) say("frame", fmt::format("the first has {} bytes", frame.size()));
    if (!hadKey && figures_.keyFrames() > 0) {
      const std::string units = describeUnits(h264::unitsOf(frame));
      say("key frame", fmt::format("the first has {} bytes: {}", frame.size(), units));
    }
  }

  void tellStats() const {
    Json json;
    json["seconds"] = rounded(steadySeconds() - start_);
    json.update(figures_.json());
    output_.write(textOf(json, true));
  }

  void tellFigures() {
    if (figures_.frames() == 0 || !options_.report.inWords()) return;
    for (const StreamFigures::Line& line : figures_.lines()) {
      say(line.name, line.text);
    }
  }

  // end: why the stream ended before its time, empty when it did not.
  int verdict(const std::string& end) const {
    const StreamTarget& target = options_.target;
    std::string text = fmt::format("device {}, channel {}, {} path, {}", target.device,
                                   target.channel, nameOf(target.path), target.server.text());
    std::vector<std::string> problems;
    if (figures_.frames() > 0) {
      problems = figures_.problems();
      text += fmt::format(" streams {}", figures_.size().value_or(PixelSize{}).text());
    }
    if (figures_.hasRate()) {
      text += fmt::format(" at {:.1f} frames/s, {:.2f} Mbit/s", figures_.framesPerSecond(),
                          figures_.bitsPerSecond() / 1e6);
    }
    if (!end.empty()) problems.insert(problems.begin(), end);
    const char* word = figures_.frames() == 0 ? "FAILED" : problems.empty() ? "OK" : "PROBLEM";
    if (!problems.empty()) text += fmt::format(": {}", fmt::join(problems, "; "));
    const bool isOk = problems.empty() && figures_.frames() > 0;
    // A ticket is read days later, elsewhere.
    const std::time_t now = std::time(nullptr);
    if (options_.report.json) writeJson(word, problems, now);
    if (options_.report.inWords()) {
      output_.write(fmt::format("verdict: {}: {} ({:%Y-%m-%d %H:%M:%S} UTC, quorvid {})\n", word,
                                visibleText(text), fmt::gmtime(now), QUORVID_APP_VERSION));
    } else if (!isOk) {
      note(fmt::format("{}: {}", word, text));
    }
    return isOk ? 0 : 1;
  }

  void writeJson(const char* word, const std::vector<std::string>& problems,
                 std::time_t time) const {
    Json json = targetJson(options_.target);
    json["time"] = utcText(time);
    json["version"] = QUORVID_APP_VERSION;
    json["verdict"] = word;
    json["problems"] = Json::array();
    for (const std::string& problem : problems) json["problems"].push_back(visibleText(problem));
    json["figures"] = figures_.frames() > 0 ? figures_.json() : Json();
    json["steps"] = steps_;
    output_.write(textOf(json, options_.report.stats));
  }

  const ProbeOptions& options_;
  const double start_ = steadySeconds();
  const std::string token_ = sessionToken(options_.target.account);
  const ReportOutput output_{false};
  StreamFigures figures_;
  Json steps_ = Json::array();
};

int runProbe(const ProbeOptions& options) {
  return ProbeCommand(options).run();
}

}  // namespace

void addProbeCommand(CLI::App& program, ChosenCommand& chosen) {
  addCommand(program, chosen, "probe", "examine a stream step by step", runProbe);
}

}  // namespace quorvid::app
