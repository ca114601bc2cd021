// Recordings: the recordings under way, one a camera, each on a thread of its own; and pictures
// into files. They go on while another server is shown. Main thread.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "apps/desk/model/Desk.h"
#include "apps/desk/recording/Recording.h"
#include "apps/desk/toolkit/Task.h"
#include "apps/desk/toolkit/Ui.h"

namespace quorvid::desk {

class Recordings {
 public:
  explicit Recordings(Desk& desk) : desk_(desk) {}
  // Ends them all, and gives their files three seconds to be finished.
  ~Recordings();
  Recordings(const Recordings&) = delete;
  Recordings& operator=(const Recordings&) = delete;

  // Of the server that is shown. Begins, or ends what is under way. Nobody waits: the file is
  // finished on its thread.
  void begin(const Camera& camera);
  void end(const Camera& camera);
  void endAll();
  // Nothing where the camera isn't recorded.
  std::optional<RecordingState> stateOf(const Camera& camera) const;
  std::vector<Camera> underWay() const;
  // Called when one began or ended, and each second while there are any.
  Listeners<> changed;

  // Those of every server, in the order in which they began.
  struct Entry {
    int number = 0;  // never given twice
    std::string title;
    RecordingState state;
  };
  std::vector<Entry> all() const;
  void end(int number);

  // Files go into another folder from now on, or are cut otherwise; those under way stay as they
  // are.
  void keepOptions(const RecordingOptions& options);
  Listeners<> optionsChanged;

  // Writes the picture into the folder as PNG, on a thread of its own; desk.said has the outcome.
  void saveSnapshot(const Camera& camera, LivePicture picture);

 private:
  struct One {
    int number = 0;
    std::string server;
    Camera camera;
    std::string title;
    std::unique_ptr<Recording> recording;
    bool isEnding = false;
  };
  const One* find(const Camera& camera) const;
  void end(One& one);
  void ended(int number, const RecordingEnd& end);

  Desk& desk_;
  std::vector<One> all_;
  int lastNumber_ = 0;
  Source clock_;  // while there are any
  Life life_;
};

}  // namespace quorvid::desk
