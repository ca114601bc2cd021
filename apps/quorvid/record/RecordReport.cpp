#include "apps/quorvid/record/RecordReport.h"

#include <fmt/format.h>

#include "apps/common/Json.h"
#include "apps/common/Terminal.h"

namespace quorvid::app {

std::string recordStatsLine(double seconds, const FrameRecorder& recorder,
                            const std::string& trouble) {
  const std::vector<std::string>& files = recorder.files();
  return textOf({{"seconds", rounded(seconds)},
                 {"frames", recorder.frames()},
                 {"recorded_seconds", rounded(recorder.seconds())},
                 {"bytes", recorder.bytes()},
                 {"file", files.empty() ? Json() : Json(files.back())},
                 {"reason", trouble.empty() ? Json() : Json(trouble)}},
                true);
}

std::string recordText(const FrameRecorder& recorder) {
  const std::vector<std::string>& files = recorder.files();
  const std::string last = files.size() > 1 ? " to " + visibleText(files.back()) : "";
  const std::string count = files.size() > 1 ? fmt::format("{} files, ", files.size()) : "";
  return fmt::format("{}{}: {}{}\n", visibleText(files.front()), last, count, recorder.figures());
}

std::string recordJson(const StreamTarget& target, const FrameRecorder& recorder,
                       const std::string& error, bool inOneLine) {
  const bool isBegun = recorder.frames() > 0;
  Json json = targetJson(target);
  json["files"] = recorder.files();
  json["start_time"] = isBegun ? Json(utcText(recorder.startTime())) : Json();
  json["frames"] = recorder.frames();
  json["recorded_seconds"] = rounded(recorder.seconds());
  json["bytes"] = recorder.bytes();
  json["stream_size"] = isBegun ? sizeJson(recorder.size()) : Json();
  json["notes"] = recorder.oddities();
  json["error"] = error.empty() ? Json() : Json(error);
  return textOf(json, inOneLine);
}

}  // namespace quorvid::app
