#include "apps/quorvid/record/RecordOptions.h"

#include <fmt/format.h>

#include <filesystem>

#include "apps/common/CommandLine.h"
#include "apps/common/Failure.h"
#include "apps/common/Terminal.h"
#include "apps/common/Values.h"

namespace quorvid::app {

void RecordOptions::addTo(CLI::App& command) {
  StreamOptions::addTo(command);
  command.add_option("-o,--output", fileName, "file: .h264, .mp4 or .mkv")
      ->required()
      ->type_name("FILE");
  command.add_flag("--overwrite", overwrite,
                   "replace the file where there is one (that is refused)");
  addSeconds(command, "--seconds", seconds, 0, 1e6,
             "end after so many seconds of video, or 10 s later without it (on a signal)");
  command
      .add_option("--split", splitMinutes,
                  "begin a new file at the first key frame after so many minutes (one file)")
      ->check(within(0.01, 10'000))
      ->type_name("MINUTES");
  const auto takeLimit = [this](const std::string& text) {
    limit = parseFileLimit(text);
    limitText = text;
  };
  command
      .add_option_function<std::string>("--limit", takeLimit,
                                        "end before the file, or all of them together, gets larger "
                                        "than this: 500M, 2G (K, M, G: powers of 1024; no limit)")
      ->type_name("SIZE");
  command.add_flag("--wait", wait,
                   "where there is no stream yet, try until it comes (end with the reason)");
  addReport(command, report);
  command.footer(
      narrow("With --split the files are named FILE-20260131T235959Z.mp4, after the time (UTC) at "
             "which each begins; together they hold every frame. .mp4 and .mkv name device, "
             "channel and time (title, comment, creation_time). At its limit a recording is "
             "finished in order and holds every frame that fitted. In any case it ends before it "
             "fills the disk: a twentieth is left free, at most 256 MiB.",
             80) +
      "\n\n" +
      helpEnd("record 192.0.2.7:5000 --device TRUCK-7 -o tour.mp4 --split 10",
              "0 recorded up to --seconds or a signal; 1 less than that or nothing; 2 wrong "
              "arguments; 3 ended by --limit; 130 or 143 ended by force after a signal; 141 "
              "standard output was closed."));
}

void RecordOptions::complete() {
  StreamOptions::complete();
  requireEnding("the file name", fileName, {".h264", ".mp4", ".mkv"});
  requireWritable(fileName);
  std::error_code error;
  if (!overwrite && splitMinutes == 0 && std::filesystem::is_regular_file(fileName, error)) {
    throw Failure(fmt::format("'{}' exists; --overwrite replaces it", fileName));
  }
}

RecorderOptions RecordOptions::recorder() const {
  const std::string device = visibleText(target.device);
  return {
      fileName,
      limit,
      splitMinutes * 60,
      overwrite,
      fmt::format("{} channel {}", device, target.channel),
      fmt::format("device {}, channel {}, {} path, {}, recorded by quorvid {}", device,
                  target.channel, nameOf(target.path), target.server.text(), QUORVID_APP_VERSION)};
}

}  // namespace quorvid::app
