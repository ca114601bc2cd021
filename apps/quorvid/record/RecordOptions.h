// RecordOptions: what `quorvid record` takes from the command line.
#pragma once

#include <cstdint>
#include <string>

#include "apps/common/Options.h"
#include "apps/quorvid/record/FrameRecorder.h"

namespace quorvid::app {

struct RecordOptions : StreamOptions {
  std::string fileName;
  double seconds = 0;  // 0: until interrupted
  double splitMinutes = 0;
  std::string limitText;
  std::int64_t limit = 0;  // 0: none but the disk's
  bool overwrite = false;
  bool wait = false;
  ReportOptions report;

  void addTo(CLI::App& command);
  void complete();
  RecorderOptions recorder() const;
};

}  // namespace quorvid::app
