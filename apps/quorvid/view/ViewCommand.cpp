#include <cmath>
#include <stdexcept>

#include "apps/common/Commands.h"
#include "apps/common/LogFilter.h"
#include "apps/common/NoStream.h"
#include "apps/common/ReportOutput.h"
#include "apps/common/Steady.h"
#include "apps/common/StopSignal.h"
#include "apps/quorvid/view/ViewReport.h"
#include "apps/quorvid/view/Viewer.h"

namespace quorvid::app {

namespace {

constexpr double kReachTimeout = 2;

// Why a tile has shown nothing, as far as it can be told from outside. reach: what a connection to
// the server found, made when the first tile asks.
std::string likelyReason(Tile& tile, const LogFilter& log, std::optional<Reachability>& reach) {
  const StreamTarget& target = tile.target();
  if (tile.player().hasReceivedFrames()) {
    const std::string last = log.lastMessage();
    return "a stream came, but nothing in it could be decoded" +
           (last.empty() ? std::string(" (no key frame?)") : " (" + last + ")");
  }
  try {
    if (!reach) reach = tryServer(target.server, kReachTimeout);
  } catch (const std::runtime_error& error) {  // no thread for the look-up
    return error.what();
  }
  return whyNoStream(target, *reach, tile.player().lookupFailed());
}

TileReport reportOf(Tile& tile, double now, const LogFilter& log,
                    std::optional<Reachability>& reach) {
  TileReport report;
  report.channel = tile.target().channel;
  report.pictures = tile.meter().pictures();
  report.firstPictureSeconds = tile.meter().timeToFirstPicture();
  report.framesPerSecond = tile.meter().picturesPerSecond(now);
  report.longestPause = tile.meter().longestPause(now);
  report.silence = tile.meter().silence(now);
  report.pictureSize = tile.meter().pictureSize();
  report.streamSize = tile.meter().streamSize();
  report.restarts = tile.restarts();
  report.reason = tile.startError();
  if (report.pictures == 0 && report.reason.empty()) report.reason = likelyReason(tile, log, reach);
  return report;
}

// The snapshot's name when it was written.
std::string saveLastPicture(Viewer& viewer, const ViewOptions& options, bool shown, bool& ok) {
  if (options.snapshot.empty()) return {};
  std::string error = "no snapshot written: there was no picture";
  if (shown && viewer.saveSnapshot(options.snapshot, error)) return options.snapshot;
  failed(error);
  ok = false;
  return {};
}

int runView(const ViewOptions& options) {
  catchStopSignals();
  ReportOutput output(options.verbose);
  LogFilter log(options.verbose);
  std::string error;
  const std::unique_ptr<Viewer> viewer = Viewer::open(options, log, error);
  if (!viewer) return failed(error + (options.headless ? "" : "; --headless needs no display"));
  const double start = steadySeconds();
  viewer->run();

  ViewReport report;
  report.target = options.target;
  const double end = steadySeconds();
  report.seconds = end - start;
  bool ok = true;
  std::optional<Reachability> reach;
  for (const auto& tile : viewer->tiles()) {
    report.tiles.push_back(reportOf(*tile, end, log, reach));
  }
  const bool shown = report.pictures() > 0;
  report.snapshot = saveLastPicture(*viewer, options, shown, ok);
  ok = output.write(options.json ? report.json() : report.text()) && ok;
  for (const TileReport& tile : report.tiles) {
    if (!tile.reason.empty()) {
      failed("channel " + std::to_string(tile.channel) +
             (tile.pictures == 0 ? ": no picture: " : ": no picture any more: ") + tile.reason);
    }
  }
  if (shown && log.messageCount() > 0) {
    note(std::to_string(log.messageCount()) +
         " messages from the library, the last: " + log.lastMessage());
  }
  return shown && ok ? 0 : 1;
}

// What the command line says, as text where it has to be checked.
struct ViewArguments {
  TargetOptions target;
  std::string size = "960x720";
  ViewOptions options;

  ViewOptions checked() const {
    ViewOptions view = options;
    view.target = target.target();
    view.channels = parseChannels(target.channels);
    view.size = parseSize(size);
    requireWithin("--seconds", view.seconds, 0, 1e6);
    requireWithin("--stall", view.stallAfter, 1, 3600);
    if (!view.snapshot.empty()) requireWritable(view.snapshot);
    return view;
  }
};

}  // namespace

void addViewCommand(CLI::App& program, ChosenCommand& chosen) {
  CLI::App* command = program.add_subcommand("view", "show live channels of a device");
  const auto arguments = std::make_shared<ViewArguments>();
  ViewOptions& options = arguments->options;
  arguments->target.addTo(*command);
  command->add_option("--channel", arguments->target.channels, "cameras, 0 to 7: N[,N...]")
      ->type_name("LIST");
  command->add_option("--size", arguments->size, "size of the picture area, 960x720 by default")
      ->type_name("WxH");
  command->add_flag("--headless", options.headless, "no window; draw off screen");
  command->add_option("--seconds", options.seconds, "end after so many seconds")->type_name("S");
  command->add_option("--snapshot", options.snapshot, "write the last picture at the end")
      ->type_name("FILE.png");
  command
      ->add_option("--stall", options.stallAfter,
                   "mark and restart a stream without pictures for so long (5)")
      ->type_name("S");
  command->add_flag("--json", options.json, "report as JSON");
  command->add_flag("--verbose", options.verbose, "show the library's own lines");
  command->footer(
      "Keys: q quits, r restarts, s writes a PNG, f full screen.\n"
      "Frames/s count from the first picture to the end, pauses included.\n"
      "Exit status: 0 a picture was shown, 1 none was, 2 wrong arguments.");
  command->callback([arguments, &chosen] {
    const ViewOptions checked = arguments->checked();
    chosen = [checked] { return runView(checked); };
  });
}

}  // namespace quorvid::app
