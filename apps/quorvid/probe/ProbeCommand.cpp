// `quorvid probe`: connects to a stream and says step by step what happens.
#include <cstdio>
#include <ctime>

#include "apps/common/Commands.h"
#include "apps/common/Reachability.h"
#include "apps/common/ReportOutput.h"
#include "apps/common/Steady.h"
#include "apps/common/StopSignal.h"
#include "apps/common/StreamReceiver.h"
#include "apps/common/TerminalText.h"
#include "apps/quorvid/probe/ProbeDialect.h"
#include "apps/quorvid/probe/StreamFigures.h"

namespace quorvid::app {

namespace {

// A ticket is read days later, elsewhere.
std::string timeOfDay() {
  const std::time_t now = std::time(nullptr);
  std::tm utc{};
  gmtime_r(&now, &utc);
  char text[40];
  std::strftime(text, sizeof text, "%Y-%m-%d %H:%M:%S UTC", &utc);
  return text;
}

struct ProbeOptions {
  TargetOptions text;
  StreamTarget target;
  double seconds = 10;
  double timeout = 10;
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
  void say(const std::string& step, const std::string& text) {
    char start[48];
    std::snprintf(start, sizeof start, "%7.3f s  %-10s ", steadySeconds() - start_, step.c_str());
    output_.write(start + visibleText(text) + "\n");
  }

  std::string resolve(const std::string& host) {
    const Reachability server = resolveServer(options_.target.server, options_.timeout);
    if (server.address.empty()) throw ProbeFailure(server.sentence);
    say("resolved", host + " is " + server.address);
    return server.address;
  }

  RelayAnswer lookUp(const std::string& address, int port) {
    ProbeSocket socket(address, port, options_.timeout);
    say("connected", "to the lookup server " + address + ":" + std::to_string(port));
    const std::vector<std::uint8_t> record = relayRequest(options_.target, token_);
    socket.beginStep();
    socket.send(record);
    say("request", "relay lookup, " + std::to_string(record.size()) + " bytes, sent");
    socket.beginStep();
    RelayAnswer relay = readRelayAnswer(socket);
    say("answer", "the relay is " + relay.address + ":" + std::to_string(relay.port));
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
    say("connected", "to " + address + ":" + std::to_string(port));
    const std::vector<std::uint8_t> record = dialect->request();
    socket.beginStep();
    socket.send(record);
    say("request", std::string(dialect->requestName()) + ", " + std::to_string(record.size()) +
                       " bytes, for device " + options_.target.device + ", channel " +
                       std::to_string(options_.target.channel) + ", sent");
    socket.beginStep();
    say("answer", dialect->readAnswer(socket));
    measure(*dialect, socket);
  }

  void measure(ProbeDialect& dialect, ProbeSocket& socket) {
    const double begin = steadySeconds();
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
    if (!hadFrames) say("frame", "the first has " + std::to_string(frame.size()) + " bytes");
    if (!hadKey && figures_.keyFrames() > 0) {
      const std::string units = describeUnits(h264::unitsOf(frame));
      say("key frame", "the first has " + std::to_string(frame.size()) + " bytes: " + units);
    }
  }

  void tellFigures() {
    if (figures_.frames() == 0) return;
    for (const StreamFigures::Line& line : figures_.lines()) {
      say(line.name, line.text);
    }
  }

  // end: why the stream ended before its time, empty when it did not.
  int verdict(const std::string& end) {
    const StreamTarget& target = options_.target;
    std::string text = "device " + target.device + ", channel " + std::to_string(target.channel) +
                       ", " + nameOf(target.path) + " path, " + target.server.text();
    std::vector<std::string> problems;
    if (figures_.frames() > 0) {
      problems = figures_.problems();
      char rate[120];
      const PixelSize size = figures_.size().value_or(PixelSize{});
      std::snprintf(rate, sizeof rate, " streams %dx%d at %.1f frames/s, %.2f Mbit/s", size.width,
                    size.height, figures_.framesPerSecond(), figures_.bitsPerSecond() / 1e6);
      text += rate;
    }
    if (!end.empty()) problems.insert(problems.begin(), end);
    const char* word = figures_.frames() == 0 ? "FAILED" : problems.empty() ? "OK" : "PROBLEM";
    for (std::size_t i = 0; i < problems.size(); ++i) {
      text += (i == 0 ? ": " : "; ") + problems[i];
    }
    const bool written = output_.write(std::string("verdict: ") + word + ": " + visibleText(text) +
                                       " (" + timeOfDay() + ", quorvid " QUORVID_APP_VERSION ")\n");
    return problems.empty() && figures_.frames() > 0 && written ? 0 : 1;
  }

  const ProbeOptions& options_;
  const double start_ = steadySeconds();
  const std::string token_ = sessionToken(options_.target.account);
  ReportOutput output_{false};
  StreamFigures figures_;
};

int runProbe(const ProbeOptions& options) {
  catchStopSignals();
  return ProbeCommand(options).run();
}

}  // namespace

void addProbeCommand(CLI::App& program, ChosenCommand& chosen) {
  CLI::App* command = program.add_subcommand("probe", "examine a stream step by step");
  const auto options = std::make_shared<ProbeOptions>();
  options->text.addTo(*command);
  command->add_option("--channel", options->text.channels, "camera, 0 to 7")->type_name("N");
  command->add_option("--seconds", options->seconds, "how long to measure (10)")->type_name("S");
  command->add_option("--timeout", options->timeout, "longest wait in each step (10)")
      ->type_name("S");
  command->footer("Exit status: 0 the verdict is OK, 1 it is not, 2 wrong arguments.");
  command->callback([options, &chosen] {
    options->target = options->text.target();
    requireOneChannel(options->text);
    requireWithin("--seconds", options->seconds, 0.5, 86400);
    requireWithin("--timeout", options->timeout, 0.1, 3600);
    chosen = [options] { return runProbe(*options); };
  });
}

}  // namespace quorvid::app
