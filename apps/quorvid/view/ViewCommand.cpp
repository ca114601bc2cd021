#include <fmt/format.h>

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
            "size of the window's content; 960x738, a picture and its line of "
            "text, by default")
        ->type_name("WxH");
    command.add_flag("--headless", view.headless, "no window; draw off screen");
    addSeconds(command, "--seconds", view.seconds, 0, 1e6, "end after so many seconds");
    command.add_option("--snapshot", view.snapshot, "write the last picture at the end")
        ->check(writableFile())
        ->type_name("FILE.png");
    command
        .add_option("--tile-snapshots", view.tileSnapshots,
                    "write each tile's last picture at the end, in the stream's own shape, as "
                    "FOLDER/DEVICE-chN.png")
        ->check(CLI::Validator(CLI::ExistingDirectory).description(""))
        ->type_name("FOLDER");
    const auto takeShape = [this](const std::string& text) { view.shape = parseAspect(text); };
    command
        .add_option_function<std::string>("--aspect", takeShape,
                                          "shape of the pictures: stream (the default), 4:3, fill, "
                                          "or any W:H")
        ->type_name("SHAPE");
    addSeconds(command, "--stall", view.stallAfter, 1, 3600,
               "mark and restart a stream without pictures for so long (5)");
    command.add_flag("--json", view.json, "report as JSON");
    command.add_flag("--stats", view.stats,
                     "each second the tiles' figures as a line of JSON; no report in words");
    command.add_flag("!--no-text", view.text, "no line of text on the tiles");
    command.add_flag("--verbose", view.verbose,
                     "show each change of a tile's state, and the library's own lines");
    command.footer(keysTable() + "\n" +
                   "Frames/s count from the first picture to the end, pauses included.\n"
                   "Exit status: 0 a picture was shown, 1 none was, 2 wrong arguments.");
  }

  void complete() {
    StreamOptions::complete();
    view.targets = targets();
    if (view.targets.size() > TileWall::kMost) {
      throw Failure(
          fmt::format("{} devices with {} channels each are {} tiles; a window shows {} at most",
                      devices.size(), channels.size(), view.targets.size(), TileWall::kMost));
    }
    view.devices = devices;
  }
};

int runView(const ViewArguments& arguments) {
  const ViewOptions& options = arguments.view;
  const ReportOutput output(options.verbose);
  LogFilter log(options.verbose);
  std::string error;
  const std::unique_ptr<Viewer> viewer = Viewer::open(options, error);
  if (!viewer) throw Failure(error + (options.headless ? "" : "; --headless needs no display"));
  const double start = steadySeconds();
  viewer->run([&] {
    if (options.stats) output.write(statsLine(steadySeconds() - start, viewer->reports()));
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
  if (options.json || !options.stats) output.write(options.json ? report.json() : report.text());
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
