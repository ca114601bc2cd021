#include <fmt/format.h>

#include "apps/common/Commands.h"
#include "apps/common/Deadline.h"
#include "apps/common/Failure.h"
#include "apps/common/Output.h"
#include "apps/common/Reachability.h"
#include "apps/common/Terminal.h"
#include "apps/common/Values.h"
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
    return fmt::format("a stream came, but nothing in it could be decoded ({})",
                       last.empty() ? "no key frame?" : last);
  }
  try {
    if (!reach) reach = tryServer(target.server, kReachTimeout);
  } catch (const Failure& failure) {  // no thread for the look-up
    return failure.what();
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

struct ViewArguments : StreamOptions {
  ViewOptions view;

  void addTo(CLI::App& command) {
    StreamOptions::addTo(command, Channels::Several);
    const auto takeSize = [this](const std::string& text) { view.size = parseSize(text); };
    command
        .add_option_function<std::string>("--size", takeSize,
                                          "size of the picture area, 960x720 by default")
        ->type_name("WxH");
    command.add_flag("--headless", view.headless, "no window; draw off screen");
    addSeconds(command, "--seconds", view.seconds, 0, 1e6, "end after so many seconds");
    command.add_option("--snapshot", view.snapshot, "write the last picture at the end")
        ->check(writableFile())
        ->type_name("FILE.png");
    addSeconds(command, "--stall", view.stallAfter, 1, 3600,
               "mark and restart a stream without pictures for so long (5)");
    command.add_flag("--json", view.json, "report as JSON");
    command.add_flag("--verbose", view.verbose, "show the library's own lines");
    command.footer(
        "Keys: q quits, r restarts, s writes a PNG, f full screen.\n"
        "Frames/s count from the first picture to the end, pauses included.\n"
        "Exit status: 0 a picture was shown, 1 none was, 2 wrong arguments.");
  }

  void complete() {
    StreamOptions::complete();
    view.target = target;
    view.channels = channels;
  }
};

int runView(const ViewArguments& arguments) {
  const ViewOptions& options = arguments.view;
  const ReportOutput output(options.verbose);
  LogFilter log(options.verbose);
  std::string error;
  const std::unique_ptr<Viewer> viewer = Viewer::open(options, log, error);
  if (!viewer) throw Failure(error + (options.headless ? "" : "; --headless needs no display"));
  const double start = steadySeconds();
  viewer->run();

  ViewReport report;
  report.target = options.target;
  const double end = steadySeconds();
  report.seconds = end - start;
  std::optional<Reachability> reach;
  for (const auto& tile : viewer->tiles()) {
    report.tiles.push_back(reportOf(*tile, end, log, reach));
  }
  const bool shown = report.pictures() > 0;
  if (!options.snapshot.empty()) {
    error = "no snapshot written: there was no picture";
    const bool saved = shown && viewer->saveSnapshot(options.snapshot, error);
    if (saved) report.snapshot = options.snapshot;
    if (!saved) note(error);
  }
  output.write(options.json ? report.json() : report.text());
  for (const TileReport& tile : report.tiles) {
    if (tile.reason.empty()) continue;
    const char* const what = tile.pictures == 0 ? "no picture" : "no picture any more";
    note(fmt::format("channel {}: {}: {}", tile.channel, what, tile.reason));
  }
  if (shown && log.messageCount() > 0) {
    note(fmt::format("{} messages from the library, the last: {}", log.messageCount(),
                     log.lastMessage()));
  }
  return shown && report.snapshot == options.snapshot ? 0 : 1;
}

}  // namespace

void addViewCommand(CLI::App& program, ChosenCommand& chosen) {
  addCommand(program, chosen, "view", "show live channels of a device", runView);
}

}  // namespace quorvid::app
