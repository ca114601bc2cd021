// Recording: one camera's stream into files, on a thread of its own. Main thread; nobody waits for
// that one but awaitEnd().
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "apps/desk/recording/FrameFiles.h"
#include "quorvid/live/LiveStatus.h"

namespace quorvid::desk {

struct RecordingState {
  double seconds = 0;      // since its first frame
  std::int64_t bytes = 0;  // in all its files
  std::string trouble;     // why nothing is written just now; empty while frames are
};

// What it came to.
struct RecordingEnd {
  std::vector<std::string> files;
  std::string trouble;       // why it ended by itself, or has no file; empty: it was asked to
  std::uint64_t frames = 0;  // in all its files
};

class Recording {
 public:
  // ended: called once, on the recording's thread. Null when there is no thread.
  static std::unique_ptr<Recording> begin(const LiveTarget& target, FileOptions files,
                                          std::function<void(RecordingEnd)> ended);
  // Ends it, if that was not asked for yet.
  ~Recording();
  Recording(const Recording&) = delete;
  Recording& operator=(const Recording&) = delete;

  // Asks it to finish its file.
  void end();
  RecordingState state() const;
  // Waits until the file is finished, so long at most. False when it isn't.
  bool awaitEnd(double seconds) const;

 private:
  struct Shared;
  explicit Recording(std::shared_ptr<Shared> shared) : shared_(std::move(shared)) {}
  static void run(Shared& shared, const LiveTarget& target, FrameFiles& files);

  std::shared_ptr<Shared> shared_;
};

}  // namespace quorvid::desk
