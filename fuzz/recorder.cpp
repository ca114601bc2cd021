// Feeds any frames to what `quorvid record` writes files with.
//
// Input (Records.h): head: the kind of file, a limit, whether there are several files; a record's
// bytes: a frame; its kind: 0 the stream begins anew before it, else sixteenths of a second to the
// next one.
#include <stdlib.h>

#include <cstdlib>
#include <filesystem>
#include <string>

#include "apps/common/Failure.h"
#include "apps/quorvid/record/AvFormatLibrary.h"
#include "apps/quorvid/record/FrameRecorder.h"
#include "apps/quorvid/record/RecordReport.h"
#include "fuzz/Records.h"

namespace {

using namespace quorvid::app;
using quorvid::fuzz::require;
namespace fs = std::filesystem;

const fs::path kFolder = [] {
  char name[] = "/tmp/quorvid-fuzz-XXXXXX";
  require(mkdtemp(name) != nullptr);
  std::atexit([] { fs::remove_all(kFolder); });
  return fs::path(name);
}();

RecorderOptions optionsOf(unsigned head) {
  static constexpr const char* kEndings[] = {".mp4", ".mkv", ".h264", ".h264"};
  RecorderOptions options;
  options.fileName = kFolder / ("file" + std::string(kEndings[head & 3]));
  options.limit = (head & 4) != 0 ? 20000 : 0;
  options.split = (head & 8) != 0 ? 2 : 0;
  options.overwrite = true;
  return options;
}

// What the recorder says was written is there, and within the limit.
void check(const FrameRecorder& recorder, const RecorderOptions& options) {
  std::int64_t bytes = 0;
  for (const std::string& name : recorder.files()) {
    bytes += static_cast<std::int64_t>(fs::file_size(name));
    fs::remove(name);
  }
  require(bytes == recorder.bytes() && (options.limit == 0 || bytes <= options.limit));
  require((recorder.frames() > 0) == !recorder.files().empty());
  require(recorder.frames() > 0 || !recorder.whyNothingWasWritten("20 kB").empty());
  for (const bool inOneLine : {false, true}) recordJson({}, recorder, "", inOneLine);
  require(!recordStatsLine(1, recorder, "").empty());
  require(recorder.frames() == 0 || !recordText(recorder).empty());
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int* /*argc*/, char*** /*argv*/) {
  return avFormatLibrary.load().empty() ? 0 : 1;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const quorvid::fuzz::Input input(data, size);
  const RecorderOptions options = optionsOf(input.head);
  FrameRecorder recorder(options);
  double now = 0;
  for (const auto& [kind, bytes] : input.records) {
    if (recorder.full() != FrameRecorder::Full::No) break;
    if (kind == 0) recorder.streamRestarted();
    recorder.take(bytes.data(), bytes.size(), now);  // no frame may end a recording by a Failure
    now += kind / 16.0;
  }
  recorder.close();
  recorder.oddities();
  check(recorder, options);
  return 0;
}
