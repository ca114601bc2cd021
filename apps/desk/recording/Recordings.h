// Recordings: the recordings under way, one a camera, each on a thread of its own; and pictures
// into files. Main thread.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "apps/desk/model/Desk.h"
#include "apps/desk/toolkit/Task.h"

namespace quorvid::desk {

struct RecordingState {
  double seconds = 0;      // since its first frame
  std::int64_t bytes = 0;  // in all its files
  std::string trouble;     // why nothing is written just now; empty while frames are
};

class Recordings {
 public:
  explicit Recordings(Desk& desk) : desk_(desk) {}

  // Begins, or ends what is under way. Nobody waits: the file is finished on its thread.
  void begin(const Camera& camera);
  void end(const Camera& camera);
  void endAll();
  // Nothing where the camera isn't recorded.
  std::optional<RecordingState> stateOf(const Camera& camera) const;
  std::vector<Camera> underWay() const;
  // Called when one began or ended, and each second while there are any.
  Listeners<> changed;

  // Writes the picture into the folder as PNG, on a thread of its own; desk.said has the outcome.
  void saveSnapshot(const Camera& camera, LivePicture picture);

 private:
  Desk& desk_;
  Life life_;
};

}  // namespace quorvid::desk
