#include <fmt/format.h>
#include <unistd.h>

#include <cstdlib>

#include "apps/common/Commands.h"
#include "apps/common/Deadline.h"
#include "apps/common/Failure.h"
#include "apps/common/Output.h"
#include "apps/common/Terminal.h"
#include "apps/common/Values.h"
#include "apps/quorvid/view/ViewReport.h"
#include "apps/quorvid/view/Viewer.h"

namespace quorvid::app {

namespace {

struct ViewArguments : StreamOptions {
  ViewOptions view;

  void addTo(CLI::App& command) {
    StreamOptions::addTo(command, Streams::Several);
    const auto takeSize = [this](const std::string& text) { view.size = parseSize(text); };
    command
        .add_option_function<std::string>(
            "--size", takeSize,
            "size of the window's content (960x738: a picture and its line of text)")
        ->type_name("WxH");
    command.add_flag("--headless", view.headless, "no window; draw off screen (a window)");
    addSeconds(command, "--seconds", view.seconds, 0, 1e6,
               "end after so many seconds (when the window is closed, or on a signal)");
    command.add_option("--snapshot", view.snapshot, "write the last picture at the end (none)")
        ->type_name("FILE.png");
    command
        .add_option("--tile-snapshots", view.tileSnapshots,
                    "write each tile's last picture at the end, in the stream's own shape, as "
                    "FOLDER/DEVICE-chN.png (none)")
        ->type_name("FOLDER");
    const auto takeShape = [this](const std::string& text) { view.shape = parseAspect(text); };
    command
        .add_option_function<std::string>("--aspect", takeShape,
                                          "shape of the pictures: stream, fill, 4:3 or any W:H "
                                          "(stream)")
        ->type_name("SHAPE");
    addSeconds(command, "--stall", view.stallAfter, 1, 3600,
               "mark and restart a stream without pictures for so long (5)");
    addReport(command, view.report);
    command.add_flag("!--no-text", view.text, "no line of text on the tiles");
    command.add_flag("--verbose", view.verbose,
                     "show each change of a tile's state, and the library's own lines");
    command.footer(keysTable() + "\n" +
                   "Frames/s count from the first picture to the end, pauses included.\n" +
                   helpEnd("view 192.0.2.7:5000 --device TRUCK-7 --channel 0,1",
                           "0 a picture was shown, and what was asked for was written; 1 not; 2 "
                           "wrong arguments; 130 or 143 ended by force after a signal; 141 "
                           "standard output was closed."));
  }

  void complete() {
    StreamOptions::complete();
    if (!view.snapshot.empty()) {
      requireEnding("the snapshot", view.snapshot, {".png"});
      requireWritable(view.snapshot);
    }
    if (!view.tileSnapshots.empty()) requireFolder(view.tileSnapshots);
    view.targets = targets();
    if (view.targets.size() > TileWall::kMost) {
      throw Failure(
          fmt::format("{} devices with {} channels each are {} tiles; a window shows {} at most",
                      devices.size(), channels.size(), view.targets.size(), TileWall::kMost));
    }
    view.devices = devices;
  }
};

// What a window's surroundings load before it opens and a viewer has no use for, unless somebody
// set it: the table of accented letters (its keys are plain ones), and a message bus of its own
// where the session has none. Before any other thread reads the environment.
void spareTheWindow() {
  setenv("XCOMPOSEFILE", "/dev/null", 0);
  const char* const folder = getenv("XDG_RUNTIME_DIR");
  const bool hasBus =
      folder != nullptr && access((folder + std::string("/bus")).c_str(), F_OK) == 0;
  if (!hasBus) setenv("DBUS_SESSION_BUS_ADDRESS", "unix:path=/dev/null", 0);
}

int runView(const ViewArguments& arguments) {
  spareTheWindow();
  const ViewOptions& options = arguments.view;
  const ReportOutput output(options.verbose);
  LogFilter log(options.verbose);
  std::string error;
  const std::unique_ptr<Viewer> viewer = Viewer::open(options, error);
  if (!viewer) throw Failure(error + (options.headless ? "" : "; --headless needs no display"));
  const double start = steadySeconds();
  viewer->run([&] {
    if (!options.report.stats) return;
    output.write(statsLine(steadySeconds() - start, viewer->reports()));
  });

  ViewReport report;
  report.target = options.targets.front();
  report.devices = options.devices;
  report.seconds = steadySeconds() - start;
  report.tiles = viewer->reports();
  const bool shown = report.pictures() > 0;
  if (!options.snapshot.empty()) {
    error = "no snapshot written: there was no picture";
    const bool saved = shown && viewer->saveSnapshot(options.snapshot, error);
    if (saved) report.snapshot = options.snapshot;
    if (!saved) note(error);
  }
  const bool tilesSaved =
      options.tileSnapshots.empty() || viewer->saveTiles(options.tileSnapshots, error);
  if (!tilesSaved) note(error);
  if (options.report.json) output.write(report.json(options.report.stats));
  if (options.report.inWords()) output.write(report.text());
  for (const TileReport& tile : report.tiles) {
    if (tile.reason.empty()) continue;
    const bool isLate = tile.status.state == LiveState::Late;
    const char* const what = tile.figures.shown == 0 ? "no picture"
                             : isLate                ? "late"
                                                     : "no picture any more";
    note(fmt::format("{}: {}: {}", tile.name, what, tile.reason));
  }
  if (shown && log.messageCount() > 0) {
    note(fmt::format("{} messages from the library, the last: {}", log.messageCount(),
                     log.lastMessage()));
  }
  return shown && tilesSaved && report.snapshot == options.snapshot ? 0 : 1;
}

}  // namespace

void addViewCommand(CLI::App& program, ChosenCommand& chosen) {
  addCommand(program, chosen, "view", "show live channels of devices", runView);
}

}  // namespace quorvid::app
